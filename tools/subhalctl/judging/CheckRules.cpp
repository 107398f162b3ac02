#include "tools/subhalctl/judging/CheckRules.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <map>

#include "tools/subhalctl/KnownSensors.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

constexpr int32_t kFirstPrivateType = 0x10000;
constexpr int32_t kInterruptGyroHandle = 31;
constexpr int32_t kPocketModeLiteHandle = 39;
constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kFirstEventNs = 1000 * kMillisecond;  // beyond the period
constexpr int64_t kSilenceNs = 300 * kMillisecond;
constexpr int64_t kArrivalNs = 500 * kMillisecond;
constexpr int64_t kAheadNs = 1 * kMillisecond;  // a stamp may lead the clock by a rounding
constexpr double kLowestRate = 0.9;             // of what was granted
constexpr double kHighestRate = 2.2;

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

double milliseconds(int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

uint32_t modeBits(const SensorInfo& sensor) {
    return static_cast<uint32_t>(reportingMode(sensor));
}

/** What is wrong with the delays for the sensor's mode, empty when nothing is. */
std::string delayFault(const SensorInfo& sensor) {
    const int32_t low = sensor.minDelay;
    const int32_t high = sensor.maxDelay;
    bool fine = low >= 0 && high >= 0;
    if (reportingMode(sensor) == SensorFlagBits::CONTINUOUS_MODE) fine = low > 0 && high >= low;
    if (reportingMode(sensor) == SensorFlagBits::ONE_SHOT_MODE) fine = low == -1 && high == 0;
    return fine ? "" : formatted("delays %" PRId32 " to %" PRId32 " µs", low, high);
}

std::string listingFault(const SensorInfo& sensor) {
    if (sensor.sensorHandle <= 0) return "the handle is not above 0";
    if (sensor.name.empty()) return "no name";
    if (sensor.vendor.empty()) return "no vendor";
    if (sensor.version <= 0) return formatted("version %" PRId32, sensor.version);
    const auto type = static_cast<int32_t>(sensor.type);
    if (type <= 0) return formatted("type %" PRId32, type);
    if (type >= kFirstPrivateType && sensor.typeAsString.empty()) return "no string type";
    if (!(sensor.maxRange > 0) || !std::isfinite(sensor.maxRange)) {
        return formatted("range %g", static_cast<double>(sensor.maxRange));
    }
    // The context sensor carries bytes, which have no step.
    if (!(sensor.resolution > 0) && sensor.sensorHandle != kContextHandle) {
        return formatted("resolution %g", static_cast<double>(sensor.resolution));
    }
    if (!(sensor.power >= 0)) return formatted("power %g", static_cast<double>(sensor.power));
    if (sensor.fifoReservedEventCount > sensor.fifoMaxEventCount) {
        return formatted("FIFO %" PRIu32 " with %" PRIu32 " reserved", sensor.fifoMaxEventCount,
                         sensor.fifoReservedEventCount);
    }
    return delayFault(sensor);
}

/** Whether it is what this hub's sensor of that handle is. */
std::string identityFault(const SensorInfo& sensor) {
    const KnownSensor* known = findKnownSensor(sensor.sensorHandle);
    if (known == nullptr) return "";
    if (static_cast<int32_t>(sensor.type) != known->type) {
        return formatted("type %" PRId32 " instead of %" PRId32, static_cast<int32_t>(sensor.type),
                         known->type);
    }
    if (std::strcmp(sensor.typeAsString.c_str(), known->stringType) != 0) {
        return std::string("string type instead of ") + known->stringType;
    }
    const char* permission = known->needsPermission ? kSensorPermission : "";
    if (std::strcmp(sensor.requiredPermission.c_str(), permission) != 0) {
        return std::string("permission instead of \"") + permission + "\"";
    }
    constexpr auto kWakeUp = static_cast<uint32_t>(SensorFlagBits::WAKE_UP);
    if ((sensor.flags & ~kWakeUp) != (known->flags & ~kWakeUp)) {
        return formatted("flags 0x%03" PRIx32 " instead of 0x%03" PRIx32, sensor.flags,
                         known->flags);
    }
    return "";
}

bool isNumber(const Value& value) {
    return value.form == Value::Form::kNumber;
}

/** A value outside of the sensor's range, as text; empty when it is inside. */
std::string rangeFault(const SensorInfo& sensor, const Value& value) {
    if (!isNumber(value)) return "";
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

}  // namespace

void Observed::add(const ReceivedEvent& received) {
    const EventKind kind = kindOf(received.event);
    if (kind == EventKind::kFlushComplete) ++completions;
    if (kind != EventKind::kData) return;
    if (received.event.timestamp < startNs) {
        ++stale;
    } else {
        events.push_back(received);
    }
}

void Results::judge(bool passed, const char* rule, const std::string& figures) const {
    report->add({passed ? Verdict::kPass : Verdict::kFail, sensor, rule, figures});
}

void Results::pass(const char* rule, const std::string& figures) const {
    judge(true, rule, figures);
}

void Results::fail(const char* rule, const std::string& figures) const {
    judge(false, rule, figures);
}

void Results::skip(const char* rule, const std::string& figures) const {
    report->add({Verdict::kSkip, sensor, rule, figures});
}

void Results::onPurpose(const char* rule, const std::string& figures) const {
    report->add({Verdict::kSkip, sensor, rule, figures, true});
}

void checkListing(const SensorInfo& sensor, const Results& results) {
    const std::string fault = listingFault(sensor);
    results.judge(fault.empty(), "listing", fault.empty() ? "complete" : fault);
    const std::string difference = identityFault(sensor);
    results.judge(difference.empty(), "identity",
                  difference.empty() ? formatted("flags 0x%03" PRIx32, sensor.flags) : difference);
    if (sensor.sensorHandle == kPocketModeLiteHandle) {
        results.onPurpose("own-type", "pocket_mode_lite shares pocket_mode's string type");
    }
    if (sensor.sensorHandle == kInterruptGyroHandle) {
        results.onPurpose("mode-of-type", "a gyroscope that is listed as on-change");
    }
    if (canReportDirectly(sensor)) {
        results.onPurpose("mode-of-type", "a periodic sensor that is listed as special");
    }
}

void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results) {
    std::map<std::pair<int32_t, std::string>, int> seen;
    std::map<int32_t, int> handles;
    std::string twice;
    for (const SensorInfo& sensor : sensors) {
        const bool again = ++seen[{static_cast<int32_t>(sensor.type), sensor.name}] > 1 ||
                           ++handles[sensor.sensorHandle] > 1;
        if (again) twice += " " + std::string(sensor.name);
    }
    results.judge(twice.empty(), "names-distinct",
                  twice.empty() ? counted(sensors.size(), "sensor") : "twice:" + twice);
}

void checkFirstEvent(const SensorInfo& sensor, const Observed& observed, const Results& results) {
    const SensorFlagBits mode = reportingMode(sensor);
    // The hub's own kinds of on-change sensors may have nothing to tell before something happens.
    const bool owesOne = mode == SensorFlagBits::CONTINUOUS_MODE ||
                         (mode == SensorFlagBits::ON_CHANGE_MODE &&
                          static_cast<int32_t>(sensor.type) < kFirstPrivateType);
    if (observed.events.empty()) {
        if (owesOne) return results.fail("first-event", "none");
        return results.skip("first-event", "nothing happened");
    }
    const int64_t afterNs = observed.events.front().receivedNs - observed.startNs;
    const int64_t boundNs = kFirstEventNs + grantedPeriodNs(sensor, observed.periodNs);
    results.judge(
        afterNs <= boundNs || !owesOne, "first-event",
        formatted("after %.1f ms%s", milliseconds(afterNs),
                  owesOne ? formatted(" of %.0f ms", milliseconds(boundNs)).c_str() : ""));
}

void checkRate(const SensorInfo& sensor, const Observed& observed, const char* rule,
               const Results& results) {
    const int64_t periodNs = grantedPeriodNs(sensor, observed.periodNs);
    IntervalStatistics intervals(periodNs);
    for (const ReceivedEvent& received : observed.events) {
        intervals.add(received.event.timestamp);
    }
    // What stops coming leaves the intervals before it as they were, so its end counts too.
    const int64_t lastNs =
        observed.events.empty() ? observed.startNs : observed.events.back().event.timestamp;
    const int64_t silenceNs = observed.endNs - lastNs;
    const double grantedHz = 1e9 / static_cast<double>(periodNs);
    const bool talksToTheEnd = silenceNs <= kSilenceNs + 2 * periodNs;
    results.judge(
        talksToTheEnd && intervals.rateHz() >= kLowestRate * grantedHz &&
            intervals.rateHz() <= kHighestRate * grantedHz,
        rule,
        formatted("%.3f Hz measured, %.3f Hz granted, %.3f Hz asked, %" PRId64
                  " lost, silent for the last %.1f ms",
                  intervals.rateHz(), grantedHz, 1e9 / static_cast<double>(observed.periodNs),
                  intervals.lost(), milliseconds(silenceNs)));
}

void checkTimestamps(const SensorInfo& sensor, const Observed& observed, const Results& results) {
    if (observed.events.empty()) return;
    const bool periodic = grantedPeriodNs(sensor, observed.periodNs) > 0;
    int64_t last = INT64_MIN;
    int64_t oldest = 0;
    int64_t ahead = 0;
    int backward = 0;
    for (const ReceivedEvent& received : observed.events) {
        const int64_t stamp = received.event.timestamp;
        const bool rises = periodic ? stamp > last : stamp >= last;
        if (!rises) ++backward;
        last = stamp;
        oldest = std::max(oldest, received.receivedNs - stamp);
        ahead = std::max(ahead, stamp - received.receivedNs);
    }
    const std::string figures = formatted(
        "%zu events, %d not rising, arrived up to %.3f ms after and %.3f ms before their "
        "stamps, %zu stale",
        observed.events.size(), backward, milliseconds(oldest), milliseconds(ahead),
        observed.stale);
    results.judge(backward == 0 && oldest <= kArrivalNs && ahead <= kAheadNs, "timestamps",
                  figures);
}

void checkValues(const SensorInfo& sensor, const Observed& observed, const Results& results) {
    if (observed.events.empty()) return;
    const auto type = static_cast<int32_t>(sensor.type);
    const Norm* norm = std::find_if(std::begin(kNorms), std::end(kNorms),
                                    [&](const Norm& one) { return one.type == type; });
    double sum = 0;
    for (const ReceivedEvent& received : observed.events) {
        const Reading reading = decode(type, payloadOf(received.event));
        for (const Value& value : reading.values) {
            const std::string fault = rangeFault(sensor, value);
            if (!fault.empty()) return results.fail("values", fault);
        }
        if (norm != std::end(kNorms)) sum += normOf(reading, norm->values);
    }
    if (norm == std::end(kNorms)) {
        return results.pass("values", counted(observed.events.size(), "event") + " in range");
    }
    const double mean = sum / static_cast<double>(observed.events.size());
    results.judge(mean >= norm->low && mean <= norm->high, "values",
                  formatted("%zu events in range, %.3f for %s of %g to %g", observed.events.size(),
                            mean, norm->what, norm->low, norm->high));
}

void checkWakelocks(const SensorInfo& sensor, const Observed& observed, const Results& results) {
    if (observed.events.empty()) return;
    const auto held =
        std::count_if(observed.events.begin(), observed.events.end(),
                      [](const ReceivedEvent& received) { return received.wakelock; });
    const auto wanted = isWakeUp(sensor) ? static_cast<std::ptrdiff_t>(observed.events.size()) : 0;
    results.judge(held == wanted, "wakelock",
                  formatted("%td of %zu events with one, for a %s sensor", held,
                            observed.events.size(), isWakeUp(sensor) ? "wake-up" : "non-wake-up"));
}

void checkMode(const SensorInfo& sensor, const Observed& observed, const Results& results) {
    constexpr auto kOnChange = static_cast<uint32_t>(SensorFlagBits::ON_CHANGE_MODE);
    constexpr auto kOneShot = static_cast<uint32_t>(SensorFlagBits::ONE_SHOT_MODE);
    if (modeBits(sensor) == kOneShot) {
        if (observed.events.empty()) return;
        return results.judge(observed.events.size() == 1, "one-shot",
                             counted(observed.events.size(), "event"));
    }
    if (modeBits(sensor) != kOnChange) return;
    int repeated = 0;
    for (size_t i = 1; i < observed.events.size(); ++i) {
        if (payloadOf(observed.events[i].event) == payloadOf(observed.events[i - 1].event)) {
            ++repeated;
        }
    }
    const std::string figures =
        formatted("%d of %zu events repeat the one before", repeated, observed.events.size());
    // The hub's own kinds tell of happenings as well as of values, and those may be alike.
    if (repeated > 0 && static_cast<int32_t>(sensor.type) >= kFirstPrivateType) {
        return results.skip("on-change", figures + ": the hub decides what is news");
    }
    results.judge(repeated == 0, "on-change", figures);
}

void checkBatching(const SensorInfo& sensor, const Observed& observed, int64_t latencyNs,
                   const Results& results) {
    const int64_t periodNs = grantedPeriodNs(sensor, observed.periodNs);
    IntervalStatistics intervals(periodNs);
    int64_t heldNs = 0;
    for (const ReceivedEvent& received : observed.events) {
        intervals.add(received.event.timestamp);
        heldNs = std::max(heldNs, received.receivedNs - received.event.timestamp);
    }
    const std::string figures = formatted(
        "%zu events held back up to %.1f ms of %.1f ms, %" PRId64 " lost", observed.events.size(),
        milliseconds(heldNs), milliseconds(latencyNs), intervals.lost());
    results.judge(heldNs >= latencyNs / 2 && heldNs <= latencyNs + kArrivalNs + periodNs &&
                      intervals.lost() == 0,
                  "batching", figures);
}

}  // namespace subhalctl
