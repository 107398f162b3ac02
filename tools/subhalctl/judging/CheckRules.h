#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "simulator/SensorSpec.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/EventQueue.h"
#include "tools/subhalctl/proxy/SensorLookup.h"

namespace subhalctl {

/** For a running hub to follow a request: until then records come at the earlier rate. */
constexpr int64_t kFollowNs = 100'000'000;

/** kKnown: the rule is broken in the one way in which this library is known to break it. */
enum class Verdict { kPass, kFail, kSkip, kKnown };

/** Prints results as they come, and counts them. */
class CheckReport {
  public:
    /** @param format "text", "json" (an object per line) or "tap" */
    CheckReport(const std::string& format, bool onlyFailures)
        : mFormat(format), mOnlyFailures(onlyFailures) {}

    void begin() const;
    /** @param sensor "library" for a rule of no sensor */
    void add(Verdict verdict, const std::string& sensor, const char* rule,
             const std::string& figures);
    void end(bool interrupted) const;

    bool has(const std::string& sensor, const char* rule) const {
        return mGiven.count(sensor + ' ' + rule) > 0;
    }
    int failures() const { return mCounts[static_cast<size_t>(Verdict::kFail)]; }

  private:
    std::string mFormat;
    bool mOnlyFailures;
    int mCounts[4] = {};             // by verdict
    std::set<std::string> mGiven{};  // sensors with rules
};

/** Where a sensor's results go. */
struct Results {
    CheckReport* report;
    std::string label;

    void judge(bool passed, const char* rule, const std::string& figures,
               Verdict otherwise = Verdict::kFail) const {
        report->add(passed ? Verdict::kPass : otherwise, label, rule, figures);
    }
    /** Passes with these figures when there is no fault. */
    void expect(const char* rule, const std::string& fault, const std::string& figures) const {
        judge(fault.empty(), rule, fault.empty() ? figures : fault);
    }
    /** Unless it has a result. */
    void skip(const char* rule, const std::string& why) const {
        if (!report->has(label, rule)) judge(false, rule, why, Verdict::kSkip);
    }
};

/** What came from one sensor while it was on. */
struct Observed {
    int64_t startNs = 0;   ///< earlier time stamps belong to an earlier request
    int64_t lastNs = 0;    ///< the last time stamp of the sensor, in earlier phases as well
    int64_t endNs = 0;     ///< when the look at it ended
    int64_t periodNs = 0;  ///< the requested one
    std::vector<ReceivedEvent> events{};
    size_t stale = 0;            ///< data from before the start, which are not among `events`
    int notRising = 0;           ///< time stamps, of stale data too, or at 0
    int completions = 0;         ///< of flushes
    size_t beforeFlushed = 0;    ///< events that had come at the first completion
    std::string foreignKinds{};  ///< types and meta-data codes that are not the sensor's

    void add(const SensorInfo& sensor, const ReceivedEvent& received);
};

/** Rates that the platform wants at a level. */
struct DirectLevel {
    RateLevel level;
    const char* name;
    double lowestHz;
    double highestHz;
};
constexpr DirectLevel kDirectLevels[] = {{RateLevel::NORMAL, "normal", 27.5, 110},
                                         {RateLevel::FAST, "fast", 110, 440},
                                         {RateLevel::VERY_FAST, "very fast", 440, 1760}};

void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results);

/** A sensor under test. CheckVerb.cpp runs it; the rules judge what it listed and reported. */
struct Subject : Results {
    Subject(const Results& results, const SensorInfo& info) : Results(results), sensor(info) {}

    const SensorInfo& sensor;
    Observed observed{};
    bool on = false;        ///< so that its events can be judged
    bool timely = true;     ///< so that its rate can
    bool heard = false;     ///< it has reported since the check began
    std::string refused{};  ///< requests, with their results
    std::string unsent{};   ///< accepted requests that did not reach the hub
    int requests = 0;
    int switches = 0;  ///< that were accepted

    int32_t handle() const { return sensor.sensorHandle; }
    int64_t grantedNs() const { return grantedPeriodNs(sensor, observed.periodNs); }

    bool any() const { return true; }
    bool isOn() const { return on; }
    /** Has a rate, whatever its mode is called. */
    bool periodic() const { return sensor.minDelay > 0 && grantedPeriodNs(sensor, 1) > 0; }
    bool oneShot() const { return reportingMode(sensor) == SensorFlagBits::ONE_SHOT_MODE; }
    bool rated() const { return on && timely && periodic(); }
    bool onChange() const { return reportingMode(sensor) == SensorFlagBits::ON_CHANGE_MODE; }
    bool direct() const { return canReportDirectly(sensor); }
    bool withoutDirect() const { return !direct(); }
    /** Is on, and need not wait for something to happen. */
    bool reportsByItself() const { return on && subhalctl::reportsByItself(sensor); }
    /** Reports by itself, as far as has been seen. */
    bool restartable() const { return timely && refused.empty() && unsent.empty() && periodic(); }
    bool reported() const { return !observed.events.empty(); }
    /** Completions that its flushes have to get. */
    int flushes() const { return oneShot() ? 0 : 3; }
    Result flushResult() const { return oneShot() ? Result::BAD_VALUE : Result::OK; }
    bool flushed() const { return observed.completions >= flushes(); }
    bool completed() const { return observed.completions > 0; }

    void count(const char* request, Result result) {
        ++requests;
        if (result == Result::OK) return;
        refused += (refused.empty() ? "" : ", ") + std::string(request) + ": " + resultName(result);
    }

    /** @param specs the hub's own */
    void checkListing(const std::vector<simulator::SensorSpec>& specs) const;
    void checkFirstEvent() const;
    /** False when the time stamps of a periodic sensor prove nothing. */
    bool checkTimestamps(int64_t latencyNs) const;
    /** The rate that the sensor grants, and nothing lost; false when the time was too short. */
    bool checkRate() const;
    /** Values, wakelocks, and what an on-change or a one-shot sensor may send. */
    void checkEvents() const;
    /** With a flush at `flushedNs`, while events were held back. */
    void checkBatching(int64_t latencyNs, int64_t flushedNs) const;
    /** The memory of a channel that has just been stopped. */
    void checkDirectRecords(const DirectLevel& level, const SharedMemory& memory,
                            int64_t startNs) const;

  private:
    void checkValues() const;
    void checkMode() const;
    void checkFlushOrder(int64_t flushedNs) const;
};

}  // namespace subhalctl
