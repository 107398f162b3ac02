// What one event costs on its way into direct channels. The floor writes the same record by hand:
// two copies, two fences and a store for each region.

#include <benchmark/benchmark.h>
#include <cutils/ashmem.h>
#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "bench/Pairs.h"
#include "simulator/SimulatedHub.h"
#include "subhal/SensorsSubHal.h"
#include "subhal/convert.h"
#include "tools/proxy/SubHalLibrary.h"

namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;
using android::hardware::sensors::V1_0::implementation::convertToSensorEvent;

constexpr int32_t kVdis = 38;
constexpr size_t kRecord = 104;
constexpr size_t kSlots = 32;

Event sample() {
    Event event = {};
    event.timestamp = 123456789;
    event.sensorHandle = kVdis;
    event.sensorType = static_cast<android::hardware::sensors::V1_0::SensorType>(65607);
    return event;
}

sensors_event_t converted() {
    sensors_event_t event;
    convertToSensorEvent(sample(), &event);
    return event;
}

/** Regions such as channels have, written by hand. */
class BareRegions {
  public:
    explicit BareRegions(int64_t count) {
        for (int64_t i = 0; i < count; ++i) {
            void* region = mmap(nullptr, kSlots * kRecord, PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_ANONYMOUS, -1, 0);
            if (region == MAP_FAILED) abort();
            mRegions.push_back({static_cast<uint8_t*>(region), 1, 0});
        }
    }
    ~BareRegions() {
        for (const Region& region : mRegions)
            munmap(region.base, kSlots * kRecord);
    }
    BareRegions(const BareRegions&) = delete;
    BareRegions& operator=(const BareRegions&) = delete;

    void write(const sensors_event_t& event) {
        const auto* source = reinterpret_cast<const uint8_t*>(&event);
        benchmark::DoNotOptimize(source);
        for (Region& region : mRegions) {
            uint8_t* slot = region.base + region.position * kRecord;
            memcpy(slot, source, 12);
            memcpy(slot + 16, source + 16, 88);
            std::atomic_thread_fence(std::memory_order_seq_cst);
            *reinterpret_cast<volatile uint32_t*>(slot + 12) = region.counter++;
            std::atomic_thread_fence(std::memory_order_seq_cst);
            if (++region.position == kSlots) region.position = 0;
        }
    }

  private:
    struct Region {
        uint8_t* base;
        uint32_t counter;
        size_t position;
    };
    std::vector<Region> mRegions;
};

void conversion(benchmark::State& state) {
    const Event event = sample();
    sensors_event_t record;
    for (auto _ : state) {
        convertToSensorEvent(event, &record);
        benchmark::DoNotOptimize(record);
    }
}
BENCHMARK(conversion);

/** What an event pays for not waiting for a configuration call. */
void tryLock(benchmark::State& state) {
    std::mutex mutex;
    for (auto _ : state) {
        const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
        benchmark::DoNotOptimize(lock.owns_lock());
    }
}
BENCHMARK(tryLock);

/** A sub-HAL on a hub of one sensor, which reports into `count` channels. */
class Channels {
  public:
    explicit Channels(int64_t count) : mHub(options()), mSubHal(std::make_unique<SensorsSubHal>()) {
        for (int64_t i = 0; i < count; ++i)
            add();
    }
    ~Channels() {
        const simulator::ShutdownHelper helper(mHub);
        mSubHal.reset();
    }
    Channels(const Channels&) = delete;
    Channels& operator=(const Channels&) = delete;

    SensorsSubHal& subHal() { return *mSubHal; }

  private:
    static simulator::SimulatedHub::Options options() {
        simulator::SimulatedHub::Options options;
        std::vector<simulator::SensorSpec> chosen;
        for (const auto& sensor : options.sensors) {
            if (sensor.handle == kVdis) chosen.push_back(sensor);
        }
        options.sensors = chosen;
        return options;
    }

    void add() {
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = ashmem_create_region("bench", kSlots * kRecord);
        const int32_t channel =
            host_proxy::registerDirectChannel(
                *mSubHal,
                {SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT, kSlots * kRecord, handle})
                .value;
        native_handle_delete(handle);
        const auto configured =
            host_proxy::configDirectReport(*mSubHal, kVdis, channel, RateLevel::FAST);
        if (configured.result != Result::OK) abort();
    }

    simulator::SimulatedHub mHub;
    std::unique_ptr<SensorsSubHal> mSubHal;
};

/** Per event into so many channels; the floor writes as many regions by hand. */
void postToChannels(benchmark::State& state) {
    constexpr int kPosts = 200;
    Channels channels(state.range(0));
    BareRegions regions(state.range(0));
    const std::vector<Event> events(1, sample());
    const sensors_event_t record = converted();
    const auto nsPerPost = [](auto post) {
        const auto begin = std::chrono::steady_clock::now();
        for (int i = 0; i < kPosts; ++i)
            post();
        const std::chrono::duration<double, std::nano> took =
            std::chrono::steady_clock::now() - begin;
        return took.count() / kPosts;
    };
    bench::Pairs pairs;
    for (auto _ : state) {
        const double library = nsPerPost([&] { channels.subHal().postDirectEvents(events); });
        pairs.add(library, nsPerPost([&] { regions.write(record); }));
        state.SetIterationTime(library * 1e-9);
    }
    pairs.report(state);
}
BENCHMARK(postToChannels)
    ->UseManualTime()
    ->Iterations(2000)
    ->Arg(0)
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8)
    ->Arg(16)
    ->Arg(64);

}  // namespace

BENCHMARK_MAIN();
