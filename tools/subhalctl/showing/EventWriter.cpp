#include "tools/subhalctl/showing/EventWriter.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::SensorType;

/** The one unit of all values, empty when they differ. */
std::string commonUnit(const std::vector<Value>& values) {
    const std::string unit = values.empty() ? "" : values.front().unit;
    const bool differ = std::any_of(values.begin(), values.end(),
                                    [&](const Value& value) { return unit != value.unit; });
    return differ ? "" : unit;
}

/** The values, or instead their names; units only where they differ. */
std::string inColumns(const std::vector<Value>& values, bool named) {
    std::string line;
    const std::string unit = commonUnit(values);
    for (const Value& value : values) {
        const bool differs = unit.empty() && value.unit[0] != '\0';
        const std::string own = differs ? std::string(" ") + value.unit : "";
        line += formatted(" %*s", value.form == Value::Form::kWord ? 8 : 11,
                          named ? value.name : value.text().c_str()) +
                (named ? std::string(own.size(), ' ') : own);
    }
    return line;
}

std::string infoText(const Payload& payload) {
    constexpr const char* kEnds[] = {"begin", "end"};
    std::string line = "additional info ";
    line += payload[0] <= 1 ? kEnds[payload[0]] : formatted("0x%08" PRIx32, payload[0]);
    size_t last = payload.size();
    while (last > 2 && payload[last - 1] == 0) {
        --last;
    }
    for (size_t i = 2; i < last; ++i) {
        line += formatted(" %08" PRIx32, payload[i]);
    }
    return line;
}

size_t longestName(const std::vector<Watched>& watched) {
    size_t longest = 0;
    for (const Watched& one : watched) {
        longest = std::max(longest, shownWidth(typeName(*one.sensor)));
    }
    return longest;
}

class TextWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>& watched, bool quiet) override {
        mName = std::max<size_t>(longestName(watched), 6);
        const size_t start = shownWidth(prefix("      timestamp/s", "handle   ", ""));
        for (const Watched& one : watched) {
            const std::string legend = formatted(
                "%6" PRId32 "  %s: %s%s", one.sensor->sensorHandle, typeName(*one.sensor).c_str(),
                valueLegend(*one.sensor).c_str(), isWakeUp(*one.sensor) ? "; wake-up" : "");
            if (!quiet) print("%s\n", wrapped(legend, 8).c_str());
            const size_t values = decode(*one.sensor).values.size();
            // Where they do not fit before 12 characters a value and the notes, no names.
            if (start + 12 * values + 14 > outputWidth()) mName = 0;
        }
        if (quiet) return;
        const std::string values = watched.size() == 1
                                       ? inColumns(decode(*watched.front().sensor).values, true)
                                       : "values";
        const std::string heading = prefix("      timestamp/s", "handle   ", "sensor");
        print("%8s(W: wakelock, S: stale)\n\n%s\n", "",
              wrapped(heading + values, shownWidth(heading)).c_str());
    }

    void event(const Watched& watched, const ReceivedEvent& received) override {
        const Event& event = received.event;
        const std::string handle =
            formatted("%6" PRId32 " %c%c", event.sensorHandle, received.wakelock ? 'W' : ' ',
                      watched.isStale(received) ? 'S' : ' ');
        const std::string start =
            prefix(timeText(event.timestamp), handle, typeName(*watched.sensor));
        const std::string line = start + valueColumns(*watched.sensor, event);
        print("%s\n", wrapped(line, shownWidth(start)).c_str());
    }

    void summary(const std::vector<Watched>& watched) override {
        print("\n%s", summaryTable(watched).c_str());
    }

  private:
    std::string prefix(const std::string& time, const std::string& handle,
                       const std::string& sensor) const {
        const auto width = static_cast<int>(mName);
        return time + "  " + handle +
               (mName == 0 ? "" : formatted("  %-*s", width, sensor.c_str())) + "  ";
    }

    size_t mName = 0;  // characters; 0 for none
};

/** The values of an event; none for a flush marker. */
Reading readingOf(const SensorInfo& sensor, const Event& event) {
    const EventKind kind = kindOf(event);
    if (kind == EventKind::kFlushComplete) return {{}, "", ""};
    return kind == EventKind::kData ? decode(sensor, payloadOf(event))
                                    : decode(-1, payloadOf(event));
}

class CsvWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>& watched, bool) override {
        // The header is part of a CSV file, not a courtesy.
        for (const Watched& one : watched) {
            mColumns = std::max(mColumns, decode(*one.sensor).values.size());
        }
        const Reading first = decode(*watched.front().sensor);
        std::string line = "timestamp_ns,received_ns,handle,sensor,kind,stale,wakeup,accuracy";
        for (size_t i = 0; i < mColumns; ++i) {
            line += ',' + (watched.size() > 1 ? "v" + std::to_string(i) : first.values[i].name);
        }
        printText(printable(line) + "\n");  // unbroken
    }

    void event(const Watched& watched, const ReceivedEvent& received) override {
        const Event& event = received.event;
        const Reading reading = readingOf(*watched.sensor, event);
        std::string line =
            formatted("%" PRId64 ",%" PRId64 ",%" PRId32 ",%s,%s,%d,%d,%s", event.timestamp,
                      received.receivedNs, event.sensorHandle, typeName(*watched.sensor).c_str(),
                      kindName(kindOf(event)), watched.isStale(received) ? 1 : 0,
                      received.wakelock ? 1 : 0, reading.accuracy);
        for (size_t i = 0; i < mColumns; ++i) {
            line += ',' + (i < reading.values.size() ? reading.values[i].exactText() : "");
        }
        printText(printable(line) + "\n");  // unbroken
    }

    // The summary has other columns; a file of one table is easier to read.
    void summary(const std::vector<Watched>& watched) override {
        printSummary(summaryTable(watched), true);
    }

  private:
    size_t mColumns = 0;
};

class JsonWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>&, bool) override {}

    void event(const Watched& watched, const ReceivedEvent& received) override {
        const Event& event = received.event;
        Json line = {{"kind", kindName(kindOf(event))},     {"timestamp_ns", event.timestamp},
                     {"received_ns", received.receivedNs},  {"handle", event.sensorHandle},
                     {"sensor", typeName(*watched.sensor)}, {"wakeup", received.wakelock}};
        if (watched.isStale(received)) line["stale"] = true;
        const Reading reading = readingOf(*watched.sensor, event);
        if (kindOf(event) != EventKind::kFlushComplete) line["values"] = Json::object();
        for (const Value& value : reading.values) {
            line["values"][value.name] = value.json();
        }
        if (reading.accuracy[0] != '\0') line["accuracy"] = reading.accuracy;
        if (reading.meaning[0] != '\0') line["meaning"] = reading.meaning;
        const std::string unit = commonUnit(reading.values);
        if (!unit.empty()) line["unit"] = unit;
        printText(jsonText(line) + "\n");
    }

    void summary(const std::vector<Watched>& watched) override {
        for (const Watched& one : watched) {
            const IntervalStatistics& intervals = one.intervals;
            const Json line = {{"kind", "summary"},
                               {"handle", one.sensor->sensorHandle},
                               {"sensor", typeName(*one.sensor)},
                               {"events", one.events},
                               {"flushes", one.flushes},
                               {"asked_hz", orNull(one.askedHz)},
                               {"granted_hz", orNull(one.grantedHz)},
                               {"measured_hz", orNull(one.rateHz())},
                               {"jitter_ns", orNull(one.jitterNs())},
                               {"min_ns", orNull(intervals.shortestNs())},
                               {"max_ns", orNull(intervals.longestNs())},
                               {"latency_p50_ns", orNull(one.latency.quantileNs(0.5))},
                               {"latency_p99_ns", orNull(one.latency.quantileNs(0.99))},
                               {"latency_max_ns", orNull(one.latency.quantileNs(1))},
                               {"lost", orNull(one.lost())},
                               {"backward", intervals.backward()},
                               {"stale", one.stale},
                               {"wakelocks", one.wakelocks}};
            printText(jsonText(line) + "\n");
        }
    }
};

}  // namespace

std::string figureText(std::optional<double> figure, double unit) {
    return figure ? formatted("%.3f", *figure / unit) : "-";
}

std::string millisecondsText(const DurationStatistics& durations, double share) {
    return (durations.exact() ? "" : "~") + figureText(durations.quantileNs(share), 1e6);
}

EventKind kindOf(const Event& event) {
    if (event.sensorType == SensorType::META_DATA) return EventKind::kFlushComplete;
    return event.sensorType == SensorType::ADDITIONAL_INFO ? EventKind::kAdditionalInfo
                                                           : EventKind::kData;
}

const char* kindName(EventKind kind) {
    constexpr const char* kNames[] = {"data", "flush", "info"};
    return kNames[static_cast<size_t>(kind)];
}

bool Watched::isStale(const ReceivedEvent& received) const {
    return kindOf(received.event) == EventKind::kData && received.event.timestamp < startNs;
}

void Watched::add(const ReceivedEvent& received) {
    if (received.ownWakelock) ++wakelocks;
    const EventKind kind = kindOf(received.event);
    if (kind == EventKind::kFlushComplete) {
        ++flushes;
    } else if (isStale(received)) {
        ++stale;
    } else {
        ++events;
        if (kind != EventKind::kData) return;
        intervals.add(received.event.timestamp);
        latency.add(elapsedNs(received.event.timestamp, received.receivedNs));
    }
}

void Watched::restart() {
    intervals.restart();
    latency = {};
    events = stale = flushes = wakelocks = 0;
}

std::string timeText(int64_t timestampNs) {
    const std::string text =
        formatted("%s%" PRId64 ".%09" PRId64, timestampNs < 0 ? "-" : "",
                  std::abs(timestampNs / 1000000000), std::abs(timestampNs % 1000000000));
    return formatted("%17s", text.c_str());
}

std::string valueLegend(const SensorInfo& sensor) {
    std::string text;
    const Reading reading = decode(sensor);
    for (const Value& value : reading.values) {
        if (!text.empty()) text += ", ";
        text += value.name;
        if (value.unit[0] != '\0') text += std::string(" [") + value.unit + "]";
    }
    return reading.accuracy[0] != '\0' ? text + ", accuracy" : text;
}

Table figuresTable(const std::vector<Watched>& watched, bool slices) {
    return Table({{slices ? "time/s" : "handle", 0, true, false, slices ? 10U : 0U},
                  {"sensor", 0, true, true, longestName(watched)},
                  {"events", 0},
                  {"asked/Hz", 8, false},
                  {"granted/Hz", 4, false},
                  {"measured/Hz", 0, false},
                  {"jitter/ms", 7, false},
                  {"p50/ms", 5, false, false, 7},
                  {"p99/ms", 1, false, false, 7},
                  {"lost", 0},
                  {"backward", slices ? 10 : 2, false},
                  {"stale", slices ? 10 : 3, false},
                  {"flushes", 9, false},
                  {"wakelocks", 6, false}});
}

void addFigures(const std::vector<Watched>& watched, bool slices, Table* table) {
    const std::string now = formatted("%.3f", static_cast<double>(hubNowNs()) / 1e9);
    for (const Watched& one : watched) {
        table->add({slices ? now : std::to_string(one.sensor->sensorHandle), typeName(*one.sensor),
                    std::to_string(one.events), figureText(one.askedHz), figureText(one.grantedHz),
                    figureText(one.rateHz()), figureText(one.jitterNs(), 1e6),
                    millisecondsText(one.latency, 0.5), millisecondsText(one.latency, 0.99),
                    one.lost() ? std::to_string(*one.lost()) : "-",
                    std::to_string(one.intervals.backward()), std::to_string(one.stale),
                    std::to_string(one.flushes), std::to_string(one.wakelocks)});
    }
}

std::string summaryTable(const std::vector<Watched>& watched) {
    Table table = figuresTable(watched, false);
    addFigures(watched, false, &table);
    return table.text();
}

std::string valueColumns(const SensorInfo& sensor, const Event& event) {
    const EventKind kind = kindOf(event);
    if (kind == EventKind::kFlushComplete) return "flush complete";
    if (kind == EventKind::kAdditionalInfo) return infoText(payloadOf(event));
    const Reading reading = decode(sensor, payloadOf(event));
    std::string line = inColumns(reading.values, false);
    for (const std::string& note : {commonUnit(reading.values), std::string(reading.accuracy),
                                    std::string(reading.meaning)}) {
        if (!note.empty()) line += "  " + note;
    }
    return line;
}

std::unique_ptr<EventWriter> EventWriter::make(const std::string& format) {
    if (format == "csv") return std::make_unique<CsvWriter>();
    if (format == "json") return std::make_unique<JsonWriter>();
    return std::make_unique<TextWriter>();
}

}  // namespace subhalctl
