#include <cutils/ashmem.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstring>
#include <optional>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/RingReader.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSliceMs = 50;  // a signal does not end a wait

RateLevel levelOf(const std::string& rate) {
    if (rate == "normal") return RateLevel::NORMAL;
    return rate == "fast" ? RateLevel::FAST : RateLevel::VERY_FAST;
}

/** Prints and judges what the reader finds. */
class Client {
  public:
    Client(const SensorInfo& sensor, bool quiet)
        : mSensor(sensor),
          mQuiet(quiet),
          mCheck(sensor.sensorHandle, static_cast<int32_t>(sensor.type)) {
        if (quiet) return;
        print("%10s  %20s  %s\n", "counter", "timestamp/s", valueLegend(sensor).c_str());
    }

    void add(const sensors_event_t& record) {
        const bool whole = mCheck.add(record);
        if (whole && record.type != SENSOR_TYPE_META_DATA) mStatistics.add(record.timestamp);
        if (!mQuiet) printRecord(record, whole);
    }

    void summary() const {
        print("%" PRId64 " records, %.3f Hz, jitter %.3f ms; %" PRId64 " missed, %" PRId64
              " torn\n",
              mCheck.records(), mStatistics.rateHz(), mStatistics.jitterNs() / 1e6, mCheck.missed(),
              mCheck.torn());
    }

    const RingCheck& check() const { return mCheck; }

  private:
    void printRecord(const sensors_event_t& record, bool whole) const {
        Event event{};
        std::memcpy(&event.u, &record.u64, sizeof(event.u));
        const std::string values =
            record.type == SENSOR_TYPE_META_DATA ? "flush complete" : valueColumns(mSensor, event);
        print("%10" PRIu32 "  %s  %s%s\n", static_cast<uint32_t>(record.reserved0),
              timeText(record.timestamp).c_str(), values.c_str(), whole ? "" : "  TORN");
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

/** Names the sensors that can, when this one cannot. */
bool mayReportDirectly(Proxy& proxy, const SensorInfo& sensor) {
    if (canReportDirectly(sensor)) return true;
    std::string able;
    for (const SensorInfo& other : proxy.sensors()) {
        if (!canReportDirectly(other)) continue;
        able += (able.empty() ? "" : ", ") + typeName(other) + " (" +
                std::to_string(other.sensorHandle) + ")";
    }
    complain("%s does not report into direct channels; %s", typeName(sensor).c_str(),
             able.empty() ? "no sensor here does" : ("these do: " + able).c_str());
    return false;
}

/** Events that have come through the proxy's callback so far. */
size_t proxyEvents(Proxy& proxy) {
    size_t count = 0;
    proxy.events().drain([&count](const ReceivedEvent&) { ++count; });
    return count + proxy.events().overflowed();
}

ExitCode play(Proxy& proxy, const DirectOptions& options, int regionFd, RingReader& reader) {
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    if (!mayReportDirectly(proxy, *sensor)) return kRefused;
    // A stopped report leaves its sensor on, and so does a channel that goes with it stopped.
    const Off off(proxy, *sensor);
    ClientChannel channel(proxy);
    const Result registered = channel.registerMemory(regionFd, options.bytes);
    if (registered != Result::OK) {
        return refused(typeName(*sensor), "registerDirectChannel", registered);
    }
    const Result configured = channel.setRate(sensor->sensorHandle, levelOf(options.rate));
    if (configured != Result::OK) {
        return refused(typeName(*sensor), "configDirectReport", configured);
    }

    std::optional<ActiveSensor> beside;
    if (options.eventsHz > 0) {
        beside.emplace(proxy, *sensor, periodOfRate(options.eventsHz), 0);
        if (!beside->active()) return kRefused;
    }

    Client client(*sensor, proxy.options().quiet);
    receive(reader, client, options.seconds);
    channel.setRate(sensor->sensorHandle, RateLevel::STOP);
    receiveRest(reader, client);
    client.summary();
    if (beside) print("%s through the proxy\n", counted(proxyEvents(proxy), "event").c_str());
    if (client.check().records() == 0) {
        complain("%s: no records", typeName(*sensor).c_str());
        return kNoData;
    }
    return options.check && client.check().torn() > 0 ? kCheckFailed : kOk;
}

}  // namespace

ExitCode runDirect(Proxy& proxy, const DirectOptions& options) {
    const int regionFd = ashmem_create_region("subhalctl", options.bytes);
    // Forked before the library starts threads.
    RingReader reader(regionFd, options.bytes);
    if (regionFd < 0 || !reader.running()) {
        complain("no shared memory of %" PRIu32 " bytes: %s", options.bytes, std::strerror(errno));
        return kCheckFailed;
    }
    const ExitCode opened = proxy.open();
    const ExitCode played = opened != kOk ? opened : play(proxy, options, regionFd, reader);
    close(regionFd);
    return played;
}

}  // namespace subhalctl
