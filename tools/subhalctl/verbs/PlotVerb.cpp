#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <csignal>
#include <cstring>
#include <map>
#include <optional>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/recording/Recording.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr size_t kMostPoints = 4000;  // of one curve; more than a picture has columns
constexpr int kWidth = 1400;
constexpr size_t kRowHeight = 260;
constexpr size_t kMostHeight = 32000;  // pictures of points end at 32767
constexpr int kTextRows = 16;
constexpr int kHistogramSteps = 60;

/** What the recording tells of one sensor. */
struct Curve {
    SensorInfo sensor{};
    std::vector<ReceivedEvent> events;  // data only
    std::optional<Watched> figures;
};

double secondsSince(int64_t startNs, int64_t timeNs) {
    return static_cast<double>(elapsedNs(startNs, timeNs)) / 1e9;
}

double millisecondsFrom(int64_t earlier, int64_t later) {
    return static_cast<double>(elapsedNs(earlier, later)) / 1e6;
}

/** The period that was asked for last, 0 when none was. */
std::map<int32_t, int64_t> periodsOf(const Recording& recording) {
    std::map<int32_t, int64_t> periods;
    for (const auto& entry : recording.entries) {
        if (entry.kind == Recording::Entry::Kind::kRequest && entry.request.what == "batch") {
            periods[entry.handle] = entry.request.periodNs;
        }
    }
    return periods;
}

/** The sensor as far as a picture needs it. */
SensorInfo sensorOf(const Recording& recording, int32_t handle, int32_t type) {
    SensorInfo sensor{};
    sensor.sensorHandle = handle;
    sensor.type = static_cast<decltype(sensor.type)>(type);
    const auto* known = simulator::findKnownSensor(handle);
    if (known != nullptr) {
        sensor.typeAsString = known->stringType();
        sensor.flags = known->flags;
    }
    for (const auto& record : simulator::decodeSpecs(recording.spec)) {
        if (record.handle != handle) continue;
        sensor.minDelay = record.minDelayUs;
        sensor.maxDelay = record.maxDelayUs;
    }
    return sensor;
}

std::vector<Curve> curvesOf(const Recording& recording) {
    std::map<int32_t, Curve> curves;
    const auto periods = periodsOf(recording);
    for (const auto& entry : recording.entries) {
        if (entry.kind != Recording::Entry::Kind::kEvent) continue;
        ReceivedEvent received{};
        received.event.sensorHandle = entry.handle;
        received.event.sensorType = static_cast<decltype(received.event.sensorType)>(entry.type);
        received.event.timestamp = entry.timestampNs;
        std::memcpy(&received.event.u, entry.bytes.data(), sizeof(received.event.u));
        received.receivedNs = entry.timeNs;
        received.wakelock = received.ownWakelock = entry.flag;
        const bool isData = kindOf(received.event) == EventKind::kData;
        Curve& curve = curves[entry.handle];
        if (isData && curve.events.empty()) {
            curve.sensor = sensorOf(recording, entry.handle, entry.type);
        }
        if (!curve.figures) {
            const SensorInfo sensor = sensorOf(recording, entry.handle, entry.type);
            const auto period = periods.find(entry.handle);
            const int64_t askedNs = period != periods.end() ? period->second : 0;
            const int64_t grantedNs = askedNs > 0 ? grantedPeriodNs(sensor, askedNs) : 0;
            const auto hertz = [](int64_t ns) {
                return ns > 0 ? 1e9 / static_cast<double>(ns) : 0;
            };
            curve.figures = Watched{nullptr, grantedNs > 0 ? hertz(askedNs) : 0, hertz(grantedNs),
                                    IntervalStatistics(grantedNs)};
        }
        curve.figures->add(received);
        if (isData) curve.events.push_back(received);
    }
    std::vector<Curve> result;
    for (auto& [handle, curve] : curves) {
        if (!curve.events.empty()) result.push_back(std::move(curve));
    }
    for (Curve& curve : result) {
        curve.figures->sensor = &curve.sensor;
    }
    return result;
}

/** Counts durations in steps; a line "ms count" each. */
std::string histogram(const std::vector<double>& milliseconds) {
    if (milliseconds.empty()) return "1 0\n";
    const auto [low, high] = std::minmax_element(milliseconds.begin(), milliseconds.end());
    const double step = std::max((*high - *low) / kHistogramSteps, 1e-6);
    std::map<int, int> counts;
    for (const double value : milliseconds) {
        ++counts[static_cast<int>((value - *low) / step)];
    }
    std::string lines;
    for (const auto& [index, count] : counts) {
        lines += formatted("%.6f %d\n", *low + (index + 0.5) * step, count);
    }
    return lines;
}

/** The picture's script for gnuplot, but for the terminal. */
class Script {
  public:
    Script(const Recording& recording, const std::vector<Curve>& curves, bool wide)
        : mStartNs(recording.startNs),
          mSeconds(secondsSince(recording.startNs, recording.entries.back().timeNs)),
          mWide(wide) {
        for (const Curve& curve : curves) {
            if (values(curve)) {
                durations(curve);
                ++mDrawn;
            } else {
                complain("%s (%" PRId32
                         ") is left out: no finite value in the time of the recording",
                         typeName(curve.sensor).c_str(), curve.sensor.sensorHandle);
            }
        }
    }

    /** Sensors in it. */
    size_t drawn() const { return mDrawn; }
    std::string text() const {
        const std::string before = "set grid\n";
        if (!mWide) return before + mText;
        return before + formatted("set multiplot layout %zu,3\n", mDrawn) +
               "set tmargin 2\nset key left top\n" + mText + "unset multiplot\n";
    }

  private:
    /** False when there is nothing to be seen of it, over which gnuplot would give up. */
    bool values(const Curve& curve) {
        const auto type = static_cast<int32_t>(curve.sensor.type);
        const auto names = decode(type, Payload{}).values;
        const size_t most = std::min<size_t>(names.size(), 6);
        const size_t stride = curve.events.size() / kMostPoints + 1;
        std::string data;
        bool visible = false;
        bool anyWakelock = false;
        for (size_t i = 0; i < curve.events.size(); i += stride) {
            const ReceivedEvent& received = curve.events[i];
            const double seconds = secondsSince(mStartNs, received.event.timestamp);
            const bool inside = seconds >= 0 && seconds <= mSeconds;
            std::string line = formatted("%.6f", seconds);
            const auto row = decode(type, payloadOf(received.event)).values;
            for (size_t column = 0; column < row.size(); ++column) {
                const Value& value = row[column];
                const bool counts = value.form != Value::Form::kNumber;
                const double number =
                    counts ? static_cast<double>(value.count) : static_cast<double>(value.number);
                line += std::isfinite(number) ? formatted(" %.9g", number) : " NaN";
                visible = visible || (inside && column < most && std::isfinite(number));
            }
            anyWakelock = anyWakelock || received.wakelock;
            data += line + (received.wakelock ? " 1\n" : " NaN\n");
        }
        if (!visible) return false;
        const std::string unit = names.empty() ? "" : names.front().unit;
        mText += "$data << END\n" + data + "END\n";
        mText += "set title \"" + typeName(curve.sensor) +
                 "\" noenhanced\nset xlabel \"s\"\nset yrange [*:*]\n" +
                 formatted("set xrange [0:%.6f]\n", std::max(mSeconds, 0.001)) + "set ylabel \"" +
                 unit + "\"\nplot ";
        const bool steps = reportingMode(curve.sensor) != SensorFlagBits::CONTINUOUS_MODE;
        for (size_t i = 0; i < most; ++i) {
            mText += formatted("%s$data using 1:%zu with %s title \"%s\" noenhanced",
                               i == 0 ? "" : ", ", i + 2, steps ? "steps" : "lines", names[i].name);
        }
        if (anyWakelock) {
            mText += formatted(
                ", $data using 1:(column(%zu) > 0 ? column(2) : NaN) with points "
                "pointtype 7 pointsize 0.4 title \"wakelock\"",
                names.size() + 2);
        }
        mText += "\n";
        return true;
    }

    void durations(const Curve& curve) {
        if (!mWide) return;
        std::vector<double> intervals;
        std::vector<double> latencies;
        for (size_t i = 0; i < curve.events.size(); ++i) {
            const ReceivedEvent& received = curve.events[i];
            latencies.push_back(millisecondsFrom(received.event.timestamp, received.receivedNs));
            if (i == 0) continue;
            intervals.push_back(
                millisecondsFrom(curve.events[i - 1].event.timestamp, received.event.timestamp));
        }
        for (const auto& [name, durations] :
             {std::pair("interval", &intervals), std::pair("latency", &latencies)}) {
            const bool below =
                std::any_of(durations->begin(), durations->end(), [](double ms) { return ms < 0; });
            mText += "$data << END\n" + histogram(*durations) + "END\n";
            mText += formatted(
                "set title \"%s: %s\" noenhanced\nset xlabel \"ms\"\nset ylabel \"events\"\n"
                "set yrange [0:*]\nset xrange [%s:*]\n"
                "plot $data with impulses linewidth 3 notitle\n",
                typeName(curve.sensor).c_str(), name, below ? "*" : "0");
        }
    }

    int64_t mStartNs;
    double mSeconds;  // the recording's length
    bool mWide;
    size_t mDrawn = 0;
    std::string mText;
};

std::string readWhole(int fd) {
    std::string bytes;
    char piece[65536];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t got; (got = read(fd, piece, sizeof(piece))) > 0;) {
        bytes.append(piece, static_cast<size_t>(got));
    }
    return bytes;
}

bool writeWhole(int fd, const std::string& bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t put = write(fd, bytes.data() + at, bytes.size() - at);
        if (put < 0 && errno != EINTR) return false;
        at += static_cast<size_t>(std::max<ssize_t>(put, 0));
    }
    return true;
}

/** What gnuplot makes of the script; nothing, and told, when it makes nothing. */
std::optional<std::string> draw(const std::string& script) {
    const int input = memfd_create("script", MFD_CLOEXEC);
    const int output = memfd_create("picture", MFD_CLOEXEC);
    const int errors = memfd_create("errors", MFD_CLOEXEC);
    if (input < 0 || output < 0 || errors < 0 || !writeWhole(input, script)) {
        complain("no memory for the picture: %s", std::strerror(errno));
        return {};
    }
    lseek(input, 0, SEEK_SET);
    const pid_t process = fork();
    if (process == 0) {
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execlp("gnuplot", "gnuplot", "-", nullptr);
        _exit(127);
    }
    int status = 0;
    while (process > 0 && waitpid(process, &status, 0) < 0 && errno == EINTR) {
        kill(process, SIGTERM);
    }
    std::string picture = readWhole(output);
    const std::string told = readWhole(errors);
    for (const int fd : {input, output, errors}) {
        close(fd);
    }
    if (process > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0) return picture;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
        complain("pictures are drawn by gnuplot, which is not installed here (gnuplot-nox)");
    } else {
        complain("gnuplot failed: %s", told.c_str());
    }
    return {};
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '&') {
            result += "&amp;";
        } else if (letter == '<') {
            result += "&lt;";
        } else {
            result += letter;
        }
    }
    return result;
}

/** One page, with everything in it. */
std::string page(const std::string& name, const std::vector<Curve>& curves,
                 const std::string& svg) {
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + escaped(name) +
        "</title>\n<style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse}"
        "td,th{padding:.2em .8em;text-align:right;border-bottom:1px solid #ccc}"
        "td:nth-child(2),th:nth-child(2){text-align:left}svg{max-width:100%;height:auto}</style>"
        "</head><body>\n<h1>" +
        escaped(name) + "</h1>\n<table id=\"figures\">\n";
    std::vector<Watched> figures;
    figures.reserve(curves.size());
    for (const Curve& curve : curves) {
        figures.push_back(*curve.figures);
    }
    // Two blanks at least, or the border of a column, part the cells of the table.
    const char* cell = "th";
    std::string table = summaryTable(figures);
    for (size_t begin = 0; begin < table.size();) {
        const size_t end = table.find('\n', begin);
        html += "<tr>";
        for (size_t at = begin; at < end;) {
            const size_t word = std::min(table.find_first_not_of(' ', at), end);
            const size_t behind = std::min(table.find(' ', word), end);
            if (word < behind) {
                html += std::string("<") + cell + ">" + escaped(table.substr(word, behind - word)) +
                        "</" + cell + ">";
            }
            at = behind;
        }
        html += "</tr>\n";
        cell = "td";
        begin = end + 1;
    }
    const size_t image = svg.find("<svg");
    return html + "</table>\n" + (image == std::string::npos ? svg : svg.substr(image)) +
           "\n</body></html>\n";
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

ExitCode writeFile(const std::string& path, const std::string& bytes) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool fine = fd >= 0 && writeWhole(fd, bytes) && close(fd) == 0;
    if (fine) return kOk;
    complain("%s: %s", quoted(path).c_str(), std::strerror(errno));
    return fd < 0 ? kUsage : kOutputLost;
}

ExitCode plotAsText(const Script& script) {
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40;
    const auto picture =
        draw(formatted("set terminal dumb size %d,%d\n", known ? size.ws_col : 100, kTextRows) +
             script.text());
    if (!picture) return kCannotLoad;
    printText(*picture);
    return kOk;
}

}  // namespace

ExitCode runPlot(Proxy&, const PlotOptions& options) {
    Recording recording;
    if (!loadRecording(options.recording, &recording)) return kUsage;
    const std::vector<Curve> curves = curvesOf(recording);
    if (curves.empty()) {
        complain("%s: no data events in it", quoted(options.recording).c_str());
        return kNoData;
    }
    const bool text = options.output.empty();
    const bool png = endsWith(options.output, ".png");
    const bool html = endsWith(options.output, ".html");
    if (!text && !png && !html && !endsWith(options.output, ".svg")) {
        complain("%s: a picture is .svg, .png or .html", quoted(options.output).c_str());
        return kUsage;
    }
    const Script script(recording, curves, !text);
    if (script.drawn() == 0) return kNoData;
    if (text) return plotAsText(script);
    const std::string terminal =
        formatted("set terminal %s size %d,%zu\n", png ? "pngcairo" : "svg", kWidth,
                  std::min(kRowHeight * script.drawn(), kMostHeight));
    const auto picture = draw(terminal + script.text());
    if (!picture) return kCannotLoad;
    const std::string name = options.recording.substr(options.recording.rfind('/') + 1);
    return writeFile(options.output, html ? page(name, curves, *picture) : *picture);
}

}  // namespace subhalctl
