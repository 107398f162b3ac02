#include <algorithm>
#include <cstdio>
#include <deque>

#include "tools/subhalctl/EventWriter.h"
#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kDefaultPeriodNs = 20'000'000;

constexpr double kLongestPeriodNs = 1e15;

int64_t periodOfRate(double hertz) {
    return static_cast<int64_t>(std::clamp(1e9 / hertz, 1.0, kLongestPeriodNs));
}

int64_t periodOf(const WatchOptions& options, const SensorSelector& selector) {
    if (selector.rateHz) return periodOfRate(*selector.rateHz);
    if (options.rateHz > 0) return periodOfRate(options.rateHz);
    return options.periodNs > 0 ? options.periodNs : kDefaultPeriodNs;
}

/** The period that the sensor can be expected to keep, 0 for one that has none. */
int64_t expectedPeriod(const SensorInfo& sensor, int64_t periodNs) {
    const bool continuous = reportingMode(sensor) == SensorFlagBits::CONTINUOUS_MODE;
    if (!continuous || sensor.minDelay <= 0) return 0;
    const int64_t shortestNs = sensor.minDelay * int64_t{1000};
    const int64_t longestNs = sensor.maxDelay * int64_t{1000};
    return std::clamp(periodNs, shortestNs, std::max(shortestNs, longestNs));
}

class Watch {
  public:
    Watch(Proxy& proxy, const WatchOptions& options)
        : mProxy(proxy),
          mOptions(options),
          mWriter(EventWriter::make(options.format)),
          mLeft(options.count > 0 ? options.count : INT64_MAX) {}

    ExitCode run();

  private:
    ExitCode selectSensors();
    bool activateSensors();
    bool handle(const ReceivedEvent& received);
    bool allSpent() const;

    Proxy& mProxy;
    const WatchOptions& mOptions;
    std::unique_ptr<EventWriter> mWriter;
    std::vector<Watched> mWatched;
    std::vector<int64_t> mPeriods;  // by index of mWatched
    std::deque<ActiveSensor> mActive;
    int64_t mLeft;  // data events
    bool mAny = false;
};

ExitCode Watch::selectSensors() {
    for (const std::string& text : mOptions.sensors) {
        const auto selector = parseSelector(text);
        if (!selector) {
            std::fprintf(stderr, "subhalctl: \"%s\" has no rate behind the \"@\"\n", text.c_str());
            return kUsage;
        }
        const SensorInfo* sensor = mProxy.find(selector->sensor);
        if (sensor == nullptr) return kNoSuchSensor;
        const auto same = [&](const Watched& one) { return one.sensor == sensor; };
        if (std::any_of(mWatched.begin(), mWatched.end(), same)) continue;
        const int64_t periodNs = periodOf(mOptions, *selector);
        const int64_t expectedNs = expectedPeriod(*sensor, periodNs);
        const double askedHz = expectedNs > 0 ? 1e9 / static_cast<double>(periodNs) : 0;
        mWatched.push_back({sensor, askedHz, IntervalStatistics(expectedNs)});
        mPeriods.push_back(periodNs);
    }
    return kOk;
}

bool Watch::activateSensors() {
    for (size_t i = 0; i < mWatched.size(); ++i) {
        mActive.emplace_back(mProxy, *mWatched[i].sensor, mPeriods[i],
                             mOptions.latencyMs * 1'000'000);
        if (!mActive.back().active()) return false;
    }
    return true;
}

bool Watch::handle(const ReceivedEvent& received) {
    const auto found = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& one) {
        return one.sensor->sensorHandle == received.event.sensorHandle;
    });
    if (found == mWatched.end()) return false;
    mWriter->event(*found->sensor, received);
    if (received.ownWakelock) ++found->wakelocks;
    const EventKind kind = kindOf(received.event);
    if (kind == EventKind::kFlushComplete) ++found->flushes;
    mAny = true;
    if (kind != EventKind::kData) return false;
    found->statistics.add(received.event.timestamp);
    return --mLeft == 0 || allSpent();
}

/** A one-shot sensor is off after its event. */
bool Watch::allSpent() const {
    return std::all_of(mWatched.begin(), mWatched.end(), [](const Watched& one) {
        return reportingMode(*one.sensor) == SensorFlagBits::ONE_SHOT_MODE &&
               one.statistics.events() > 0;
    });
}

ExitCode Watch::run() {
    const ExitCode selected = selectSensors();
    if (selected != kOk) return selected;
    const bool quiet = mProxy.options().quiet;
    // The header is part of a CSV file, not a courtesy.
    if (!quiet || mOptions.format == "csv") mWriter->begin(mWatched);
    if (!activateSensors()) return kRefused;
    auto deadline = EventQueue::Clock::time_point::max();
    if (mOptions.seconds > 0) {
        deadline =
            EventQueue::Clock::now() + std::chrono::duration_cast<EventQueue::Clock::duration>(
                                           std::chrono::duration<double>(mOptions.seconds));
    }
    const auto end = mProxy.events().receive(
        deadline, [this](const ReceivedEvent& received) { return handle(received); });
    mActive.clear();
    if (!quiet) mWriter->summary(mWatched);
    const bool tooFew = mOptions.count > 0 ? mLeft > 0 : !mAny;
    return end != EventQueue::End::kInterrupted && tooFew ? kNoData : kOk;
}

}  // namespace

ExitCode runWatch(Proxy& proxy, const WatchOptions& options) {
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Watch(proxy, options).run();
}

}  // namespace subhalctl
