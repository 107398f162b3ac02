#include "tools/subhalctl/judging/CheckRules.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <numeric>
#include <set>
#include <utility>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kFirstEventNs = 1000 * kMillisecond;  // beyond the period
constexpr int64_t kArrivalNs = 500 * kMillisecond;
constexpr int64_t kAgeNs = 40 * kMillisecond;   // of the one among several events that came soonest
constexpr int64_t kAheadNs = 1 * kMillisecond;  // a stamp may lead the clock by a rounding
constexpr size_t kSeveral = 5;
constexpr double kMeasurable = 2.1;     // so many periods have two events
constexpr double kRateTolerance = 0.1;  // of what was granted
constexpr double kRateNote = 0.01;
constexpr double kLatencyTolerance = 0.25;
constexpr int64_t kFlushSlackNs = 80 * kMillisecond;  // the hub may be late with what it samples

// By verdict; a directive follows a test's name in TAP.
constexpr const char* kNames[] = {"PASS", "FAIL", "SKIP", "KNOWN"};
constexpr const char* kDirectives[] = {": ", ": ", " # SKIP ", " # TODO known deviation: "};

struct Norm {
    int32_t type;
    size_t values;  ///< the first so many, as a vector
    double low;
    double high;
    const char* what;
};

// What physics says of the mean, at rest or moved by hand.
constexpr Norm kNorms[] = {
    {1, 3, 7.0, 13.0, "gravity"},
    {35, 3, 7.0, 13.0, "gravity"},
    {65687, 3, 7.0, 13.0, "gravity"},
    {65688, 3, 7.0, 13.0, "gravity"},
    {2, 3, 15.0, 100.0, "the Earth's field"},
    {14, 3, 15.0, 200.0, "the Earth's field and bias"},
    {6, 1, 300.0, 1100.0, "the air"},
    {11, 4, 0.98, 1.02, "a rotation"},
    {15, 4, 0.98, 1.02, "a rotation"},
};

std::string listingFault(const SensorInfo& sensor) {
    if (sensor.sensorHandle <= 0) return "the handle is not above 0";
    if (sensor.name.empty()) return "no name";
    if (sensor.vendor.empty()) return "no vendor";
    if (sensor.version <= 0) return formatted("version %" PRId32, sensor.version);
    const auto type = static_cast<int32_t>(sensor.type);
    if (type <= 0) return formatted("type %" PRId32, type);
    if (type >= simulator::kFirstPrivateType && sensor.typeAsString.empty())
        return "no string type";
    if (!(sensor.maxRange > 0) || !std::isfinite(sensor.maxRange)) {
        return formatted("range %g", static_cast<double>(sensor.maxRange));
    }
    // The context sensor carries bytes, which have no step.
    if (!(sensor.resolution > 0) && sensor.sensorHandle != simulator::kContextHandle) {
        return formatted("resolution %g", static_cast<double>(sensor.resolution));
    }
    if (!(sensor.power >= 0)) return formatted("power %g", static_cast<double>(sensor.power));
    if (sensor.fifoReservedEventCount > sensor.fifoMaxEventCount) {
        return formatted("FIFO %" PRIu32 " with %" PRIu32 " reserved", sensor.fifoMaxEventCount,
                         sensor.fifoReservedEventCount);
    }
    const char* rule = brokenDelayRule(sensor.flags, sensor.minDelay, sensor.maxDelay);
    return rule == nullptr ? ""
                           : formatted("delays from %" PRId32 " to %" PRId32 " µs: %s",
                                       sensor.minDelay, sensor.maxDelay, rule);
}

/** How it differs from this hub's sensor of that handle. */
std::string identityFault(const SensorInfo& sensor,
                          const std::vector<simulator::SensorSpec>& specs) {
    constexpr auto kWakeUp = static_cast<uint32_t>(SensorFlagBits::WAKE_UP);
    const auto spec = std::find_if(specs.begin(), specs.end(), [&](const auto& one) {
        return one.handle == sensor.sensorHandle;
    });
    if (const auto* known = simulator::findKnownSensor(sensor.sensorHandle)) {
        const auto type = static_cast<int32_t>(sensor.type);
        if (type != known->type) {
            return formatted("type %" PRId32 " instead of %" PRId32, type, known->type);
        }
        if (known->stringType() != sensor.typeAsString.c_str()) {
            return "string type instead of " + known->stringType();
        }
        const std::string permission = known->needsPermission ? simulator::kSensorPermission : "";
        if (permission != sensor.requiredPermission.c_str()) {
            return "permission instead of \"" + permission + "\"";
        }
        const bool wakeUp = spec != specs.end() ? spec->wakeUp : isWakeUp(sensor);  // hub's own
        const uint32_t flags = known->flags | (wakeUp ? kWakeUp : 0U);
        if (sensor.flags != flags) {
            return formatted("flags 0x%03" PRIx32 " instead of 0x%03" PRIx32, sensor.flags, flags);
        }
    }
    if (spec == specs.end() || (sensor.fifoMaxEventCount == spec->fifoMax &&
                                sensor.fifoReservedEventCount == spec->fifoReserved)) {
        return "";
    }
    return formatted("FIFO of %" PRIu32 " instead of %u", sensor.fifoMaxEventCount, spec->fifoMax);
}

/** A value outside of the sensor's range, as text; empty when it is inside. */
std::string rangeFault(const SensorInfo& sensor, const Value& value) {
    if (value.form != Value::Form::kNumber) return "";
    if (!std::isfinite(value.number)) return std::string(value.name) + " is no number";
    constexpr int32_t kRotationVector = 11;  // its range is the quaternion's, not the heading's
    const bool measured = value.unit[0] != '\0' && std::strstr(value.name, "bias") == nullptr &&
                          static_cast<int32_t>(sensor.type) != kRotationVector;
    if (!measured || std::fabs(value.number) <= sensor.maxRange * 1.001F + sensor.resolution) {
        return "";
    }
    return formatted("%s is %g of at most %g", value.name, static_cast<double>(value.number),
                     static_cast<double>(sensor.maxRange));
}

double normOf(const Reading& reading, size_t count) {
    double squares = 0;
    for (size_t i = 0; i < std::min(count, reading.values.size()); ++i) {
        const auto value = static_cast<double>(reading.values[i].number);
        squares += value * value;
    }
    return std::sqrt(squares);
}

std::vector<int64_t> stampsOf(const Observed& observed) {
    std::vector<int64_t> stamps;
    for (const ReceivedEvent& received : observed.events) {
        stamps.push_back(received.event.timestamp);
    }
    return stamps;
}

int64_t ageOf(const ReceivedEvent& received) {
    return elapsedNs(received.event.timestamp, received.receivedNs);
}

}  // namespace

void Subject::checkValues() const {
    const auto type = static_cast<int32_t>(sensor.type);
    const Norm* norm = std::find_if(std::begin(kNorms), std::end(kNorms),
                                    [&](const Norm& one) { return one.type == type; });
    const size_t events = observed.events.size();
    double sum = 0;
    for (const ReceivedEvent& received : observed.events) {
        const Reading reading = decode(type, payloadOf(received.event));
        for (const Value& value : reading.values) {
            const std::string fault = rangeFault(sensor, value);
            if (!fault.empty()) return judge(false, "values", fault);
        }
        if (norm != std::end(kNorms)) sum += normOf(reading, norm->values);
    }
    if (norm == std::end(kNorms)) {
        return judge(true, "values", counted(events, "event") + " in range");
    }
    const double mean = sum / static_cast<double>(events);
    judge(mean >= norm->low && mean <= norm->high, "values",
          formatted("%s in range, %.3f for %s of %g to %g", counted(events, "event").c_str(), mean,
                    norm->what, norm->low, norm->high));
}

void Subject::checkMode() const {
    const size_t events = observed.events.size();
    if (oneShot()) return judge(events == 1, "one-shot", counted(events, "event"));
    if (!onChange()) return;
    if (events == 1) return skip("on-change", "1 event");
    int repeated = 0;
    for (size_t i = 1; i < events; ++i) {
        if (payloadOf(observed.events[i].event) == payloadOf(observed.events[i - 1].event)) {
            ++repeated;
        }
    }
    const std::string figures =
        formatted("%d of %zu events repeat the one before", repeated, events);
    // The hub's own kinds also report occurrences, which may be alike.
    if (repeated > 0 && static_cast<int32_t>(sensor.type) >= simulator::kFirstPrivateType) {
        return skip("on-change", figures + ": the hub decides what is news");
    }
    judge(repeated == 0, "on-change", figures);
}

void Subject::checkFlushOrder(int64_t flushedNs) const {
    size_t held = 0;
    size_t late = 0;
    for (size_t i = 0; i < observed.events.size(); ++i) {
        const ReceivedEvent& received = observed.events[i];
        if (received.receivedNs < flushedNs) continue;
        if (received.event.timestamp >= flushedNs - kFlushSlackNs) continue;
        ++held;
        if (i >= observed.beforeFlushed) ++late;
    }
    if (observed.completions != 1)
        return judge(false, "flush",
                     formatted("%d completions of 1, batched", observed.completions));
    if (held == 0) return skip("flush-order", "no event held back");
    // On a busy machine some samples come late, too, but not all that was held back.
    judge(late < held, "flush-order",
          formatted("%zu of %zu events held back for over %.0f ms came after it", late, held,
                    milliseconds(kFlushSlackNs)));
}

void CheckReport::begin() const {
    if (mFormat == "tap") print("TAP version 13\n");
}

void CheckReport::add(Verdict verdict, const std::string& sensor, const char* rule,
                      const std::string& figures) {
    mGiven.insert(sensor + ' ' + rule);
    const auto index = static_cast<size_t>(verdict);
    const char* name = kNames[index];
    ++mCounts[index];
    if (mFormat == "json") {
        const Json line = {
            {"verdict", name}, {"sensor", sensor}, {"rule", rule}, {"figures", figures}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        const bool ok = verdict == Verdict::kPass || verdict == Verdict::kSkip;
        print("%s %d - %s %s%s%s\n", ok ? "ok" : "not ok",
              std::accumulate(std::begin(mCounts), std::end(mCounts), 0), sensor.c_str(), rule,
              kDirectives[index], figures.c_str());
    } else if (!mOnlyFailures || verdict == Verdict::kFail) {
        printVerdict(name, formatted(" %-30s %-18s %s", sensor.c_str(), rule, figures.c_str()));
    }
}

void CheckReport::end(bool interrupted) const {
    const auto [passed, failed, skipped, known] = mCounts;
    const int all = passed + failed + skipped + known;
    if (mFormat == "json") {
        const Json line = {{"verdict", "summary"},      {"passed", passed},
                           {"failed", failed},          {"skipped", skipped},
                           {"known_deviations", known}, {"interrupted", interrupted}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        printText(interrupted ? "Bail out! interrupted\n" : formatted("1..%d\n", all));
    } else {
        print("%s%s: %d passed, %d failed, %d skipped, %s\n",
              interrupted ? "interrupted after " : "", counted(all, "result").c_str(), passed,
              failed, skipped, counted(known, "known deviation").c_str());
    }
}

void Observed::add(const SensorInfo& sensor, const ReceivedEvent& received) {
    const Event& event = received.event;
    const EventKind kind = kindOf(event);
    std::string foreign;
    if (kind == EventKind::kFlushComplete) {
        if (completions++ == 0) beforeFlushed = events.size();
        const auto code = static_cast<uint32_t>(event.u.meta.what);
        if (code != 1) foreign = formatted(" meta-data code %" PRIu32, code);
    } else if (kind == EventKind::kData && event.sensorType != sensor.type) {
        foreign = formatted(" type %" PRId32, static_cast<int32_t>(event.sensorType));
    }
    if (foreignKinds.find(foreign) == std::string::npos) foreignKinds += foreign;
    if (kind != EventKind::kData) return;
    const bool repeats = event.timestamp == lastNs && grantedPeriodNs(sensor, periodNs) > 0;
    if (event.timestamp <= 0 || event.timestamp < lastNs || repeats) ++notRising;
    lastNs = event.timestamp;
    if (event.timestamp < startNs) {
        ++stale;
    } else {
        events.push_back(received);
    }
}

void Subject::checkListing(const std::vector<simulator::SensorSpec>& specs) const {
    expect("listing", listingFault(sensor), "complete");
    expect("identity", identityFault(sensor, specs), formatted("flags 0x%03" PRIx32, sensor.flags));
}

void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results) {
    std::set<std::pair<int32_t, std::string>> names;
    std::set<int32_t> handles;
    std::string twice;
    for (const SensorInfo& sensor : sensors) {
        const bool named = names.emplace(static_cast<int32_t>(sensor.type), sensor.name).second;
        if (!handles.insert(sensor.sensorHandle).second || !named) {
            twice += " " + std::string(sensor.name);
        }
    }
    results.expect("names-distinct", twice.empty() ? "" : "twice:" + twice,
                   counted(sensors.size(), "sensor"));
}

void Subject::checkFirstEvent() const {
    const int64_t boundNs = kFirstEventNs + grantedNs();
    if (observed.events.empty()) {
        if (observed.stale > 0) return skip("first-event", "only stale ones");
        if (!reportsByItself() || observed.endNs - observed.startNs < boundNs) return;
        return judge(false, "first-event", formatted("none; see doctor %" PRId32, handle()));
    }
    const int64_t afterNs = observed.events.front().receivedNs - observed.startNs;
    judge(afterNs <= boundNs || !reportsByItself(), "first-event",
          formatted("after %.1f ms", milliseconds(afterNs)));
}

bool Subject::checkTimestamps(int64_t latencyNs) const {
    const int64_t periodNs = grantedNs();
    const size_t events = observed.events.size();
    if (events == 0 && observed.notRising == 0) {
        if (observed.stale == 0 || periodNs == 0) return periodNs == 0;
        judge(false, "timestamps", "all are from before the sensor was switched on");
        return false;
    }
    int64_t soonest = events == 0 ? 0 : INT64_MAX;
    for (const ReceivedEvent& received : observed.events) {
        soonest = std::min(soonest, ageOf(received));
    }
    const bool several = periodNs > 0 && events >= kSeveral;
    // Stamps taken on arrival are too close together: a batch arrives at once.
    const int64_t apart = Spacing(stampsOf(observed)).typicalNs;
    const bool bunched = latencyNs > 0 && several && apart < periodNs / 4;
    const bool current =
        soonest >= -kAheadNs && soonest <= latencyNs + (several ? kAgeNs : kArrivalNs);
    const bool sound = observed.notRising == 0 && !bunched && current;
    judge(sound, "timestamps",
          counted(events, "event") + formatted(", %d not rising", observed.notRising) +
              (events > 1 ? formatted(", %.3f ms apart", milliseconds(apart)) : "") +
              formatted(", at least %.3f ms old on arrival, %zu left out", milliseconds(soonest),
                        observed.stale));
    return sound;
}

bool Subject::checkRate() const {
    const std::vector<int64_t> stamps = stampsOf(observed);
    const Spacing spacing(stamps, grantedNs());
    const double grantedHz = 1e9 / static_cast<double>(grantedNs());
    const double off = std::round((spacing.rateHz / grantedHz - 1) * 1e6) / 1e6;
    const double seconds = milliseconds(observed.endNs - observed.startNs) / 1e3;
    const bool brief = spacing.rateHz <= 0 && seconds * grantedHz < kMeasurable;
    const std::string seen =
        spacing.rateHz > 0 ? formatted("%.3f Hz measured", spacing.rateHz)
                           : counted(stamps.size(), "event") + formatted(" in %.1f s", seconds);
    judge(std::fabs(off) <= kRateTolerance, "rate",
          formatted("%s, %.3f Hz granted, %.3f Hz asked%s", seen.c_str(), grantedHz,
                    1e9 / static_cast<double>(observed.periodNs),
                    std::fabs(off) > kRateNote && spacing.rateHz > 0
                        ? formatted("; note: %+.1f %% off", 100 * off).c_str()
                        : ""),
          brief ? Verdict::kSkip : Verdict::kFail);
    if (brief) return false;
    // What stops coming leaves the gaps before it as they were.
    const auto last = std::max_element(stamps.begin(), stamps.end());
    const int64_t silenceNs = observed.endNs - (last == stamps.end() ? observed.startNs : *last);
    const int64_t toleratedNs = toleratedSilenceNs(spacing.periodNs, 0);
    if (stamps.empty() && silenceNs <= toleratedNs) return true;
    judge(spacing.lost == 0 && silenceNs <= toleratedNs, "lost",
          formatted("%" PRId64 " of %zu, silent for the last %.1f ms", spacing.lost,
                    stamps.size() + static_cast<size_t>(spacing.lost), milliseconds(silenceNs)));
    return true;
}

void Subject::checkEvents() const {
    const size_t events = observed.events.size();
    if (events == 0) return;
    checkValues();
    const auto held = static_cast<size_t>(
        std::count_if(observed.events.begin(), observed.events.end(),
                      [](const ReceivedEvent& received) { return received.wakelock; }));
    judge(held == (isWakeUp(sensor) ? events : 0), "wakelock",
          formatted("%zu of %zu events with one, for a %s sensor", held, events,
                    isWakeUp(sensor) ? "wake-up" : "non-wake-up"));
    checkMode();
}

void Subject::checkBatching(int64_t latencyNs, int64_t flushedNs) const {
    // A batch arrives at once; a busy machine makes some of them older, not most.
    std::vector<int64_t> heldNs;
    int64_t lastNs = 0;
    int64_t newestNs = 0;
    for (const ReceivedEvent& received : observed.events) {
        if (received.receivedNs >= flushedNs) break;
        if (received.receivedNs > lastNs + grantedNs() / 2) heldNs.push_back(ageOf(received));
        lastNs = received.receivedNs;
        newestNs = std::max(newestNs, received.event.timestamp);
    }
    if (heldNs.empty()) return judge(false, "batching", "0 events before the flush");
    std::sort(heldNs.begin(), heldNs.end());
    const int64_t medianNs = heldNs[heldNs.size() / 2];
    const auto longestNs =
        static_cast<int64_t>(static_cast<double>(latencyNs) * (1 + kLatencyTolerance));
    const int64_t silentNs = flushedNs - newestNs;
    judge(medianNs >= latencyNs / 2 && medianNs <= longestNs && silentNs <= longestNs + grantedNs(),
          "batching",
          formatted("%s, held back for %.1f ms (%.1f to %.1f ms) of %.1f ms, silent for %.1f ms",
                    counted(heldNs.size(), "batch", "es").c_str(), milliseconds(medianNs),
                    milliseconds(heldNs.front()), milliseconds(heldNs.back()),
                    milliseconds(latencyNs), milliseconds(silentNs)));
    checkFlushOrder(flushedNs);
}

void Subject::checkDirectRecords(const DirectLevel& level, const SharedMemory& memory,
                                 int64_t startNs) const {
    const int64_t stoppedNs = hubNowNs();
    size_t written = memory.records();
    while (written > 0 && memory.record(written - 1).reserved0 == 0) {
        --written;
    }
    RingCheck ring(handle(), static_cast<int32_t>(sensor.type), startNs);
    for (size_t i = 0; i < written; ++i) {
        ring.add(memory.record(i));
    }
    const RingCheck::Figures figures = ring.figures();
    judge(figures.sound() && written > 0, "direct-records",
          formatted("%s: %s", level.name, figures.text().c_str()));
    if (ring.newestNs() == INT64_MIN) return;
    const int64_t ageNs = elapsedNs(ring.newestNs(), stoppedNs);
    const bool current =
        ageNs >= -kAheadNs && ageNs <= kArrivalNs + sensor.minDelay * int64_t{1000};
    judge(current, "direct-stamps",
          formatted("%s: the newest record is %.1f ms old", level.name, milliseconds(ageNs)));
    const double rateHz = ring.spacing().rateHz;
    if (!current || rateHz <= 0) return;
    const std::string rate = formatted("%s: %.1f Hz of %.1f to %.1f Hz", level.name, rateHz,
                                       level.lowestHz, level.highestHz);
    const bool slow = level.level == RateLevel::VERY_FAST && rateHz >= kDirectLevels[1].lowestHz &&
                      rateHz < level.lowestHz;
    judge(rateHz >= level.lowestHz && rateHz <= level.highestHz, "direct-rate", rate,
          slow ? Verdict::kKnown : Verdict::kFail);
}

}  // namespace subhalctl
