// The way of an event through the shipped library, each figure beside its floor in the same run:
// the system calls that no implementation can do without. All reads, the floor's too, pass through
// the simulator's redirection.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <log/log.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "simulator/SimulatedHub.h"
#include "tools/proxy/SubHalLibrary.h"

namespace {

std::atomic<int64_t> gAllocations{0};

}  // namespace

// Counts the library's allocations: the program's own operator is found first. Never inlined, or
// the compiler takes the pair for mismatched.
__attribute__((noinline)) void* operator new(size_t size) {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = malloc(size)) return memory;
    abort();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    free(memory);
}
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

// The library's log costs what the platform's log costs; it is not what is measured here.
extern "C" __attribute__((visibility("default"))) int __android_log_print(int, const char*,
                                                                          const char*, ...) {
    return 0;
}

namespace {

using host_proxy::HalProxyCallback;
using host_proxy::ISensorsSubHal;
using host_proxy::SubHalLibrary;
using Clock = std::chrono::steady_clock;

constexpr int kAccelerometer = 1;
constexpr int kBatch = 16;  // packets that a FIFO holds without being enlarged
constexpr size_t kRecordSize = 14;

const std::string kRecord(kRecordSize, '\1');

/** Notes when the first and the last event of a batch came. */
class Arrivals {
  public:
    void add(int events) {
        if (mCount == 0) {
            mFirst = Clock::now();
            mFirstAllocations = gAllocations.load(std::memory_order_relaxed);
        }
        mCount += events;
        if (mCount < mExpected) return;
        const std::lock_guard<std::mutex> lock(mLock);
        mLast = Clock::now();
        mLastAllocations = gAllocations.load(std::memory_order_relaxed);
        mComplete = true;
        mChanged.notify_one();
    }

    /** Forgets the past; call it before the records of the batch are released. */
    void expect(int count) {
        const std::lock_guard<std::mutex> lock(mLock);
        mCount = 0;
        mExpected = count;
        mComplete = false;
    }
    void wait() {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mComplete; });
    }
    double secondsPerEvent() const {
        return std::chrono::duration<double>(mLast - mFirst).count() / (mExpected - 1);
    }
    double allocationsPerEvent() const {
        return static_cast<double>(mLastAllocations - mFirstAllocations) / (mExpected - 1);
    }
    Clock::time_point last() const { return mLast; }

  private:
    int mCount = 0;  // poll thread only, but for expect() while no record is under way
    int mExpected = 0;
    Clock::time_point mFirst;
    Clock::time_point mLast;
    int64_t mFirstAllocations = 0;
    int64_t mLastAllocations = 0;
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mComplete = false;  // guarded by mLock
};

void unload(simulator::SimulatedHub& hub, SubHalLibrary& library) {
    const simulator::ShutdownHelper helper(hub);
    library.unload();
}

/** The shipped library on a simulated hub, the accelerometer enabled and batching. */
class Loaded {
  public:
    explicit Loaded(int64_t latencyNs) : mLibrary(SENSORHUB_LIBRARY) {
        if (mLibrary.subHal() == nullptr) abort();
        ISensorsSubHal& subHal = *mLibrary.subHal();
        subHal.initialize(new HalProxyCallback(
            [this](const auto& events, bool) { mArrivals.add(static_cast<int>(events.size())); }));
        subHal.batch(kAccelerometer, 10000000, latencyNs);
        subHal.activate(kAccelerometer, true);
    }
    ~Loaded() { unload(mHub, mLibrary); }
    simulator::SimulatedHub& hub() { return mHub; }
    Arrivals& arrivals() { return mArrivals; }

  private:
    Arrivals mArrivals;
    simulator::SimulatedHub mHub;
    SubHalLibrary mLibrary;
};

/** The record device alone, opened by the benchmark in the library's place. */
class BareDevice {
  public:
    BareDevice() {
        mFd = open(mHub.devicePath(kAccelerometer).c_str(), O_RDONLY | O_CLOEXEC);
        set(mHub.attributePath(kAccelerometer, "buffer/length"), "600\n");
        set(mHub.attributePath(kAccelerometer, "buffer/enable"), "1\n");
        if (mFd < 0) abort();
    }
    ~BareDevice() { close(mFd); }
    simulator::SimulatedHub& hub() { return mHub; }
    int fd() const { return mFd; }

  private:
    static void set(const std::string& path, const std::string& text) {
        const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (write(fd, text.data(), text.size()) < 0) abort();
        close(fd);
    }

    simulator::SimulatedHub mHub;
    int mFd;
};

void push(simulator::SimulatedHub& hub) {
    if (!hub.push(kAccelerometer, kRecord)) abort();
}

void pushBatch(simulator::SimulatedHub& hub) {
    for (int i = 0; i < kBatch; ++i)
        push(hub);
}

/** Reports percentiles of one duration per iteration, in ns. */
class Percentiles {
  public:
    void add(double seconds) { mValues.push_back(seconds); }
    void report(benchmark::State& state) {
        std::sort(mValues.begin(), mValues.end());
        state.counters["p50_ns"] = 1e9 * at(0.50);
        state.counters["p99_ns"] = 1e9 * at(0.99);
    }

  private:
    double at(double part) const {
        return mValues[static_cast<size_t>(part * static_cast<double>(mValues.size() - 1))];
    }
    std::vector<double> mValues;
};

double secondsOf(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

void drainLibrary(benchmark::State& state) {
    Loaded loaded(1000000000);
    double allocations = 0;
    Percentiles perEvent;
    for (auto _ : state) {
        loaded.hub().setDataAvailable(kAccelerometer, "0\n");
        pushBatch(loaded.hub());
        loaded.arrivals().expect(kBatch);
        loaded.hub().setDataAvailable(kAccelerometer, std::to_string(kBatch) + "\n");
        loaded.arrivals().wait();
        loaded.hub().waitIdle();
        perEvent.add(loaded.arrivals().secondsPerEvent());
        state.SetIterationTime(loaded.arrivals().secondsPerEvent());
        allocations += loaded.arrivals().allocationsPerEvent();
    }
    perEvent.report(state);
    state.counters["allocs/event"] = allocations / static_cast<double>(state.iterations());
}
BENCHMARK(drainLibrary)->UseManualTime()->Iterations(3000);

/** Reads batches like the library, on a thread of its own and without anything behind the read. */
template <typename Push, typename ReadOne>
void drainBare(benchmark::State& state, Push pushOne, ReadOne readOne) {
    std::atomic<int> released{0};  // batches, -1 ends
    std::atomic<int> drained{0};
    std::atomic<double> seconds{0};
    std::thread reader([&] {
        uint8_t record[kRecordSize];
        for (int batch = 1;; ++batch) {
            while (released < batch && released >= 0) {
            }
            if (released < 0) return;
            Clock::time_point first;
            for (int i = 0; i < kBatch; ++i) {
                if (readOne(record) != sizeof(record)) abort();
                benchmark::DoNotOptimize(record);
                if (i == 0) first = Clock::now();
            }
            seconds = secondsOf(Clock::now() - first);
            drained = batch;
        }
    });
    Percentiles perRead;
    int batch = 0;
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i)
            pushOne();
        released = ++batch;
        while (drained < batch)
            std::this_thread::yield();
        perRead.add(seconds / (kBatch - 1));
        state.SetIterationTime(seconds / (kBatch - 1));
    }
    perRead.report(state);
    released = -1;
    reader.join();
}

/** The floor: the same reads, through the same redirection. */
void drainFloor(benchmark::State& state) {
    BareDevice device;
    drainBare(
        state, [&] { push(device.hub()); },
        [&](uint8_t* record) { return read(device.fd(), record, kRecordSize); });
}
BENCHMARK(drainFloor)->UseManualTime()->Iterations(3000);

/** What of the floor is the kernel's: a packet pipe and the bare system call. */
void drainKernel(benchmark::State& state) {
    int ends[2];
    if (pipe2(ends, O_DIRECT | O_CLOEXEC) != 0) abort();
    drainBare(
        state,
        [&] {
            if (syscall(SYS_write, ends[1], kRecord.data(), kRecordSize) < 0) abort();
        },
        [&](uint8_t* record) { return syscall(SYS_read, ends[0], record, kRecordSize); });
    close(ends[0]);
    close(ends[1]);
}
BENCHMARK(drainKernel)->UseManualTime()->Iterations(3000);

void wakeUpLibrary(benchmark::State& state) {
    Loaded loaded(0);
    loaded.hub().waitIdle();
    Percentiles latencies;
    for (auto _ : state) {
        loaded.arrivals().expect(1);
        const Clock::time_point written = Clock::now();
        push(loaded.hub());
        loaded.arrivals().wait();
        const double latency = secondsOf(loaded.arrivals().last() - written);
        latencies.add(latency);
        state.SetIterationTime(latency);
        loaded.hub().waitIdle();
    }
    latencies.report(state);
}
BENCHMARK(wakeUpLibrary)->UseManualTime()->Iterations(3000);

void wakeUpFloor(benchmark::State& state) {
    BareDevice device;
    std::mutex lock;
    std::condition_variable changed;
    bool arrived = false;
    Clock::time_point arrival;
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        pollfd entry = {device.fd(), POLLIN, 0};
        uint8_t record[kRecordSize];
        while (!stop) {
            if (poll(&entry, 1, -1) < 0 || read(device.fd(), record, sizeof(record)) < 0) abort();
            const Clock::time_point now = Clock::now();
            const std::lock_guard<std::mutex> guard(lock);
            arrival = now;
            arrived = true;
            changed.notify_one();
        }
    });
    device.hub().waitIdle();
    Percentiles latencies;
    for (auto _ : state) {
        const Clock::time_point written = Clock::now();
        push(device.hub());
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [&] { return arrived; });
        arrived = false;
        const double latency = secondsOf(arrival - written);
        latencies.add(latency);
        state.SetIterationTime(latency);
        guard.unlock();
        device.hub().waitIdle();
    }
    latencies.report(state);
    stop = true;
    push(device.hub());
    reader.join();
}
BENCHMARK(wakeUpFloor)->UseManualTime()->Iterations(3000);

void startUpLibrary(benchmark::State& state) {
    for (auto _ : state) {
        simulator::SimulatedHub hub;
        const Clock::time_point begin = Clock::now();
        SubHalLibrary library(SENSORHUB_LIBRARY);
        state.SetIterationTime(secondsOf(Clock::now() - begin));
        unload(hub, library);
    }
}
BENCHMARK(startUpLibrary)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

/** Every device once: its name, its two buffer attributes and the device itself. */
void startUpFloor(benchmark::State& state) {
    const auto touch = [](const std::string& path, int flags, const char* text) {
        const int fd = open(path.c_str(), flags | O_CLOEXEC);
        char name[64];
        if (text != nullptr) {
            benchmark::DoNotOptimize(write(fd, text, strlen(text)));
        } else {
            benchmark::DoNotOptimize(read(fd, name, sizeof(name)));
        }
        close(fd);
    };
    for (auto _ : state) {
        simulator::SimulatedHub hub;
        std::vector<int> fds;
        const Clock::time_point begin = Clock::now();
        for (int handle = 1; handle <= 71; ++handle) {
            if (hub.device(handle).number < 0) continue;
            touch(hub.attributePath(handle, "name"), O_RDONLY, nullptr);
            fds.push_back(open(hub.devicePath(handle).c_str(), O_RDONLY | O_CLOEXEC));
            touch(hub.attributePath(handle, "buffer/length"), O_WRONLY, "600\n");
            touch(hub.attributePath(handle, "buffer/enable"), O_WRONLY, "1\n");
        }
        state.SetIterationTime(secondsOf(Clock::now() - begin));
        for (const int fd : fds)
            close(fd);
    }
}
BENCHMARK(startUpFloor)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
