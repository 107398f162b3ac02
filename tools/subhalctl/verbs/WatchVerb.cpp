#include <algorithm>
#include <cinttypes>
#include <deque>
#include <map>

#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/judging/Requirement.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kDefaultPeriodNs = 20'000'000;
constexpr int64_t kProgressNs = 200'000'000;

int64_t periodOf(const WatchOptions& options, const SensorSelector& selector, int64_t recordedNs) {
    if (selector.rateHz) return periodOfRate(*selector.rateHz);
    if (options.rateHz > 0) return periodOfRate(options.rateHz);
    if (options.periodNs > 0) return options.periodNs;
    return recordedNs > 0 ? recordedNs : kDefaultPeriodNs;
}

class Watch {
  public:
    Watch(Proxy& proxy, const WatchOptions& options)
        : mProxy(proxy),
          mOptions(options),
          mWriter(options.recording.empty() ? EventWriter::make(options.format) : nullptr),
          mProgress(!options.recording.empty() && !proxy.options().quiet) {}

    ExitCode run() {
        for (const std::string& text : mOptions.sensors) {
            const ExitCode selected = select(text);
            if (selected != kOk) return selected;
        }
        const bool quiet = mProxy.options().quiet;
        if (mOptions.statsSeconds <= 0 && mWriter) mWriter->begin(mWatched, quiet);
        if (!activateSensors()) return kRefused;
        const auto end = receive();
        std::map<int32_t, int64_t> left;  // by handle, when the first event came that is not seen
        const auto rest = [&](const ReceivedEvent& received) {
            if (mProxy.recorder() != nullptr) return static_cast<void>(handle(received));
            left.emplace(received.event.sensorHandle, received.receivedNs);
        };
        mProxy.events().drain(rest);
        deactivateSensors(end == EventQueue::End::kEnded, left);
        // A recording has what came until then; so has its summary.
        mProxy.events().drain(rest);
        mProgress.clear();
        if (!quiet && mWriter) mWriter->summary(mWatched);
        if (!quiet && !mWriter) printSummary(summaryTable(mWatched), mOptions.recording == "-");
        const ExitCode kept = keepRecording();
        const ExitCode judged = kept == kOutputLost ? kept : judge(end);
        if (judged != kOk || kept != kOk) return judged != kOk ? judged : kept;
        return require();
    }

  private:
    ExitCode select(const std::string& text) {
        const auto selector = parseSelector(text);
        if (!selector) {
            complain("%s: expected a rate in Hz after \"@\", from %g to %g, as in 1@50",
                     quoted(text).c_str(), kLowestRateHz, kHighestRateHz);
            return kUsage;
        }
        const SensorInfo* sensor = mProxy.find(selector->sensor);
        if (sensor == nullptr) return kNoSuchSensor;
        const Recording* recording = mProxy.recording();
        ProxyRequest asked;
        if (recording != nullptr) asked = recording->batch(sensor->sensorHandle);
        asked.periodNs = periodOf(mOptions, *selector, asked.periodNs);
        if (mOptions.latencyMs >= 0) asked.latencyNs = mOptions.latencyMs * 1'000'000;
        for (size_t i = 0; i < mWatched.size(); ++i) {
            if (mWatched[i].sensor != sensor) continue;
            if (mAsked[i].periodNs == asked.periodNs) return kOk;
            complain("%s is requested at %g Hz and at %g Hz; a sensor has one rate",
                     typeName(*sensor).c_str(), hertzOf(mAsked[i].periodNs),
                     hertzOf(asked.periodNs));
            return kUsage;
        }
        const int64_t grantedNs = grantedPeriodNs(*sensor, asked.periodNs);
        mWatched.push_back({sensor, when(grantedNs > 0, hertzOf(asked.periodNs)),
                            when(grantedNs > 0, hertzOf(grantedNs)),
                            IntervalStatistics(grantedNs)});
        mAsked.push_back(asked);
        return kOk;
    }

    bool activateSensors() {
        for (size_t i = 0; i < mWatched.size(); ++i) {
            mActive.emplace_back(mProxy, *mWatched[i].sensor, mAsked[i].periodNs,
                                 mAsked[i].latencyNs);
            if (!mActive.back().active()) return false;
            mWatched[i].startNs = mTimes != nullptr ? mTimes->onNs(mWatched[i].sensor->sensorHandle)
                                                    : mActive.back().startNs();
        }
        return true;
    }

    /** What has come and is not looked at is not lost. */
    void deactivateSensors(bool played, const std::map<int32_t, int64_t>& left) {
        for (size_t i = 0; i < mWatched.size(); ++i) {
            const int32_t handle = mWatched[i].sensor->sensorHandle;
            int64_t endNs = played && mTimes != nullptr ? INT64_MAX : hubNowNs();
            if (mTimes != nullptr) endNs = std::min(endNs, mTimes->offNs(handle));
            const auto unseen = left.find(handle);
            if (unseen != left.end()) endNs = std::min(endNs, unseen->second);
            mWatched[i].intervals.end(endNs, mAsked[i].latencyNs);
            mActive.pop_front();
        }
    }

    bool handle(const ReceivedEvent& received) {
        if (mProxy.recorder() != nullptr) mProxy.recorder()->event(received);
        const auto found = std::find_if(mWatched.begin(), mWatched.end(), [&](const Watched& one) {
            return one.sensor->sensorHandle == received.event.sensorHandle;
        });
        if (found == mWatched.end()) return false;
        if (mOptions.statsSeconds > 0) {
            mSlice[static_cast<size_t>(found - mWatched.begin())].add(received);
        } else if (mWriter) {
            mWriter->event(*found, received);
        }
        const int64_t before = found->events;
        found->add(received);
        if (found->events == before) return false;
        ++mCame;
        showProgress();
        return mCame == mOptions.count || allSpent();
    }

    void showProgress() {
        const int64_t now = bootTimeNs();
        if (now < mShownNs + kProgressNs) return;
        mShownNs = now;
        mProgress.show(counted(mCame, "event"));
    }

    /** A one-shot sensor is off after its event. */
    bool allSpent() const {
        return std::all_of(mWatched.begin(), mWatched.end(), [](const Watched& one) {
            return reportingMode(*one.sensor) == SensorFlagBits::ONE_SHOT_MODE && one.events > 0;
        });
    }

    EventQueue::End receive() {
        using Clock = EventQueue::Clock;
        const auto handler = [this](const ReceivedEvent& received) { return handle(received); };
        if (mOptions.statsSeconds <= 0)
            return mProxy.events().receiveFor(mOptions.seconds, handler);
        const auto end = mOptions.seconds > 0 ? Clock::now() + lengthOf(mOptions.seconds)
                                              : Clock::time_point::max();
        Table table = figuresTable(mWatched, true);
        mSlice = mWatched;
        print("%s", table.text().c_str());
        for (auto next = Clock::now();;) {
            next += lengthOf(mOptions.statsSeconds);
            const auto ended = mProxy.events().receive(std::min(next, end), handler);
            addFigures(mSlice, true, &table);
            print("%s", table.text().c_str());
            for (Watched& one : mSlice) {
                one.restart();
            }
            if (ended != EventQueue::End::kTimeout || Clock::now() >= end) return ended;
        }
    }

    /** Fails when a sensor that reports by itself did not, or when there was no event at all. */
    ExitCode judgeSilence(bool played) const {
        ExitCode result = kOk;
        for (const Watched& one : mWatched) {
            if (one.events > 0 || !reportsByItself(*one.sensor)) continue;
            result = kNoData;
            const std::string name = typeName(*one.sensor);
            if (mProxy.recording() != nullptr) {
                complain("the recording has no %sevents of %s (%" PRId32 ")%s",
                         one.stale > 0 ? "fresh " : "", name.c_str(), one.sensor->sensorHandle,
                         played ? "" : " until then");
            } else if (one.sensor->fifoMaxEventCount > 0 &&
                       mOptions.latencyMs * 1'000'000 > elapsedNs(one.startNs, hubNowNs())) {
                complain("%s reported nothing yet: --latency lets it wait for %" PRId64 " ms",
                         name.c_str(), mOptions.latencyMs);
            } else {
                complain("%s stayed silent; \"subhalctl doctor %" PRId32
                         "\" finds out where it stops",
                         name.c_str(), one.sensor->sensorHandle);
            }
        }
        if (mCame == 0 && result == kOk) complain("no events");
        return mCame > 0 ? result : kNoData;
    }

    ExitCode keepRecording() {
        Recorder* recorder = mProxy.recorder();
        if (recorder == nullptr) return kOk;
        if (recorder->hasResult()) return recorder->finish() ? kOk : kOutputLost;
        complain("without an event no recording is kept");
        return kNoData;
    }

    ExitCode judge(EventQueue::End end) const {
        if (outputLost()) return kOutputLost;
        if (const size_t overflowed = mProxy.events().overflowed()) {
            complain("%s dropped, because the output could not take more",
                     counted(overflowed, "event").c_str());
            return kOutputLost;
        }
        const bool played = end == EventQueue::End::kEnded;
        if (mOptions.count > 0 && mCame >= mOptions.count) return kOk;
        if (mOptions.count > 0) {
            if (judgeSilence(played) == kOk)
                complain("%" PRId64 " of %" PRId64 " events came", mCame, mOptions.count);
            return kNoData;
        }
        if (end == EventQueue::End::kInterrupted) {
            // Without --seconds a signal is the usual end, and what came is judged.
            if (mCame == 0 || mOptions.seconds > 0) {
                complain("interrupted before %s", mCame > 0 ? "--seconds were over" : "any event");
                return kNoData;
            }
            if (mOptions.requirement.empty()) return kOk;
        }
        return judgeSilence(played);
    }

    ExitCode require() const {
        const auto broken = brokenRequirements(mOptions.requirement, mWatched);
        for (const std::string& one : broken) {
            complain("%s", one.c_str());
        }
        return broken.empty() ? kOk : kCheckFailed;
    }

    Proxy& mProxy;
    const WatchOptions& mOptions;
    // When sensors were on, for a run without a recording of its own, which has its own times.
    const Recording* const mTimes = mProxy.recorder() == nullptr ? mProxy.recording() : nullptr;
    std::unique_ptr<EventWriter> mWriter;  // null when recording
    Progress mProgress;
    std::vector<Watched> mWatched;
    std::vector<Watched> mSlice;       // the same for the seconds that are counted now
    std::vector<ProxyRequest> mAsked;  // by index of mWatched
    std::deque<ActiveSensor> mActive;
    int64_t mCame = 0;  // events of all sensors, without the stale ones
    int64_t mShownNs = 0;
};

}  // namespace

ExitCode runWatch(Proxy& proxy, const WatchOptions& options) {
    if (options.statsSeconds > 0 && options.format != "text") {
        complain("--stats prints a table, so it excludes --format %s", options.format.c_str());
        return kUsage;
    }
    if (options.statsSeconds > 0 && proxy.options().hub.fast) {
        complain("--stats goes by the recorded times, so it excludes --fast");
        return kUsage;
    }
    // The hub comes first: each line of a recording has its time.
    const ExitCode made = proxy.openHub();
    if (made != kOk) return made;
    if (!options.recording.empty() && !proxy.recordTo(options.recording)) return kUsage;
    const ExitCode opened = proxy.open();
    const ExitCode ended = opened != kOk ? opened : Watch(proxy, options).run();
    // Here, because the process may have to end without destructors.
    if (proxy.recorder() != nullptr) proxy.recorder()->discard();
    return ended;
}

}  // namespace subhalctl
