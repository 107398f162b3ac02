#include "tools/subhalctl/EventWriter.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/SensorValues.h"

namespace subhalctl {
namespace {

using android::hardware::sensors::V1_0::SensorType;

int32_t typeOf(const SensorInfo& sensor) {
    return static_cast<int32_t>(sensor.type);
}

bool isWakeUp(const SensorInfo& sensor) {
    return (sensor.flags & static_cast<uint32_t>(SensorFlagBits::WAKE_UP)) != 0;
}

const char* kindName(EventKind kind) {
    if (kind == EventKind::kFlushComplete) return "flush";
    return kind == EventKind::kAdditionalInfo ? "info" : "data";
}

/** Unit to stand beside a value, where one unit does not do for all. */
std::string ownUnit(const Value& value, const std::string& common) {
    return common.empty() && value.unit[0] != '\0' ? std::string(" ") + value.unit : "";
}

/** The text as it stands in the value's column. */
std::string inColumn(const Value& value, const std::string& text) {
    const size_t width = value.form == Value::Form::kWord ? 8 : 11;
    return ' ' + std::string(width - std::min(width, text.size()), ' ') + text;
}

/** The one unit of all values, empty when they differ. */
std::string commonUnit(const std::vector<Value>& values) {
    std::string unit = values.empty() ? "" : values.front().unit;
    for (const Value& value : values) {
        if (unit != value.unit) return "";
    }
    return unit;
}

std::string infoText(const Payload& payload) {
    char text[32];
    std::string line = "additional info ";
    if (payload[0] <= 1) {
        line += payload[0] == 0 ? "begin" : "end";
    } else {
        std::snprintf(text, sizeof(text), "0x%08" PRIx32, payload[0]);
        line += text;
    }
    size_t last = payload.size();
    while (last > 2 && payload[last - 1] == 0) {
        --last;
    }
    for (size_t i = 2; i < last; ++i) {
        std::snprintf(text, sizeof(text), " %08" PRIx32, payload[i]);
        line += text;
    }
    return line;
}

class TextWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>& watched) override {
        for (const Watched& one : watched) {
            std::printf("%6" PRId32 "  %s: %s\n", one.sensor->sensorHandle,
                        typeName(*one.sensor).c_str(), legend(*one.sensor).c_str());
        }
        const std::string values = watched.size() == 1 ? header(*watched.front().sensor) : "values";
        std::printf("\n%20s  %6s     %-30s  %s\n", "timestamp/s", "handle", "sensor",
                    values.c_str());
    }

    void event(const SensorInfo& sensor, const ReceivedEvent& received) override {
        const Event& event = received.event;
        std::printf("%10" PRId64 ".%09" PRId64 "  %6" PRId32 "  %c  %-30s  %s\n",
                    event.timestamp / 1000000000, std::abs(event.timestamp % 1000000000),
                    event.sensorHandle, received.wakelock ? 'W' : ' ', typeName(sensor).c_str(),
                    contents(sensor, event).c_str());
    }

    void summary(const std::vector<Watched>& watched) override {
        std::printf("\n%6s  %-30s %9s %8s %10s %11s %10s %10s %10s %6s %8s %9s\n", "handle",
                    "sensor", "events", "flushes", "asked/Hz", "measured/Hz", "jitter/ms", "min/ms",
                    "max/ms", "lost", "backward", "wakelocks");
        for (const Watched& one : watched) {
            const IntervalStatistics& statistics = one.statistics;
            std::printf(
                "%6" PRId32 "  %-30s %9" PRId64 " %8" PRId64
                " %10.3f %11.3f %10.3f %10.3f %10.3f %6" PRId64 " %8" PRId64 " %9" PRId64 "\n",
                one.sensor->sensorHandle, typeName(*one.sensor).c_str(), statistics.events(),
                one.flushes, one.askedHz, statistics.rateHz(), statistics.jitterNs() / 1e6,
                static_cast<double>(statistics.shortestNs()) / 1e6,
                static_cast<double>(statistics.longestNs()) / 1e6, statistics.lost(),
                statistics.backward(), one.wakelocks);
        }
    }

  private:
    static std::string legend(const SensorInfo& sensor) {
        std::string text;
        const Reading reading = decode(typeOf(sensor), Payload{});
        for (const Value& value : reading.values) {
            if (!text.empty()) text += ", ";
            text += value.name;
            if (value.unit[0] != '\0') text += std::string(" [") + value.unit + "]";
        }
        if (reading.accuracy[0] != '\0') text += ", accuracy";
        return isWakeUp(sensor) ? text + "; wake-up" : text;
    }

    static std::string header(const SensorInfo& sensor) {
        const std::vector<Value> values = decode(typeOf(sensor), Payload{}).values;
        const std::string unit = commonUnit(values);
        std::string line;
        for (const Value& value : values) {
            line += inColumn(value, value.name) + std::string(ownUnit(value, unit).size(), ' ');
        }
        return line;
    }

    static std::string contents(const SensorInfo& sensor, const Event& event) {
        switch (kindOf(event)) {
            case EventKind::kFlushComplete:
                return "flush complete";
            case EventKind::kAdditionalInfo:
                return infoText(payloadOf(event));
            case EventKind::kData:
                break;
        }
        return valueColumns(sensor, event);
    }
};

class CsvWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>& watched) override {
        for (const Watched& one : watched) {
            mColumns = std::max(mColumns, namesOf(*one.sensor).size());
        }
        const auto names =
            watched.size() == 1 ? namesOf(*watched.front().sensor) : std::vector<std::string>{};
        std::printf("timestamp_ns,handle,sensor,kind,wakeup,accuracy");
        for (size_t i = 0; i < mColumns; ++i) {
            std::printf(",%s",
                        names.empty() ? ("v" + std::to_string(i)).c_str() : names[i].c_str());
        }
        std::printf("\n");
    }

    void event(const SensorInfo& sensor, const ReceivedEvent& received) override {
        const Event& event = received.event;
        Reading reading{{}, "", ""};
        if (kindOf(event) == EventKind::kData) reading = decode(typeOf(sensor), payloadOf(event));
        if (kindOf(event) == EventKind::kAdditionalInfo) reading = decode(-1, payloadOf(event));
        std::printf("%" PRId64 ",%" PRId32 ",%s,%s,%d,%s", event.timestamp, event.sensorHandle,
                    typeName(sensor).c_str(), kindName(kindOf(event)), received.wakelock ? 1 : 0,
                    reading.accuracy);
        for (size_t i = 0; i < mColumns; ++i) {
            std::printf(",%s",
                        i < reading.values.size() ? reading.values[i].exactText().c_str() : "");
        }
        std::printf("\n");
    }

    // A summary has other columns, and a file of one table is easier to read in.
    void summary(const std::vector<Watched>&) override {}

  private:
    static std::vector<std::string> namesOf(const SensorInfo& sensor) {
        std::vector<std::string> names;
        for (const Value& value : decode(typeOf(sensor), Payload{}).values) {
            names.emplace_back(value.name);
        }
        return names;
    }

    size_t mColumns = 0;
};

class JsonWriter : public EventWriter {
  public:
    void begin(const std::vector<Watched>&) override {}

    void event(const SensorInfo& sensor, const ReceivedEvent& received) override {
        const Event& event = received.event;
        std::printf("{\"kind\":\"%s\",\"timestamp_ns\":%" PRId64 ",\"handle\":%" PRId32
                    ",\"sensor\":\"%s\",\"wakeup\":%s",
                    kindName(kindOf(event)), event.timestamp, event.sensorHandle,
                    typeName(sensor).c_str(), received.wakelock ? "true" : "false");
        if (kindOf(event) == EventKind::kData) {
            writeReading(decode(typeOf(sensor), payloadOf(event)));
        } else if (kindOf(event) == EventKind::kAdditionalInfo) {
            writeReading(decode(-1, payloadOf(event)));
        }
        std::printf("}\n");
    }

    void summary(const std::vector<Watched>& watched) override {
        for (const Watched& one : watched) {
            const IntervalStatistics& statistics = one.statistics;
            std::printf(
                "{\"kind\":\"summary\",\"handle\":%" PRId32 ",\"sensor\":\"%s\",\"events\":%" PRId64
                ",\"flushes\":%" PRId64
                ",\"asked_hz\":%.9g,\"measured_hz\":%.9g,\"jitter_ns\":%.9g,\"min_ns\":%" PRId64
                ",\"max_ns\":%" PRId64 ",\"lost\":%" PRId64 ",\"backward\":%" PRId64
                ",\"wakelocks\":%" PRId64 "}\n",
                one.sensor->sensorHandle, typeName(*one.sensor).c_str(), statistics.events(),
                one.flushes, one.askedHz, statistics.rateHz(), statistics.jitterNs(),
                statistics.shortestNs(), statistics.longestNs(), statistics.lost(),
                statistics.backward(), one.wakelocks);
        }
    }

  private:
    static void writeReading(const Reading& reading) {
        const char* separator = "";
        std::printf(",\"values\":{");
        for (const Value& value : reading.values) {
            std::printf("%s\"%s\":%s", separator, value.name, jsonText(value).c_str());
            separator = ",";
        }
        std::printf("}");
        if (reading.accuracy[0] != '\0') std::printf(",\"accuracy\":\"%s\"", reading.accuracy);
        if (reading.meaning[0] != '\0') std::printf(",\"meaning\":\"%s\"", reading.meaning);
        const std::string unit = commonUnit(reading.values);
        if (!unit.empty()) std::printf(",\"unit\":\"%s\"", unit.c_str());
    }

    static std::string jsonText(const Value& value) {
        if (value.form == Value::Form::kWord) return "\"" + value.exactText() + "\"";
        const bool isNumber = value.form == Value::Form::kCount || std::isfinite(value.number);
        return isNumber ? value.exactText() : "null";
    }
};

}  // namespace

EventKind kindOf(const Event& event) {
    if (event.sensorType == SensorType::META_DATA) return EventKind::kFlushComplete;
    return event.sensorType == SensorType::ADDITIONAL_INFO ? EventKind::kAdditionalInfo
                                                           : EventKind::kData;
}

std::string valueColumns(const SensorInfo& sensor, const Event& event) {
    const Reading reading = decode(typeOf(sensor), payloadOf(event));
    std::string line;
    const std::string unit = commonUnit(reading.values);
    for (const Value& value : reading.values) {
        line += inColumn(value, value.text()) + ownUnit(value, unit);
    }
    for (const std::string& note :
         {unit, std::string(reading.accuracy), std::string(reading.meaning)}) {
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
