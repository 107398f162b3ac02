// What one event costs on its way into direct channels. "Floor" is the same record by hand: two
// copies, two fences and a store.

#include <benchmark/benchmark.h>
#include <cutils/ashmem.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "directchannel/LockfreeBuffer.h"
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

void reportPerChannel(benchmark::State& state) {
    if (state.range(0) == 0) return;
    state.counters["per_channel"] =
        benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void floorByHand(benchmark::State& state) {
    alignas(64) static uint8_t region[kSlots * kRecord];
    const sensors_event_t event = converted();
    const auto* source = reinterpret_cast<const uint8_t*>(&event);
    uint32_t counter = 1;
    size_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        uint8_t* slot = region + position * kRecord;
        memcpy(slot, source, 12);
        memcpy(slot + 16, source + 16, 88);
        std::atomic_thread_fence(std::memory_order_seq_cst);
        *reinterpret_cast<volatile uint32_t*>(slot + 12) = counter++;
        std::atomic_thread_fence(std::memory_order_seq_cst);
        if (++position == kSlots) position = 0;
    }
}
BENCHMARK(floorByHand);

/**
 * One record into each of several regions. Regions start at pages, so that records of the same slot
 * compete for the same cache lines: the time per region grows with their number.
 */
void bufferWrite(benchmark::State& state) {
    const auto count = static_cast<size_t>(state.range(0));
    std::vector<std::unique_ptr<LockfreeBuffer>> buffers;
    for (size_t i = 0; i < count; ++i) {
        void* region = mmap(nullptr, kSlots * kRecord, PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (region == MAP_FAILED) abort();
        buffers.push_back(std::make_unique<LockfreeBuffer>(region, kSlots * kRecord));
    }
    const sensors_event_t event = converted();
    for (auto _ : state) {
        for (const auto& buffer : buffers)
            buffer->write(&event, 1);
    }
    reportPerChannel(state);
}
BENCHMARK(bufferWrite)->Arg(1)->Arg(4)->Arg(16);

void conversion(benchmark::State& state) {
    const Event event = sample();
    sensors_event_t record;
    for (auto _ : state) {
        convertToSensorEvent(event, &record);
        benchmark::DoNotOptimize(record);
    }
}
BENCHMARK(conversion);

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

/** Per event; the counter gives the time per channel, conversion and allocation included. */
void postToChannels(benchmark::State& state) {
    Channels channels(state.range(0));
    const std::vector<Event> events(1, sample());
    for (auto _ : state)
        channels.subHal().postDirectEvents(events);
    reportPerChannel(state);
}
BENCHMARK(postToChannels)->Arg(0)->Arg(1)->Arg(4)->Arg(16);

}  // namespace

BENCHMARK_MAIN();
