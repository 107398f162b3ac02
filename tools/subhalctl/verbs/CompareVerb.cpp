#include <algorithm>
#include <cmath>
#include <optional>

#include "tools/subhalctl/recording/Series.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr double kLatencyMs = 100;  // the tolerance of a latency is a share of at least this
constexpr double kErrors = 3;       // standard errors that chance explains

using Figure = std::optional<double>;

/** Of the values in a column; the error is that of the mean. */
struct Spread {
    Figure mean;
    Figure deviation;
    double error = 0;
};

Spread spreadOf(const Series& series, size_t column) {
    double count = 0;
    double mean = 0;
    double squares = 0;
    for (const RecordedEvent& event : series.events) {
        if (column >= event.values.size() || !std::isfinite(event.values[column])) continue;
        const double off = event.values[column] - mean;
        mean += off / ++count;
        squares += off * (event.values[column] - mean);
    }
    if (count == 0) return {};
    const double deviation = std::sqrt(squares / count);
    return {mean, deviation, deviation / std::sqrt(count)};
}

Figure inMs(Figure ns) {
    return ns ? Figure(*ns / 1e6) : ns;
}

/** In percent. */
Figure shareOf(int64_t count, size_t all) {
    return when(all > 0, 100 * static_cast<double>(count) / static_cast<double>(all));
}

/** Two recordings, sensor by sensor. */
class Comparison {
  public:
    /** @param tolerance as a share */
    Comparison(double tolerance, bool quiet) : mTolerance(tolerance), mQuiet(quiet) {}

    void compare(const Series& first, const Series& second) {
        if (first.events.empty() && second.events.empty()) return;
        mHead = first.name() + "\n";
        const double periodMs = milliseconds(std::max(first.periodNs, second.periodNs));
        if (periodMs > 0) rates(first.figures, second.figures, periodMs);
        figure("events", static_cast<double>(first.figures.events),
               static_cast<double>(second.figures.events), INFINITY);
        figure("type", static_cast<double>(first.sensor.type),
               static_cast<double>(second.sensor.type), 0);
        const auto events = [&](const char* name, bool fresh,
                                bool (*counts)(const RecordedEvent&)) {
            const auto of = [&](const Series& series) {
                const auto& all = series.events;
                return shareOf(std::count_if(all.begin(), all.end(), counts),
                               fresh ? series.data.size() : all.size());
            };
            percent(name, of(first), of(second));
        };
        events("with wakelock/%", false, [](const auto& one) { return one.received.wakelock; });
        events("retyped/%", true, [](const auto& one) { return one.retyped; });
        events("not finite/%", true, [](const auto& one) {
            return !std::all_of(one.values.begin(), one.values.end(),
                                [](double value) { return std::isfinite(value); });
        });
        events("stale/%", false, [](const auto& one) { return one.stale; });
        events("backward/%", true, [](const auto& one) { return one.backward; });
        for (const auto& [name, wanted] :
             {std::pair("latency.p50/ms", 0.5), std::pair("latency.p99/ms", 0.99)}) {
            figure(name, inMs(first.figures.latency.quantileNs(wanted)),
                   inMs(second.figures.latency.quantileNs(wanted)),
                   mTolerance * std::max(periodMs, kLatencyMs));
        }
        values(first, second);
    }
    /** A sensor that only one of them has. */
    void alone(const Series& series, const char* where) {
        print("%s\ndiffers  only in the %s recording\n", series.name().c_str(), where);
        ++mDifferences;
    }
    int differences() const { return mDifferences; }

  private:
    void figure(const std::string& name, Figure first, Figure second, double allowed) {
        const Figure change = first && second ? Figure(*second - *first) : Figure();
        const bool differs = change ? std::fabs(*change) > allowed * (1 + 1e-9) : first || second;
        mDifferences += differs ? 1 : 0;
        if (mQuiet && !differs) return;
        const auto text = [](const char* form, Figure figure) {
            return figure ? formatted(form, *figure) : "-";
        };
        print("%s%-8s %-24s %14s %14s %14s\n", mHead.c_str(), differs ? "differs" : "",
              name.c_str(), text("%.7g", first).c_str(), text("%.7g", second).c_str(),
              text("%+.7g", change).c_str());
        mHead.clear();
    }
    void share(const std::string& name, Figure first, Figure second, double more = 0) {
        const double larger = std::max(std::fabs(first.value_or(0)), std::fabs(second.value_or(0)));
        figure(name, first, second, mTolerance * larger + more);
    }
    /** One near 0 or 100 has to be near there in both. */
    void percent(const char* name, Figure first, Figure second) {
        const double high = std::max(first.value_or(0), second.value_or(0));
        const double low = std::min(first.value_or(100), second.value_or(100));
        figure(name, first, second, mTolerance * std::min(high, 100 - low));
    }
    void rates(const Watched& first, const Watched& second, double periodMs) {
        const auto lost = [](const Watched& figures) {
            const auto count = figures.lost();
            if (!count) return Figure();
            return shareOf(*count, static_cast<size_t>(figures.events + *count));
        };
        share("granted/Hz", first.grantedHz, second.grantedHz);
        share("rate/Hz", first.intervals.rateHz(), second.intervals.rateHz());
        figure("jitter/ms", inMs(first.intervals.jitterNs()), inMs(second.intervals.jitterNs()),
               mTolerance * periodMs);
        percent("lost/%", lost(first), lost(second));
    }
    void values(const Series& first, const Series& second) {
        const auto all = decode(first.sensor).values;
        for (const std::vector<size_t>& group : groupsOf(all)) {
            // Parts of a vector are compared by the longest: gravity is on one axis only.
            double length = 0;
            for (const size_t column : group) {
                length = std::max({length, std::fabs(spreadOf(first, column).mean.value_or(0)),
                                   std::fabs(spreadOf(second, column).mean.value_or(0))});
            }
            for (const size_t column : group) {
                const Spread one = spreadOf(first, column);
                const Spread other = spreadOf(second, column);
                const auto resolution = static_cast<double>(first.sensor.resolution);
                const double chance = kErrors * std::hypot(one.error, other.error) + resolution;
                const std::string name = all[column].name;
                figure(name + " mean", one.mean, other.mean, mTolerance * length + chance);
                // A deviation's standard error is that of the mean, less by the root of two.
                share(name + " deviation", one.deviation, other.deviation,
                      kErrors * std::hypot(one.error, other.error) / std::sqrt(2.0) + resolution);
            }
        }
    }

    double mTolerance;
    bool mQuiet;
    std::string mHead;  // of the sensor, until it is printed
    int mDifferences = 0;
};

}  // namespace

ExitCode runCompare(Proxy& proxy, const CompareOptions& options) {
    RecordedRun first;
    RecordedRun second;
    for (const auto& [run, path] :
         {std::pair(&first, &options.first), std::pair(&second, &options.second)}) {
        const ExitCode loaded = run->load(*path);
        if (loaded != kOk) return loaded;
    }
    if (!proxy.options().quiet) print("%33s %14s %14s %14s\n", "", "first", "second", "change");
    Comparison comparison(options.tolerance / 100, proxy.options().quiet);
    for (const auto& [handle, series] : first.sensors) {
        const auto found = second.sensors.find(handle);
        if (found == second.sensors.end()) {
            comparison.alone(series, "first");
        } else {
            comparison.compare(series, found->second);
        }
    }
    for (const auto& [handle, series] : second.sensors) {
        if (first.sensors.count(handle) == 0) comparison.alone(series, "second");
    }
    print("%s\n", counted(comparison.differences(), "difference").c_str());
    return comparison.differences() > 0 ? kCheckFailed : kOk;
}

}  // namespace subhalctl
