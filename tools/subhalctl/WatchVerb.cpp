#include <algorithm>
#include <deque>

#include "tools/subhalctl/EventWriter.h"
#include "tools/subhalctl/Output.h"
#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kDefaultPeriodNs = 20'000'000;

int64_t periodOf(const WatchOptions& options, const SensorSelector& selector) {
    if (selector.rateHz) return periodOfRate(*selector.rateHz);
    if (options.rateHz > 0) return periodOfRate(options.rateHz);
    return options.periodNs > 0 ? options.periodNs : kDefaultPeriodNs;
}

double hertzOf(int64_t periodNs) {
    return periodNs > 0 ? 1e9 / static_cast<double>(periodNs) : 0;
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
    ExitCode select(const std::string& text);
    bool activateSensors();
    bool handle(const ReceivedEvent& received);
    bool allSpent() const;
    ExitCode judge(EventQueue::End end) const;

    Proxy& mProxy;
    const WatchOptions& mOptions;
    std::unique_ptr<EventWriter> mWriter;
    std::vector<Watched> mWatched;
    std::vector<int64_t> mPeriods;  // by index of mWatched
    std::deque<ActiveSensor> mActive;
    int64_t mLeft;  // events
};

ExitCode Watch::select(const std::string& text) {
    const auto selector = parseSelector(text);
    if (!selector) {
        complain("%s: behind the \"@\" stands a rate in Hz, from %g to %g, as in 1@50",
                 quoted(text).c_str(), kLowestRateHz, kHighestRateHz);
        return kUsage;
    }
    const SensorInfo* sensor = mProxy.find(selector->sensor);
    if (sensor == nullptr) return kNoSuchSensor;
    const int64_t periodNs = periodOf(mOptions, *selector);
    for (size_t i = 0; i < mWatched.size(); ++i) {
        if (mWatched[i].sensor != sensor) continue;
        if (mPeriods[i] == periodNs) return kOk;
        complain("%s is asked for at %g Hz and at %g Hz; a sensor has one rate",
                 typeName(*sensor).c_str(), hertzOf(mPeriods[i]), hertzOf(periodNs));
        return kUsage;
    }
    const int64_t grantedNs = grantedPeriodNs(*sensor, periodNs);
    const double askedHz = grantedNs > 0 ? hertzOf(periodNs) : 0;
    mWatched.push_back({sensor, askedHz, hertzOf(grantedNs), IntervalStatistics(grantedNs)});
    mPeriods.push_back(periodNs);
    return kOk;
}

ExitCode Watch::selectSensors() {
    for (const std::string& text : mOptions.sensors) {
        const ExitCode selected = select(text);
        if (selected != kOk) return selected;
    }
    return kOk;
}

bool Watch::activateSensors() {
    for (size_t i = 0; i < mWatched.size(); ++i) {
        mActive.emplace_back(mProxy, *mWatched[i].sensor, mPeriods[i],
                             mOptions.latencyMs * 1'000'000);
        if (!mActive.back().active()) return false;
        mWatched[i].startNs = mActive.back().startNs();
    }
    return true;
}

bool Watch::handle(const ReceivedEvent& received) {
    const auto found = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& one) {
        return one.sensor->sensorHandle == received.event.sensorHandle;
    });
    if (found == mWatched.end()) return false;
    mWriter->event(*found, received);
    const int64_t before = found->events;
    found->add(received);
    if (found->events == before) return false;
    return --mLeft == 0 || allSpent();
}

/** A one-shot sensor is off after its event. */
bool Watch::allSpent() const {
    return std::all_of(mWatched.begin(), mWatched.end(), [](const Watched& one) {
        return reportingMode(*one.sensor) == SensorFlagBits::ONE_SHOT_MODE && one.events > 0;
    });
}

/** Sensors that report by themselves, and did not, make a failure; so does no event at all. */
ExitCode Watch::judge(EventQueue::End end) const {
    if (const size_t overflowed = mProxy.events().overflowed()) {
        complain("%zu events were dropped, because the output could not take them", overflowed);
        return kOutputLost;
    }
    if (mOptions.count > 0) return mLeft > 0 ? kNoData : kOk;
    if (end == EventQueue::End::kInterrupted) return kOk;
    bool any = false;
    ExitCode result = kOk;
    for (const Watched& one : mWatched) {
        any = any || one.events > 0;
        const SensorFlagBits mode = reportingMode(*one.sensor);
        const bool talks =
            mode == SensorFlagBits::CONTINUOUS_MODE || mode == SensorFlagBits::ON_CHANGE_MODE;
        if (one.events > 0 || !talks) continue;
        complain("%s stayed silent", typeName(*one.sensor).c_str());
        result = kNoData;
    }
    if (!any && result == kOk) complain("no events");
    return any ? result : kNoData;
}

ExitCode Watch::run() {
    const ExitCode selected = selectSensors();
    if (selected != kOk) return selected;
    const bool quiet = mProxy.options().quiet;
    // The header is part of a CSV file, not a courtesy.
    if (!quiet || mOptions.format == "csv") mWriter->begin(mWatched);
    if (!activateSensors()) return kRefused;
    const auto end = mProxy.events().receiveFor(
        mOptions.seconds, [this](const ReceivedEvent& received) { return handle(received); });
    mActive.clear();
    if (!quiet) mWriter->summary(mWatched);
    return judge(end);
}

}  // namespace

ExitCode runWatch(Proxy& proxy, const WatchOptions& options) {
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Watch(proxy, options).run();
}

}  // namespace subhalctl
