#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <memory>
#include <optional>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::SensorType;
using Clock = EventQueue::Clock;

constexpr int kSliceMs = 50;  // a signal does not end a wait

RateLevel levelOf(const std::string& rate) {
    if (rate == "normal") return RateLevel::NORMAL;
    return rate == "fast" ? RateLevel::FAST : RateLevel::VERY_FAST;
}

/** Prints and judges what the reader finds. */
class Client {
  public:
    /** Earlier time stamps than `startNs` are stale. */
    Client(const SensorInfo& sensor, const std::string& format, bool quiet, int64_t startNs)
        : mWatched{{&sensor, {}, {}, IntervalStatistics(), startNs}},
          mFormat(format),
          mCheck(sensor.sensorHandle, static_cast<int32_t>(sensor.type), startNs) {
        if (quiet) return;
        mWriter = EventWriter::make(format);
        if (format != "text") {
            mWriter->begin(mWatched, false);
        } else {
            print("%10s  %17s  %8s  %s\n", "counter", "timestamp/s", "age/ms",
                  valueLegend(sensor).c_str());
        }
    }

    void add(const RingReader::Record& read) {
        const sensors_event_t& record = read.record;
        const bool whole = mCheck.add(record);
        mLastReadNs = read.readNs;
        if (whole && record.type != SENSOR_TYPE_META_DATA) {
            Watched& one = mWatched[0];
            const bool fresh = record.timestamp >= one.startNs;
            if (fresh) one.intervals.add(record.timestamp);
            if (!fresh) ++one.stale;
            if (record.timestamp > 0) one.latency.add(elapsedNs(record.timestamp, read.readNs));
        }
        if (mWriter) show(read, whole);
    }

    /** What to end with, given the highest counter in the memory and the time of the stop. */
    ExitCode summary(uint32_t written, int64_t endNs, bool check) const {
        const RingCheck::Figures figures = mCheck.figures();
        const bool stalled = written > mCheck.counter();
        int64_t silenceNs = elapsedNs(mLastReadNs, endNs);
        const int64_t periodNs =
            std::max(mCheck.spacing().typicalNs, mWatched[0].sensor->minDelay * int64_t{1000});
        if (silenceNs <= toleratedSilenceNs(periodNs, 0)) silenceNs = 0;
        printFigures(figures, written, stalled, silenceNs);
        if (interrupted()) {
            if (!outputLost()) complain("interrupted before --seconds were over");
            return kNoData;
        }
        if (figures.records == 0) {
            complain("%s: no records", typeName(*mWatched[0].sensor).c_str());
            return kNoData;
        }
        return check && (!figures.sound() || stalled || silenceNs > 0) ? kCheckFailed : kOk;
    }

  private:
    void printFigures(const RingCheck::Figures& figures, uint32_t written, bool stalled,
                      int64_t silenceNs) const {
        const DurationStatistics& ages = mWatched[0].latency;
        const IntervalStatistics& intervals = mWatched[0].intervals;
        if (mFormat == "json") {
            const Json line = {{"kind", "summary"},
                               {"age_p50_ns", orNull(ages.quantileNs(0.5))},
                               {"age_p99_ns", orNull(ages.quantileNs(0.99))},
                               {"age_max_ns", orNull(ages.quantileNs(1))},
                               {"records", figures.records},
                               {"written", written},
                               {"rate_hz", orNull(intervals.rateHz())},
                               {"jitter_ns", orNull(intervals.jitterNs())},
                               {"missed", figures.missed},
                               {"repeated", figures.repeated},
                               {"torn", figures.torn},
                               {"backward", figures.backward},
                               {"stale", mWatched[0].stale},
                               {"lost", figures.lost},
                               {"silent_ns", silenceNs},
                               {"stalled", stalled}};
            return printText(jsonText(line) + "\n");
        }
        std::string lines = wrapped(
            "age p50 " + millisecondsText(ages, 0.5) + ", p99 " + millisecondsText(ages, 0.99) +
                ", max " + millisecondsText(ages, 1) + " ms; " + figures.text() + ", " +
                std::to_string(mWatched[0].stale) + " stale; " + figureText(intervals.rateHz()) +
                " Hz, jitter " + figureText(intervals.jitterNs(), 1e6) + " ms\n",
            4);
        if (silenceNs > 0) {
            lines += formatted("silent for the last %.1f ms\n", milliseconds(silenceNs));
        }
        if (stalled) {
            lines += formatted("the reader stalled at record %" PRIu32 " of %" PRIu32 "\n",
                               mCheck.counter(), written);
        }
        printSummary(lines, mFormat == "csv");
    }

    void show(const RingReader::Record& read, bool whole) {
        const sensors_event_t& record = read.record;
        Event event{};
        event.timestamp = record.timestamp;
        event.sensorHandle = mWatched[0].sensor->sensorHandle;
        event.sensorType = static_cast<SensorType>(record.type);
        std::memcpy(&event.u, &record.u64, sizeof(event.u));
        const ReceivedEvent received{event, read.readNs, false, false};
        if (mFormat != "text") {
            // What is torn has no place in a table of values; the summary counts it.
            if (whole) mWriter->event(mWatched[0], received);
            return;
        }
        const char* stale = mWatched[0].isStale(received) ? "  stale" : "";
        const double ageMs = milliseconds(elapsedNs(record.timestamp, read.readNs));
        print("%10" PRIu32 "  %s  %8s  %s%s\n", static_cast<uint32_t>(record.reserved0),
              timeText(record.timestamp).c_str(),
              record.timestamp > 0 ? formatted("%.3f", ageMs).c_str() : "-",
              valueColumns(*mWatched[0].sensor, event).c_str(), whole ? stale : "  TORN");
    }

    std::vector<Watched> mWatched;  // the one sensor
    const std::string mFormat;
    std::unique_ptr<EventWriter> mWriter;  // null: no records
    RingCheck mCheck;
    int64_t mLastReadNs = hubNowNs();
};

uint32_t highestCounter(const SharedMemory& memory) {
    uint32_t highest = 0;
    for (size_t i = 0; i < memory.records(); ++i) {
        highest = std::max(highest, static_cast<uint32_t>(memory.record(i).reserved0));
    }
    return highest;
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

ExitCode play(Proxy& proxy, const DirectOptions& options, const SharedMemory& memory,
              RingReader& reader) {
    const SensorInfo* sensor = proxy.find(options.sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    if (!mayReportDirectly(proxy, *sensor)) return kRefused;
    ClientChannel channel(proxy, sensor->sensorHandle);
    const Result registered = channel.registerMemory(memory);
    if (registered != Result::OK) {
        return refused(typeName(*sensor), "registerDirectChannel", registered);
    }
    const int64_t startNs = hubNowNs();
    const Result configured = channel.setRate(levelOf(options.rate)).result;
    if (configured != Result::OK) {
        return refused(typeName(*sensor), "configDirectReport", configured);
    }

    std::optional<ActiveSensor> events;
    if (options.eventsHz > 0) {
        events.emplace(proxy, *sensor, periodOfRate(options.eventsHz), 0);
        if (!events->active()) return kRefused;
    }

    Client client(*sensor, options.format, proxy.options().quiet, startNs);
    const auto deadline = Clock::now() + lengthOf(options.seconds);
    RingReader::Record record;
    while (!interrupted() && Clock::now() < deadline) {
        if (reader.read(&record, kSliceMs)) client.add(record);
    }
    const int64_t endNs = hubNowNs();
    channel.setRate(RateLevel::STOP);
    const uint32_t written = highestCounter(memory);  // before the reader's last look
    reader.stop();
    while (reader.read(&record, -1)) {
        client.add(record);
    }
    const ExitCode result = client.summary(written, endNs, options.check);
    if (events && options.format == "text")
        print("%s through the proxy\n", counted(proxyEvents(proxy), "event").c_str());
    return result;
}

}  // namespace

ExitCode runDirect(Proxy& proxy, const DirectOptions& options) {
    const SharedMemory memory(options.bytes);
    // It forks, so it comes before the library starts threads.
    RingReader reader(memory.fd(), options.bytes);
    if (!memory.ok() || !reader.running()) {
        complain("no shared memory of %" PRIu32 " bytes: %s", options.bytes, std::strerror(errno));
        return kCheckFailed;
    }
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : play(proxy, options, memory, reader);
}

}  // namespace subhalctl
