// The path of an event through the shipped library on the hub's real paths, and its floor: the
// bare system calls on a thread built alike. Library and floor take turns in one process; an
// iteration is such a pair, and "ratio" the median of the pairs' own ratios.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utils/AndroidThreads.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "bench/MountedHub.h"
#include "bench/Pairs.h"

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

namespace {

using namespace bench;
using android::hardware::sensors::V2_0::implementation::IHalProxyCallback;
using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;

constexpr int kMeasured = 1;  // accelerometer
constexpr int kGate = 2;      // magnetometer
constexpr size_t kMeasuredSize = 14;
constexpr size_t kGateSize = 21;
constexpr int kBurst = 128;  // records that are read one by one
constexpr int kReaderPriority = -8;

/** Reads like the library's poll thread, with nothing behind the read. */
class BareReader {
  public:
    BareReader(MountedHub& hub, size_t devices) : mEntries(devices) {
        const std::vector<int> handles = someHandles(devices, {kGate, kMeasured, 32, 33});
        for (size_t i = 0; i < devices; ++i)
            mEntries[i] = {hub.openTwin(handles[i]), POLLIN, 0};
        mThread = std::thread([this] { run(); });
    }
    /** Ends the thread, which one more gate record has to wake. */
    void stop(MountedHub& hub, const std::string& gateRecord) {
        mStop = true;
        hub.pushTwin(kGate, gateRecord);
        mThread.join();
    }
    void setBatch(int records) { mBatch = records; }

    Arrivals arrivals;

  private:
    void run() {
        androidSetThreadPriority(gettid(), kReaderPriority);
        uint8_t record[kGateSize];
        while (!mStop) {
            if (poll(mEntries.data(), mEntries.size(), -1) < 0) abort();
            for (size_t i = 0; i < mEntries.size(); ++i) {
                if ((mEntries[i].revents & POLLIN) == 0) continue;
                const bool gate = i == 0;
                const int count = gate ? 1 : mBatch.load(std::memory_order_relaxed);
                for (int k = 0; k < count; ++k) {
                    const size_t size = gate ? kGateSize : kMeasuredSize;
                    memset(record, 0, size);
                    if (read(mEntries[i].fd, record, size) < 0) abort();
                    benchmark::DoNotOptimize(record);
                    if (!gate) {
                        arrivals.arrive();
                    } else if (!mStop) {
                        arrivals.atGate();
                    }
                }
                mEntries[i].revents = 0;
            }
        }
    }

    std::vector<pollfd> mEntries;
    std::atomic<int> mBatch{1};
    std::atomic<bool> mStop{false};
    std::thread mThread;
};

/** The library and the bare reader, side by side on one set of files. */
struct Stage {
    explicit Stage(size_t devices)
        : hub(std::make_unique<MountedHub>(someHandles(devices, {kGate, kMeasured}))),
          floor(*hub, devices + 2),
          proxy(new MeteringProxy(kGate)) {
        const EntryPoint entry = loadLibrary();
        hub->enter();
        uint32_t version = 0;
        hal = entry(&version);
        hal->initialize(android::sp<IHalProxyCallback>(proxy));
        for (const int handle : {kGate, kMeasured})
            hal->activate(handle, true);
    }

    const std::string record = std::string(kMeasuredSize, '\1');
    const std::string gateRecord = std::string(kGateSize, '\1');
    std::unique_ptr<MountedHub> hub;
    BareReader floor;
    android::sp<MeteringProxy> proxy;
    ISensorsSubHal* hal = nullptr;
};
Stage* gStage = nullptr;

/** Holds a reader at the gate, lays `count` records behind it and lets it go. */
template <typename Push>
void runBurst(Arrivals& arrivals, int count, Push push) {
    arrivals.expect(count);
    push(kGate, gStage->gateRecord);
    arrivals.waitHeld();
    for (int i = 0; i < count; ++i)
        push(kMeasured, gStage->record);
    arrivals.open();
    arrivals.waitDone();
}

void runLibrary(int count) {
    runBurst(gStage->proxy->arrivals, count,
             [](int handle, const std::string& record) { gStage->hub->push(handle, record); });
}

void runFloor(int count) {
    runBurst(gStage->floor.arrivals, count,
             [](int handle, const std::string& record) { gStage->hub->pushTwin(handle, record); });
}

/** Per record, from the first of a batch to its last. */
void drain(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    gStage->hal->batch(kMeasured, 10'000'000, 1'000'000'000);
    gStage->hub->setDataAvailable(kMeasured, count);
    gStage->floor.setBatch(count);
    Pairs pairs;
    int64_t allocations = 0;
    for (auto _ : state) {
        const int64_t before = gAllocations.load(std::memory_order_relaxed);
        runLibrary(count);
        allocations += gAllocations.load(std::memory_order_relaxed) - before;
        runFloor(count);
        const double library = gStage->proxy->arrivals.nsBetween();
        pairs.add(library, gStage->floor.arrivals.nsBetween());
        state.SetIterationTime(library * 1e-9);
    }
    pairs.report(state);
    state.counters["allocs/event"] =
        static_cast<double>(allocations) / static_cast<double>(state.iterations() * (count + 1));
}
BENCHMARK(drain)->UseManualTime()->Iterations(3000)->Arg(16)->Arg(64)->Arg(250);

/** Per record, each with a wait of its own. */
void oneByOne(benchmark::State& state) {
    gStage->hal->batch(kMeasured, 10'000'000, 0);
    gStage->floor.setBatch(1);
    Pairs pairs;
    for (auto _ : state) {
        runLibrary(kBurst);
        runFloor(kBurst);
        const double library = gStage->proxy->arrivals.nsBetween();
        pairs.add(library, gStage->floor.arrivals.nsBetween());
        state.SetIterationTime(library * 1e-9);
    }
    pairs.report(state);
}
BENCHMARK(oneByOne)->UseManualTime()->Iterations(2000);

/** From the write of a record to its arrival at a reader that slept for so many microseconds. */
void wakeUp(benchmark::State& state) {
    const std::chrono::microseconds silence(state.range(0));
    gStage->hal->batch(kMeasured, 10'000'000, 0);
    gStage->floor.setBatch(1);
    const auto once = [silence](Arrivals& arrivals, auto push) {
        arrivals.expect(1);
        std::this_thread::sleep_for(silence);
        const Clock::time_point written = Clock::now();
        push();
        arrivals.waitDone();
        return std::chrono::duration<double, std::nano>(arrivals.first() - written).count();
    };
    Pairs pairs;
    for (auto _ : state) {
        const double library =
            once(gStage->proxy->arrivals, [] { gStage->hub->push(kMeasured, gStage->record); });
        pairs.add(library, once(gStage->floor.arrivals,
                                [] { gStage->hub->pushTwin(kMeasured, gStage->record); }));
        state.SetIterationTime(library * 1e-9);
    }
    pairs.report(state, true);
}
BENCHMARK(wakeUp)->UseManualTime()->Iterations(4000)->Arg(200);
BENCHMARK(wakeUp)->UseManualTime()->Iterations(1000)->Arg(1000);
BENCHMARK(wakeUp)->UseManualTime()->Iterations(200)->Arg(10'000);

/** The kernel's part that grows with the devices: a poll that finds the last of them readable. */
void pollAlone(benchmark::State& state) {
    std::vector<pollfd> entries(static_cast<size_t>(state.range(0)));
    std::vector<int> writers;
    for (pollfd& entry : entries) {
        int ends[2];
        if (pipe2(ends, O_DIRECT | O_NONBLOCK) != 0) abort();
        entry = {ends[0], POLLIN, 0};
        writers.push_back(ends[1]);
    }
    if (write(writers.back(), "", 1) != 1) abort();
    for (auto _ : state) {
        if (poll(entries.data(), entries.size(), -1) != 1) abort();
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        close(entries[i].fd);
        close(writers[i]);
    }
}
BENCHMARK(pollAlone)->Arg(1)->Arg(10)->Arg(50)->Arg(200);

/** What batching saves: per record of a burst, waits and attribute reads included. */
void burst(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const bool batching = state.range(1) != 0;
    gStage->hal->batch(kMeasured, 10'000'000, batching ? 1'000'000'000 : 0);
    gStage->hub->setDataAvailable(kMeasured, count);
    gStage->floor.setBatch(batching ? count : 1);
    Pairs pairs;
    for (auto _ : state) {
        runLibrary(count);
        runFloor(count);
        const double library = gStage->proxy->arrivals.nsSinceOpen() / count;
        pairs.add(library, gStage->floor.arrivals.nsSinceOpen() / count);
        state.SetIterationTime(library * 1e-9);
    }
    pairs.report(state);
}
BENCHMARK(burst)
    ->UseManualTime()
    ->Iterations(1000)
    ->ArgNames({"records", "batching"})
    ->ArgsProduct({{1, 2, 4, 8, 16, 64}, {0, 1}});

}  // namespace

int main(int argc, char** argv) {
    size_t devices = 10;
    if (argc > 1 && strncmp(argv[1], "--devices=", 10) == 0) {
        devices = std::max<size_t>(2, strtoul(argv[1] + 10, nullptr, 10));
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::CPUInfo::Get();  // reads files, which are out of reach later
    Stage stage(devices);
    gStage = &stage;
    benchmark::RunSpecifiedBenchmarks();

    // The library's poll thread ends with the process: unloading would need one more record.
    stage.floor.stop(*stage.hub, stage.gateRecord);
    stage.hub.reset();
    fflush(nullptr);
    _exit(0);
}
