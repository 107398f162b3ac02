#include <cutils/ashmem.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "tools/subhalctl/EventWriter.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/RingReader.h"
#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V1_0::SharedMemType;
using Clock = std::chrono::steady_clock;

constexpr int kSliceMs = 50;  // a signal does not end a wait

/** A direct channel, registered while it lives. */
class Channel {
  public:
    explicit Channel(Proxy& proxy) : mProxy(proxy) {}
    ~Channel() {
        if (mHandle > 0) mProxy.subHal().unregisterDirectChannel(mHandle);
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    Result registerMemory(int regionFd, uint32_t bytes) {
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = dup(regionFd);  // the library takes it over
        const SharedMemInfo memory{SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT, bytes,
                                   android::hardware::hidl_handle(handle)};
        const auto answer = host_proxy::registerDirectChannel(mProxy.subHal(), memory);
        native_handle_delete(handle);
        mHandle = answer.value;
        return answer.result;
    }

    Result setRate(int32_t sensorHandle, RateLevel level) {
        return host_proxy::configDirectReport(mProxy.subHal(), sensorHandle, mHandle, level).result;
    }

  private:
    Proxy& mProxy;
    int32_t mHandle = -1;
};

/** Prints and judges what the reader finds. */
class Client {
  public:
    Client(const SensorInfo& sensor, bool quiet)
        : mSensor(sensor),
          mQuiet(quiet),
          mCheck(sensor.sensorHandle, static_cast<int32_t>(sensor.type)) {
        if (!quiet) std::printf("%10s  %20s  %s\n", "counter", "timestamp/s", "values");
    }

    void add(const sensors_event_t& record) {
        const bool whole = mCheck.add(record);
        if (whole && record.type != SENSOR_TYPE_META_DATA) mStatistics.add(record.timestamp);
        if (!mQuiet) print(record, whole);
    }

    void summary() const {
        std::printf("%" PRId64 " records, %.3f Hz, jitter %.3f ms; %" PRId64 " missed, %" PRId64
                    " torn\n",
                    mCheck.records(), mStatistics.rateHz(), mStatistics.jitterNs() / 1e6,
                    mCheck.missed(), mCheck.torn());
    }

    const RingCheck& check() const { return mCheck; }

  private:
    void print(const sensors_event_t& record, bool whole) const {
        Event event{};
        std::memcpy(&event.u, &record.u64, sizeof(event.u));
        const std::string values =
            record.type == SENSOR_TYPE_META_DATA ? "flush complete" : valueColumns(mSensor, event);
        std::printf("%10" PRIu32 "  %10" PRId64 ".%09" PRId64 "  %s%s\n",
                    static_cast<uint32_t>(record.reserved0), record.timestamp / 1000000000,
                    std::abs(record.timestamp % 1000000000), values.c_str(), whole ? "" : "  TORN");
    }

    const SensorInfo& mSensor;
    bool mQuiet;
    RingCheck mCheck;
    IntervalStatistics mStatistics;
};

void receive(RingReader& reader, Client& client, double seconds) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(seconds));
    while (!interrupted() && Clock::now() < deadline) {
        sensors_event_t record;
        if (reader.read(&record, kSliceMs)) client.add(record);
    }
}

void receiveRest(RingReader& reader, Client& client) {
    reader.stop();
    sensors_event_t record;
    while (reader.read(&record, -1)) {
        client.add(record);
    }
}

ExitCode refused(const char* what, Result result) {
    std::fprintf(stderr, "subhalctl: %s: %s\n", what, resultName(result).c_str());
    return kRefused;
}

/** Events that have come through the proxy's callback so far. */
size_t proxyEvents(Proxy& proxy) {
    size_t count = 0;
    proxy.events().receive(EventQueue::Clock::now(), [&count](const ReceivedEvent&) {
        ++count;
        return false;
    });
    return count;
}

ExitCode play(Proxy& proxy, const DirectOptions& options, int regionFd, RingReader& reader) {
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    Channel channel(proxy);
    const Result registered = channel.registerMemory(regionFd, options.bytes);
    if (registered != Result::OK) return refused("registerDirectChannel", registered);
    const Result configured =
        channel.setRate(sensor->sensorHandle, static_cast<RateLevel>(options.level));
    if (configured != Result::OK) return refused("configDirectReport", configured);

    std::optional<ActiveSensor> beside;
    if (options.eventsHz > 0) {
        beside.emplace(proxy, *sensor, std::llround(1e9 / options.eventsHz), 0);
        if (!beside->active()) return kRefused;
    }

    Client client(*sensor, proxy.options().quiet);
    receive(reader, client, options.seconds);
    channel.setRate(sensor->sensorHandle, RateLevel::STOP);
    receiveRest(reader, client);
    client.summary();
    if (beside) std::printf("%zu events through the proxy\n", proxyEvents(proxy));
    if (client.check().records() == 0) return kNoData;
    return options.check && client.check().torn() > 0 ? kCheckFailed : kOk;
}

}  // namespace

ExitCode runDirect(Proxy& proxy, const DirectOptions& options) {
    const int regionFd = ashmem_create_region("subhalctl", options.bytes);
    // Forked before the library starts threads.
    RingReader reader(regionFd, options.bytes);
    if (regionFd < 0 || !reader.running()) {
        std::fprintf(stderr, "subhalctl: no shared memory: %s\n", std::strerror(errno));
        return kCheckFailed;
    }
    const ExitCode opened = proxy.open();
    const ExitCode played = opened != kOk ? opened : play(proxy, options, regionFd, reader);
    close(regionFd);
    return played;
}

}  // namespace subhalctl
