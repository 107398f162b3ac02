#include "tools/subhalctl/showing/PlotPage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

// In pixels; nine tenths of them are as wide as A4 on its side.
constexpr int kWidth = 1140;
constexpr double kLeft = 74;
constexpr double kRight = 874;
constexpr double kSide = 886;  // left edge of what is right of the curves
constexpr double kLine = 17;
constexpr double kBarWidth = 84;
constexpr size_t kFew = 120;  // points of a curve that also get dots
constexpr int kBins = 20;

constexpr char kStyle[] = R"(<style>
body { font: 13px sans-serif; width: 1140px; margin: 20px auto }
h1 { font-size: 20px } h2 { font-size: 16px; margin: 18px 0 4px; break-after: avoid }
svg { display: block; width: 100% } section { break-inside: avoid }
small { font: 13px sans-serif } .right { text-anchor: end } .middle { text-anchor: middle }
.grid { stroke: #ddd } .frame { fill: none; stroke: #888 } .bar { fill: #8fa9c4 }
.curve { fill: none; stroke-width: 1.3; stroke-linejoin: round }
.dots { fill: none; stroke-width: 5; stroke-linecap: round }
.on { fill: #cfe2f3 } .request { fill: #3d6fa5 } .wakelock { fill: #d08700 } .bad { fill: #b00020 }
.lost { fill: #f7b5b5 } .period { stroke: #b00020; stroke-dasharray: 5 4 }
@page { size: A4 landscape; margin: 10mm } @media print { body { width: auto; margin: 0 } }
</style>)";

// Distinct for the colour-blind and in grey.
constexpr const char* kColours[] = {"#0072b2", "#d55e00", "#009e73", "#aa4499", "#222", "#e69f00"};

std::string escaped(const std::string& text) {
    std::string result;
    for (const char letter : printable(text)) {
        result += letter == '&' ? "&amp;" : letter == '<' ? "&lt;" : std::string(1, letter);
    }
    return result;
}

/** 1, 2 or 5 times a power of ten, about so often in the range. */
double stepOf(double range, double often) {
    const double power = std::pow(10, std::floor(std::log10(range / often)));
    const double left = range / often / power;
    return power * (left <= 1 ? 1 : left <= 2 ? 2 : left <= 5 ? 5 : 10);
}

struct Point {
    double x;
    double value;
    bool joined;   // with the one before
    double until;  // to where the value holds if it does not change
};
using Points = std::vector<Point>;

bool byValue(const Point& left, const Point& right) {
    return left.value < right.value;
}

/** A field with an axis of values. */
struct Strip {
    double low;
    double high;
    double top;
    double height;

    double y(double value) const {
        return top + height * (high - std::clamp(value, low, high)) / (high - low);
    }
};

/** Draws lanes and strips, one below the other, on an axis of time. */
class Picture {
  public:
    explicit Picture(const RecordedRun& run) : mStartNs(run.recording.startNs), mEndNs(run.endNs) {}

    std::string wakelocks(const std::vector<Span>& spans) {
        for (const Span& held : spans) {
            span("wakelock", held);
        }
        endLane("held", counted(spans.size(), "time"));
        return svg();
    }
    std::string sensor(const Series& series) {
        requests(series);
        faults(series);
        if (!series.hasData()) return svg();
        values(series);
        if (series.periodNs > 0) {
            durations(series, "interval", [](const RecordedEvent& event) {
                return event.intervalNs == 0 ? NAN : milliseconds(event.intervalNs);
            });
        }
        durations(series, "latency",
                  [](const RecordedEvent& event) { return milliseconds(event.latencyNs()); });
        return svg();
    }

  private:
    using ValueOf = std::function<double(const RecordedEvent&)>;

    /** Adds the time axis, with grid lines through all strips. */
    std::string svg() {
        const double seconds = milliseconds(mEndNs - mStartNs) / 1e3;
        const double step = stepOf(seconds, 10);
        for (double tick = 0; tick * step <= seconds; ++tick) {
            const double at = kLeft + (kRight - kLeft) * tick * step / seconds;
            mBelow += formatted("<path class=\"grid\" d=\"M%.1f 0V%.1f\"/>", at, mTop);
            text(at, mTop - 6, formatted("%.6g s", tick * step), "middle");
        }
        return formatted("<svg viewBox=\"0 0 %d %.0f\">\n", kWidth, mTop + kLine - 2) + mBelow +
               mText + "</svg>\n";
    }
    double x(int64_t timeNs) const {
        const double share = static_cast<double>(elapsedNs(mStartNs, timeNs)) /
                             static_cast<double>(mEndNs - mStartNs);
        return kLeft + (kRight - kLeft) * std::clamp(share, 0.0, 1.0);
    }
    bool isOff(const RecordedEvent& event) const {
        return event.stampNs() < mStartNs || event.stampNs() > mEndNs;
    }
    void text(double atX, double line, const std::string& what, const char* kind = "") {
        mText += formatted("<text class=\"%s\" x=\"%.1f\" y=\"%.1f\">", kind, atX, line + 13) +
                 escaped(what) + "</text>\n";
    }
    static std::string box(const char* kind, double left, double right, double top, double high) {
        return formatted(
            "<rect class=\"%s\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\"/>\n", kind,
            left, top, std::max(right - left, 1.5), high);
    }
    static std::string across(const char* kind, double y) {
        return formatted("<path class=\"%s\" d=\"M%g %.1fH%g\"/>\n", kind, kLeft, y, kRight);
    }
    /** In the lane that is drawn now. */
    void span(const char* kind, const Span& span, double inset = 2) {
        mText += box(kind, x(span.beginNs), x(span.endNs), mTop + inset, kLine - 2 * inset);
    }
    void endLane(const char* name, const std::string& right, const char* kind = "") {
        text(kLeft - 6, mTop, name, "right");
        text(kSide, mTop, right, kind);
        mTop += kLine + 3;
    }

    void requests(const Series& series) {
        std::string asked = "on";
        std::string refused;
        for (const Span& on : series.on) {
            span("on", on, 0);
        }
        auto refusedLast = series.requests;
        std::stable_partition(refusedLast.begin(), refusedLast.end(),
                              [](const auto* entry) { return entry->request.result == "OK"; });
        for (const Recording::Entry* entry : refusedLast) {
            const ProxyRequest& request = entry->request;
            const bool fine = request.result == "OK";
            if (!fine) refused = request.what + ": " + request.result;
            span(fine ? "request" : "bad", {entry->timeNs, entry->timeNs + request.durationNs});
        }
        for (const RecordedEvent& event : series.events) {
            if (kindOf(event.received.event) != EventKind::kFlushComplete) continue;
            span("request", {event.received.receivedNs, event.received.receivedNs}, 5);
        }
        if (series.figures.askedHz) asked = formatted("%.6g Hz", *series.figures.askedHz);
        if (series.latencyNs > 0)
            asked += formatted(", latency %g ms", milliseconds(series.latencyNs));
        if (!series.on.empty()) text(x(series.on.front().beginNs) + 6, mTop, asked);
        endLane("requests", refused, "bad");
    }
    /** Lost events as spans, other faults as strokes. */
    void faults(const Series& series) {
        const Watched& figures = series.figures;
        const int64_t off = std::count_if(series.data.begin(), series.data.end(),
                                          [this](const auto* event) { return isOff(*event); });
        std::string summary;
        for (const auto& [count, what] :
             {std::pair(figures.intervals.lost(), " lost"), std::pair(series.late, " late"),
              std::pair(figures.intervals.backward(), " backward"),
              std::pair(figures.stale, " stale"), std::pair(off, " off the time axis")}) {
            if (count > 0) summary += (summary.empty() ? "" : ", ") + std::to_string(count) + what;
        }
        if (summary.empty()) return;
        for (const RecordedEvent* event : series.data) {
            if (event->lost == 0) continue;
            mGaps.push_back({event->stampNs() - event->intervalNs, event->stampNs()});
        }
        if (figures.intervals.lostAtEnd() > 0)
            mGaps.push_back({series.data.back()->stampNs(), series.on.back().endNs});
        for (const Span& gap : mGaps) {
            span("lost", gap);
        }
        for (const RecordedEvent& event : series.events) {
            const int64_t timeNs = event.stale ? event.received.receivedNs : event.stampNs();
            if (event.late || event.backward || event.stale) span("bad", {timeNs, timeNs});
        }
        endLane("faults", summary, "bad");
    }
    void values(const Series& series) {
        const auto all = decode(series.sensor).values;
        std::string left;
        for (std::vector<size_t>& group : groupsOf(all)) {
            const auto isLeft = [&](size_t column) {
                // Zero is a value only where there is a unit; codes and words leave it out.
                const bool keepsZero = all[column].unit[0] != '\0' || all.size() == 1;
                for (const Point& point :
                     pointsOf(series, [&](const auto& event) { return event.values[column]; })) {
                    if (keepsZero || point.value != 0) return false;
                }
                left += (left.empty() ? "" : ", ") + std::string(all[column].name);
                return true;
            };
            group.erase(std::remove_if(group.begin(), group.end(), isLeft), group.end());
            if (!group.empty()) valueStrip(series, all, group);
        }
        if (left.empty()) return;
        text(kLeft, mTop - 4, "always zero, or no number: " + left);
        mTop += kLine;
    }
    void valueStrip(const Series& series, const std::vector<Value>& all,
                    const std::vector<size_t>& group) {
        std::vector<Points> curves;
        double low = INFINITY;
        double high = -INFINITY;
        for (const size_t column : group) {
            curves.push_back(
                pointsOf(series, [&](const auto& event) { return event.values[column]; }));
            const auto [least, greatest] =
                std::minmax_element(curves.back().begin(), curves.back().end(), byValue);
            low = std::min(low, least->value);
            high = std::max(high, greatest->value);
            const double line = mTop + kLine * static_cast<double>(curves.size() - 1);
            mText +=
                formatted("<path stroke=\"%s\" stroke-width=\"3\" d=\"M%g %.1fh14\"/>",
                          kColours[(curves.size() - 1) % std::size(kColours)], kSide, line + 9);
            const std::string unit = all[column].unit;
            text(kSide + 20, line,
                 all[column].name + (unit.empty() ? "" : " [" + unit + "]") +
                     formatted(": %.7g … %.7g", least->value, greatest->value));
        }
        const double flat = high == 0 ? 1 : std::fabs(high) / 10;
        const double margin = low < high ? (high - low) * 0.06 : flat;
        // A code or a count needs less room than a value with a unit.
        const bool isCode = all[group.front()].unit[0] == '\0' && curves.size() == 1;
        const Strip strip{low - margin, high + margin, mTop, (isCode ? 2 : 4) * kLine};
        frame(strip);
        for (size_t i = 0; i < curves.size(); ++i) {
            curve(strip, curves[i], kColours[i % std::size(kColours)], series.periodNs == 0);
        }
    }
    void durations(const Series& series, const char* name, const ValueOf& valueOf) {
        std::vector<double> sorted;
        for (const RecordedEvent* event : series.data) {
            if (std::isfinite(valueOf(*event))) sorted.push_back(valueOf(*event));
        }
        if (sorted.empty()) return;
        std::sort(sorted.begin(), sorted.end());
        // The longest 1 % are cut off, or the others would be a flat line.
        double low = sorted[sorted.size() / 100];
        double high = sorted[sorted.size() - 1 - sorted.size() / 100];
        const double margin = std::max({(high - low) * 0.3, high * 0.02, 1e-3});
        high += margin;
        low = sorted.front() < 0 ? low - margin : low < high / 3 ? 0 : low - margin;
        const Strip strip{low, high, mTop, 4 * kLine};
        distribution(strip, name, sorted);
        frame(strip);
        if (name[0] == 'i') mText += across("period", strip.y(milliseconds(series.periodNs)));
        curve(strip, pointsOf(series, valueOf), kColours[0], false);
    }
    /** Right of the strip, on its axis. */
    void distribution(const Strip& strip, const char* name, const std::vector<double>& sorted) {
        std::array<size_t, kBins> counts{};
        size_t beyond = 0;
        for (const double value : sorted) {
            const double bin = std::floor((value - strip.low) / (strip.high - strip.low) * kBins);
            ++(bin >= 0 && bin < kBins ? counts[static_cast<size_t>(bin)] : beyond);
        }
        const auto most = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
        const double height = strip.height / kBins;
        for (size_t i = 0; i < kBins; ++i) {
            if (counts[i] == 0) continue;
            mText += box("bar", kSide, kSide + kBarWidth * static_cast<double>(counts[i]) / most,
                         strip.top + height * static_cast<double>(kBins - 1 - i), height);
        }
        const double at = kSide + kBarWidth + 8;
        const auto quantile = [&](double share) {
            return sorted[quantileIndex(share, sorted.size())];
        };
        text(at, mTop - 2, std::string(name) + formatted(" p50 %.4g ms", quantile(0.5)));
        text(at, mTop - 2 + kLine, formatted("p99 %.4g ms", quantile(0.99)));
        text(at, mTop - 2 + 2 * kLine, formatted("%.4g … %.4g ms", sorted.front(), sorted.back()));
        if (beyond > 0) text(at, mTop - 2 + 3 * kLine, formatted("%zu beyond", beyond), "bad");
    }
    Points pointsOf(const Series& series, const ValueOf& valueOf) const {
        Points points;
        const bool holds = reportingMode(series.sensor) == SensorFlagBits::ON_CHANGE_MODE;
        const bool continues = holds || series.periodNs > 0;
        bool joined = false;
        for (const RecordedEvent* event : series.data) {
            const int64_t timeNs = event->stampNs();
            if (isOff(*event)) continue;
            const double value = valueOf(*event);
            joined = joined && continues && event->lost == 0 && std::isfinite(value);
            if (!std::isfinite(value)) continue;
            const double until = x(holds ? offNs(series, timeNs) : timeNs);
            // Between two activations there is no value.
            joined = joined && (!holds || x(timeNs) <= points.back().until);
            points.push_back({x(timeNs), value, joined, until});
            joined = true;
        }
        return points;
    }
    /** The end of the activation in which the sensor reported at that time. */
    int64_t offNs(const Series& series, int64_t timeNs) const {
        int64_t offNs = mEndNs;
        for (const Span& on : series.on) {
            if (on.beginNs <= timeNs) offNs = std::max(on.endNs, timeNs);
        }
        return offNs;
    }
    /** Gaps are shaded in its background. */
    void frame(const Strip& strip) {
        for (const Span& gap : mGaps) {
            mBelow += box("lost", x(gap.beginNs), x(gap.endNs), strip.top, strip.height);
        }
        const double step = stepOf(strip.high - strip.low, strip.height / 16);
        for (double tick = std::ceil(strip.low / step); tick * step <= strip.high; ++tick) {
            mText += across("grid", strip.y(tick * step));
            text(kLeft - 6, strip.y(tick * step) - 8.5, formatted("%.7g", tick * step + 0.0),
                 "right");
        }
        mText += box("frame", kLeft, kRight, strip.top, strip.height);
        mTop += strip.height + 10;
    }
    /** Draws minimum and maximum of each pixel column, so that no spike is lost. */
    void curve(const Strip& strip, const Points& points, const char* colour, bool steps) {
        std::string line;
        std::string dots;
        for (auto first = points.begin(), end = first; first != points.end(); first = end) {
            end = std::find_if(first, points.end(), [&](const Point& point) {
                return std::floor(point.x) != std::floor(first->x);
            });
            const char* form = !first->joined ? "M%.1f %.1f" : steps ? "H%.1fV%.1f" : "L%.1f %.1f";
            line += formatted(form, first->x, strip.y(first->value));
            if (end - first > 1) {
                const auto [least, greatest] = std::minmax_element(first, end, byValue);
                line += formatted("V%.1fV%.1fV%.1f", strip.y(least->value),
                                  strip.y(greatest->value), strip.y(std::prev(end)->value));
            }
            const double until = std::prev(end)->until;
            if (steps && (end == points.end() || end->x > until)) line += formatted("H%.1f", until);
            const bool alone = !first->joined && (end == points.end() || !end->joined);
            if (!alone && points.size() > kFew) continue;
            dots += formatted("M%.1f %.1fh0", first->x, strip.y(first->value));
        }
        for (const auto& [kind, path] : {std::pair("curve", &line), std::pair("dots", &dots)}) {
            mText +=
                formatted("<path class=\"%s\" stroke=\"%s\" d=\"", kind, colour) + *path + "\"/>\n";
        }
    }

    int64_t mStartNs;
    int64_t mEndNs;
    double mTop = 0;
    std::vector<Span> mGaps;  // in the events
    std::string mBelow;
    std::string mText;
};

/** As in "234 events, measured 99.98 Hz". */
std::string summaryOf(const Watched& figures) {
    std::string text = counted(figures.events, "event");
    if (figures.grantedHz) text += formatted(", granted %.6g Hz", *figures.grantedHz);
    if (figures.rateHz())
        text += formatted(", measured %.6g Hz, jitter %.4g ms", *figures.rateHz(),
                          *figures.jitterNs() / 1e6);
    if (figures.flushes > 0) text += ", " + counted(figures.flushes, "flush", "es");
    return figures.wakelocks > 0 ? text + ", " + counted(figures.wakelocks, "wakelock") : text;
}

std::string section(const std::string& name, const std::string& figures, const std::string& svg) {
    return "<section><h2>" + escaped(name) + " <small>" + escaped(figures) + "</small></h2>\n" +
           svg + "</section>\n";
}

}  // namespace

std::string plotPage(const RecordedRun& run) {
    const std::string name = escaped(run.name);
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" +
                       name + "</title>\n" + kStyle + "</head><body>\n<h1>" + name + "</h1>\n";
    for (const auto& [handle, series] : run.sensors) {
        html += section(series.name(), summaryOf(series.figures), Picture(run).sensor(series));
    }
    if (!run.wakelocks.empty()) {
        html += section("wakelock", "of all sensors", Picture(run).wakelocks(run.wakelocks));
    }
    return html + "</body></html>\n";
}

}  // namespace subhalctl
