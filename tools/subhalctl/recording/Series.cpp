#include "tools/subhalctl/recording/Series.h"

#include <algorithm>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

using Entry = Recording::Entry;

constexpr int64_t kPromptNs = 100'000'000;
constexpr int64_t kLongestNs = INT64_MAX / 4;  // more can be added to it

/** The sensor as far as it is in the recording. */
SensorInfo sensorOf(const Recording& recording, int32_t handle) {
    SensorInfo sensor{};
    sensor.sensorHandle = handle;
    if (const auto* known = simulator::findKnownSensor(handle)) {
        sensor.type = static_cast<decltype(sensor.type)>(known->type);
        sensor.typeAsString = known->stringType();
        sensor.flags = known->flags;
    }
    for (const simulator::SensorSpec& spec : simulator::decodeSpecs(recording.spec)) {
        if (spec.handle != handle) continue;
        sensor.minDelay = spec.minDelayUs;
        sensor.maxDelay = spec.maxDelayUs;
        sensor.resolution = spec.resolution;
    }
    return sensor;
}

void addEvent(const Entry& entry, int64_t readNs, Series* series) {
    ReceivedEvent received = entry.received;
    received.ownWakelock =
        received.wakelock && (series->events.empty() ||
                              series->events.back().received.receivedNs != received.receivedNs);
    series->events.push_back({received, readNs});
}

void addRequest(const Entry& entry, int64_t endNs, Series* series) {
    const ProxyRequest& request = entry.request;
    series->requests.push_back(&entry);
    if (request.result != "OK") return;
    if (request.what == "batch") {
        series->latencyNs = std::clamp<int64_t>(request.latencyNs, 0, kLongestNs);
    } else if (request.what == "activate" && request.enable) {
        series->on.push_back({entry.timeNs, endNs});
    } else if (request.what == "activate" && !series->on.empty()) {
        series->on.back().endNs = std::min(series->on.back().endNs, entry.timeNs);
    }
}

/** Once all requests and events of a sensor are known. */
void judge(int64_t askedNs, Series* series) {
    series->periodNs = askedNs > 0 ? grantedPeriodNs(series->sensor, askedNs) : 0;
    Watched& figures = series->figures;
    const bool hasRate = series->periodNs > 0;
    figures = {&series->sensor, when(hasRate, hertzOf(askedNs)),
               when(hasRate, hertzOf(series->periodNs)), IntervalStatistics(series->periodNs),
               figures.startNs};
    const int64_t dueNs = series->latencyNs + 2 * series->periodNs + kPromptNs;
    const auto first = std::find_if(
        series->events.begin(), series->events.end(),
        [](const auto& event) { return kindOf(event.received.event) == EventKind::kData; });
    if (first != series->events.end()) series->sensor.type = first->received.event.sensorType;
    std::vector<RecordedEvent*> sorted;
    for (RecordedEvent& event : series->events) {
        const int64_t backward = figures.intervals.backward();
        event.stale = figures.isStale(event.received);
        figures.add(event.received);
        if (!event.isData()) continue;
        event.retyped = event.received.event.sensorType != series->sensor.type;
        for (const Value& value : decode(series->sensor, payloadOf(event.received.event)).values) {
            const bool counts = value.form != Value::Form::kNumber;
            event.values.push_back(counts ? static_cast<double>(value.count)
                                          : static_cast<double>(value.number));
        }
        event.backward = figures.intervals.backward() > backward;
        event.late = event.latencyNs() > dueNs;
        series->late += event.late ? 1 : 0;
        sorted.push_back(&event);
    }
    if (!series->on.empty()) figures.intervals.end(series->on.back().endNs, series->latencyNs);
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto* left, const auto* right) {
        return left->stampNs() < right->stampNs();
    });
    for (size_t i = 1; i < sorted.size(); ++i) {
        sorted[i]->intervalNs = elapsedNs(sorted[i - 1]->stampNs(), sorted[i]->stampNs());
        sorted[i]->lost = lostWithin(sorted[i]->intervalNs, series->periodNs);
    }
    series->data.assign(sorted.begin(), sorted.end());
}

}  // namespace

std::string Series::name() const {
    return typeName(sensor) + " (" + std::to_string(sensor.sensorHandle) + ")";
}

ExitCode RecordedRun::load(const std::string& path) {
    if (!loadRecording(path, &recording)) return kUsage;
    name = path.substr(path.rfind('/') + 1);
    endNs = recording.startNs + 1;
    if (!recording.entries.empty()) endNs = std::max(endNs, recording.entries.back().timeNs);
    std::map<int32_t, int64_t> reads;
    for (const Entry& entry : recording.entries) {
        // The library posts each record before it reads the next.
        if (entry.kind == Entry::Kind::kRaw) reads[entry.handle] = entry.timeNs;
        if (entry.kind == Entry::Kind::kWakelock && entry.flag) {
            wakelocks.push_back({entry.timeNs, endNs});
        } else if (entry.kind == Entry::Kind::kWakelock && !wakelocks.empty()) {
            wakelocks.back().endNs = entry.timeNs;
        }
        const bool isEvent = entry.kind == Entry::Kind::kEvent;
        if (!isEvent && entry.kind != Entry::Kind::kRequest) continue;
        const auto [found, isNew] = sensors.try_emplace(entry.handle);
        Series& series = found->second;
        if (isNew) {
            series.sensor = sensorOf(recording, entry.handle);
            series.figures.startNs = recording.onNs(entry.handle);
        }
        if (isEvent) {
            const auto read = reads.find(entry.handle);
            addEvent(entry, read != reads.end() ? read->second : entry.timeNs, &series);
        } else {
            addRequest(entry, endNs, &series);
        }
    }
    bool any = false;
    for (auto& [handle, series] : sensors) {
        judge(recording.batch(handle).periodNs, &series);
        any = any || series.hasData();
    }
    if (!any) complain("%s: no fresh data events in it", quoted(path).c_str());
    return any ? kOk : kNoData;
}

}  // namespace subhalctl
