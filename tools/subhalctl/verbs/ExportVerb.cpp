#include <filesystem>

#include "tools/subhalctl/recording/Series.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/PlotPage.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

// The other tracks are numbered by handle.
constexpr int kCallsTrack = 1000;
constexpr int kWakelockTrack = 1001;

double microsecondsOf(int64_t ns) {
    return static_cast<double>(ns) / 1e3;
}

/** Writes the trace-event format: times in microseconds since boot, one event per line. */
class Trace {
  public:
    void write(const RecordedRun& run) {
        printText("{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n");
        name("process_name", 0, run.name);
        name("thread_name", kCallsTrack, "library's calls");
        name("thread_name", kWakelockTrack, "wakelock");
        for (const Recording::Entry& entry : run.recording.entries) {
            if (entry.kind != Recording::Entry::Kind::kCall) continue;
            add("i", entry.text + ' ' + entry.name, kCallsTrack,
                {{"ts", microsecondsOf(entry.timeNs)},
                 {"s", "t"},
                 {"args", {{"hex", hexOf(entry.bytes)}, {"result", entry.result}}}});
        }
        for (const Span& held : run.wakelocks) {
            add("X", "wakelock", kWakelockTrack,
                {{"ts", microsecondsOf(held.beginNs)},
                 {"dur", microsecondsOf(held.endNs - held.beginNs)},
                 {"args", Json::object()}});
        }
        for (const auto& [handle, series] : run.sensors) {
            name("thread_name", handle, series.name());
            for (const Recording::Entry* entry : series.requests) {
                request(*entry);
            }
            for (const RecordedEvent& one : series.events) {
                event(series, one);
            }
        }
        printText("\n]}\n");
    }

  private:
    void add(const char* phase, const std::string& name, int track, const Json& more) {
        Json event = {{"ph", phase}, {"name", name}, {"pid", 1}, {"tid", track}};
        event.update(more);
        printText(std::string(mFirst ? "" : ",\n") + jsonText(event));
        mFirst = false;
    }
    void name(const char* what, int track, const std::string& text) {
        add("M", what, track, {{"args", {{"name", text}}}});
    }
    void request(const Recording::Entry& entry) {
        const ProxyRequest& request = entry.request;
        Json arguments = {{"result", request.result}};
        if (request.what == "batch") {
            arguments.update({{"period_ns", request.periodNs}, {"latency_ns", request.latencyNs}});
        }
        if (request.what == "activate") arguments["enable"] = request.enable;
        add("X", request.what + ": " + request.result, entry.handle,
            {{"ts", microsecondsOf(entry.timeNs)},
             {"dur", microsecondsOf(request.durationNs)},
             {"args", arguments}});
    }
    void event(const Series& series, const RecordedEvent& event) {
        const Event& what = event.received.event;
        const int64_t arrivalNs = event.received.receivedNs;
        // An old stamp would extend the trace to before its start.
        const double time = microsecondsOf(event.isData() ? what.timestamp : arrivalNs);
        add("i", event.stale ? "stale" : kindName(kindOf(what)), what.sensorHandle,
            {{"ts", time},
             {"s", "t"},
             {"args",
              {{"timestamp_ns", what.timestamp},
               {"received_ns", arrivalNs},
               {"wakelock", event.received.wakelock}}}});
        // Each has its own id since they may overlap.
        ++mLatencies;
        for (const auto& [phase, timeNs] :
             {std::pair("b", event.readNs), std::pair("e", arrivalNs)}) {
            add(phase, series.name() + " latency", what.sensorHandle,
                {{"ts", microsecondsOf(timeNs)}, {"cat", "latency"}, {"id", mLatencies}});
        }
        if (!event.isData()) return;
        Json values = Json::object();
        for (const Value& value : decode(series.sensor, payloadOf(what)).values) {
            const Json number = value.form == Value::Form::kWord ? Json(value.count) : value.json();
            if (number.is_number()) values[value.name] = number;
        }
        if (!values.empty())
            add("C", series.name(), what.sensorHandle, {{"ts", time}, {"args", values}});
    }

    bool mFirst = true;
    int64_t mLatencies = 0;
};

/** A table per sensor, separated by empty lines. */
void writeTables(const RecordedRun& run) {
    const char* between = "";
    for (const auto& [handle, series] : run.sensors) {
        if (series.events.empty()) continue;
        printText(between);
        between = "\n";
        const auto writer = EventWriter::make("csv");
        writer->begin({series.figures}, false);
        for (const RecordedEvent& event : series.events) {
            writer->event(series.figures, event.received);
        }
    }
}

ExitCode convert(const ConvertOptions& options, void (*write)(const RecordedRun& run)) {
    std::error_code isNone;
    if (std::filesystem::equivalent(options.recording, options.output, isNone)) {
        complain("%s is the recording itself", quoted(options.output).c_str());
        return kUsage;
    }
    RecordedRun run;
    const ExitCode loaded = run.load(options.recording);
    if (loaded != kOk) return loaded;
    if (!sendOutputTo(options.output)) return kUsage;
    write(run);
    return kOk;
}

}  // namespace

ExitCode runExport(Proxy&, const ConvertOptions& options) {
    if (options.format == "csv") return convert(options, writeTables);
    return convert(options, [](const RecordedRun& run) { Trace().write(run); });
}

ExitCode runPlot(Proxy&, const ConvertOptions& options) {
    return convert(options, [](const RecordedRun& run) { printText(plotPage(run)); });
}

}  // namespace subhalctl
