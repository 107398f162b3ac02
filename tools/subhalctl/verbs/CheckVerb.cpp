#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <map>
#include <set>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/judging/CheckRules.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kMiddlePeriodNs = 20'000'000;
constexpr int64_t kShortestLatencyNs = 250'000'000;  // long against a busy machine's delays
constexpr int32_t kStampHandle = 49;                 // each of its records completes a flush
constexpr double kPatienceSeconds = 3;
constexpr double kSettleSeconds = 0.1;  // for events on their way when a sensor is switched off
constexpr double kSilenceSeconds = 0.3;
constexpr double kLongestSlowSeconds = 10;
constexpr double kPeriodsOfSlowest = 3.2;
constexpr size_t kDirectRecords = 20'000;  // ten seconds of the fastest level
constexpr size_t kSmallRecords = 16;

/** What a rule is for: it is skipped without what `text` says. */
struct Need {
    const char* text;
    bool (Subject::*isFor)() const;  // null for a rule of the library
};
struct Rule {
    const char* name;
    Need need;
    const char* text;
};
constexpr Need kLibrary{"", nullptr};
constexpr Need kAll{"", &Subject::any};
constexpr Need kSwitch{"--sim or --trace", &Subject::any};
constexpr Need kRate{"rate", &Subject::periodic};
constexpr Need kRateAtHub{"rate, --sim or --trace", &Subject::periodic};
constexpr Need kFifo{"rate, FIFO", &Subject::periodic};
constexpr Need kChannel{"direct channel", &Subject::direct};
constexpr Rule kRules[] = {
    {"names-distinct", kLibrary, "no two sensors have the same handle, or the same type and name"},
    {"listing", kAll, "the description is complete, and the delays fit the reporting mode"},
    {"identity", kAll, "type, permission, flags and FIFO are those of the hub's sensor"},
    {"unknown-handles", kLibrary, "requests for handles that are not listed give BAD_VALUE"},
    {"operation-mode", kLibrary, "the normal mode is accepted; known: every mode is refused"},
    {"shortest-period", kRateAtHub,
     "no batch request asks the hub for a period below the shortest"},
    {"longest-period",
     {kRateAtHub.text, nullptr},
     "no batch request asks the hub for one above the longest; known: they do"},
    {"activate", kAll, "activate and batch return OK"},
    {"hub-switch", kSwitch, "each accepted switch on and off is written to the hub"},
    {"first-event", kAll, "a sensor that reports by itself does so within a second and a period"},
    {"timestamps", kAll, "time stamps rise, at the times of the samples, on the clock since boot"},
    {"rate", kRate,
     "within 10 % of the rate asked for, clamped to the sensor's limits, also when it is changed "
     "while the sensor is on; more than 1 % off is noted"},
    {"lost", kRate,
     "no gap of more than one and a half granted periods, or typical ones where these are 10 % "
     "longer, and no silence at the end"},
    {"values", kAll,
     "values are in the sensor's range, to 0.1 % and a step, and physically possible"},
    {"event-kind", kAll, "events are of the sensor's type, meta-data events are completed flushes"},
    {"wakelock", kAll, "a wakelock is held for each event of a wake-up sensor, and for no other"},
    {"on-change", {"on-change sensor", &Subject::onChange}, "no event repeats the one before"},
    {"one-shot", {"one-shot sensor", &Subject::oneShot}, "one event, and no other"},
    {"flush", kAll,
     "one completion for each flush; a one-shot sensor refuses it; known: gyroscope_aois completes "
     "one with each record"},
    {"silent-when-off", kAll, "no events from a sensor that is off and reported before"},
    {"flush-when-off", kLibrary, "a sensor that is off refuses to be flushed; known: it does not"},
    {"batching", kFifo,
     "the median batch is held back for 50 to 125 % of the requested latency, up to the flush"},
    {"flush-order", kFifo, "a flush delivers the events held back, before its completion"},
    {"direct-token", kChannel, "a report has a token above 0"},
    {"direct-memory", kChannel, "the memory is zeroed when registered and when unregistered"},
    {"direct-records", kChannel, "records are whole, counted one by one, and none is lost"},
    {"direct-stamps", kChannel, "the newest record is not older than half a second and a period"},
    {"direct-rate", kChannel,
     "the rate is within the level's bounds; known: very fast is as slow as fast"},
    {"direct-stop",
     {"direct channel, --sim or --trace", &Subject::direct},
     "a stopped report switches its sensor off; known: it stays on"},
    {"direct-refused",
     {"", &Subject::withoutDirect},
     "a sensor that declares no direct channels refuses them"},
    {"injection-mode", kLibrary, "events are injected in injection mode only; known: in any"},
    {"initialize-again", kLibrary, "a second initialize is accepted, and ends earlier channels"},
    {"initialize-sensors",
     {kRate.text, nullptr},
     "a second initialize switches sensors off; known: they stay as they are"},
    {"handles", kLibrary, "events come only from sensors that are on"}};

double inSeconds(int64_t ns) {
    return static_cast<double>(ns) / 1e9;
}

/** How often a rule was broken, and how often it was kept. */
using Tally = std::map<bool, int>;

/** Each check... ends early when the verb has to end, and judges nothing that is unfinished. */
class Check {
  public:
    Check(Proxy& proxy, const CheckOptions& options, bool hubSeen)
        : mProxy(proxy),
          mOptions(options),
          mReport(options.format, proxy.options().quiet),
          mLibrary{&mReport, "library"},
          mHubSeen(hubSeen),
          mProgress(!proxy.options().quiet) {}

    ExitCode run() {
        const ExitCode selected = select();
        if (selected != kOk) return selected;
        mReport.begin();
        using Phase = void (Check::*)();
        for (const Phase phase :
             {&Check::checkLists, &Check::checkUnknownHandles, &Check::checkPeriods,
              &Check::checkMiddle, &Check::checkFlushes, &Check::checkBatches, &Check::checkFastest,
              &Check::checkSlowest, &Check::checkSilence, &Check::checkDirect,
              &Check::checkInjection, &Check::checkInitializeAgain, &Check::checkRequests,
              &Check::skipRest}) {
            if (!interrupted()) (this->*phase)();
        }
        if (interrupted()) stop(chosen(&Subject::any));
        mReport.end(interrupted());
        if (interrupted()) return kNoData;
        return mReport.failures() > 0 ? kCheckFailed : kOk;
    }

  private:
    using Subjects = std::vector<Subject*>;
    using Predicate = bool (Subject::*)() const;

    ExitCode select() {
        std::set<const SensorInfo*> wanted;
        for (const std::string& text : mOptions.sensors) {
            const SensorInfo* sensor = mProxy.find(text);
            if (sensor == nullptr) return kNoSuchSensor;
            wanted.insert(sensor);
        }
        std::multiset<std::string> names;
        for (const SensorInfo& sensor : mProxy.sensors()) {
            names.insert(typeName(sensor));
        }
        for (const SensorInfo& sensor : mProxy.sensors()) {
            if (!wanted.empty() && wanted.count(&sensor) == 0) continue;
            std::string label = typeName(sensor);
            if (names.count(label) > 1) label += "/" + std::to_string(sensor.sensorHandle);
            mSubjects.push_back({{&mReport, label}, sensor});
        }
        return kOk;
    }

    Subjects chosen(Predicate predicate) {
        Subjects subjects;
        for (Subject& subject : mSubjects) {
            if (predicate != nullptr && (subject.*predicate)()) subjects.push_back(&subject);
        }
        return subjects;
    }

    /** Gives each sensor its events. False when the verb has to end. */
    bool receive(double seconds) {
        mProxy.events().receiveFor(seconds, [this](const ReceivedEvent& received) {
            ++mEvents;
            bool ours = false;
            for (Subject& subject : mSubjects) {
                if (subject.handle() != received.event.sensorHandle) continue;
                subject.observed.add(subject.sensor, received);
                ours = true;
            }
            if (!ours) mStrangers.insert(received.event.sensorHandle);
            return false;
        });
        mProxy.takeCalls();
        const int64_t now = hubNowNs();
        for (Subject& subject : mSubjects) {
            subject.observed.endNs = now;
            subject.heard |= subject.reported();
        }
        mProgress.clear();
        return !interrupted();
    }

    /** The same until the predicate is true of all subjects, if it ever is. */
    bool receiveUntil(const Subjects& subjects, Predicate predicate) {
        constexpr double kSlice = 0.02;
        const auto fits = [predicate](const Subject* one) { return (one->*predicate)(); };
        for (double seconds = 0; seconds < kPatienceSeconds; seconds += kSlice) {
            if (std::all_of(subjects.begin(), subjects.end(), fits)) break;
            if (!receive(kSlice)) return false;
        }
        return !interrupted();
    }

    void forgetEvents(const Subjects& subjects, int64_t startNs) {
        for (Subject* subject : subjects) {
            subject->observed = {startNs, subject->observed.lastNs};
        }
    }

    /** Whether the switch has reached the hub since the last takeCalls(). */
    bool switched(int32_t handle, bool on) {
        const std::vector<FileCall> calls = mProxy.takeCalls();
        return std::any_of(calls.begin(), calls.end(),
                           [&](const FileCall& call) { return isSwitch(call, handle, on); });
    }

    void activate(Subject& subject, bool on) {
        mProxy.takeCalls();
        const Result result = mProxy.activate(subject.handle(), on);
        subject.count(on ? "activate" : "deactivate", result);
        const bool sent = !mHubSeen || switched(subject.handle(), on);
        if (result == Result::OK) ++subject.switches;
        if (result == Result::OK && !sent) subject.unsent = on ? "switched on" : "switched off";
        subject.on = on && sent && result == Result::OK && subject.refused.empty();
    }

    /** From now on the sensor is observed. */
    void batch(Subject& subject, int64_t periodNs, int64_t latencyNs = 0) {
        const int64_t before = subject.on ? subject.grantedNs() + kFollowNs : 0;
        subject.count("batch", mProxy.batch(subject.handle(), periodNs, latencyNs));
        forgetEvents({&subject}, hubNowNs() + before);
        subject.observed.periodNs = periodNs;
    }

    void start(const Subjects& subjects, int64_t latencyNs = 0) {
        mProxy.events().drain([](const ReceivedEvent&) {});
        for (Subject* subject : subjects) {
            batch(*subject, kMiddlePeriodNs, latencyNs);
            activate(*subject, true);
        }
    }

    void stop(const Subjects& subjects) {
        for (Subject* subject : subjects) {
            activate(*subject, false);
        }
    }

    /** A rule that the library is known to break, for all sensors alike. */
    void judgeKnown(const char* rule, Tally& broken) {
        if (broken.empty()) return;
        mLibrary.judge(
            broken[true] == 0, rule,
            "kept " + counted(broken[false], "time") + ", broken " + counted(broken[true], "time"),
            broken[false] > 0 ? Verdict::kFail : Verdict::kKnown);
    }

    /** So that each rule has a result for what it applies to. */
    void skipRest() {
        for (const Rule& rule : kRules) {
            const bool hidden = !mHubSeen && std::strstr(rule.need.text, "--sim") != nullptr;
            const char* why = hidden ? "needs --sim or --trace" : "nothing to judge it by";
            if (rule.need.isFor == nullptr) mLibrary.skip(rule.name, why);
            for (const Subject* subject : chosen(rule.need.isFor)) {
                const bool failed = !subject->timely && subject->heard;
                const char* own = failed ? "its time stamps or its rate prove nothing" : why;
                if (!subject->refused.empty()) own = "a request was refused";
                subject->skip(rule.name, hidden ? why : own);
            }
        }
    }

    void checkLists() {
        std::string file;
        readFile(kSpecPath, &file);
        file.resize(std::min<size_t>(file.size(), 4096));  // as the library reads it
        const auto specs = simulator::decodeSpecs(file);
        checkNamesDistinct(mProxy.sensors(), mLibrary);
        for (const Subject& subject : mSubjects) {
            subject.checkListing(specs);
        }
    }

    void checkUnknownHandles() {
        using android::hardware::sensors::V1_0::OperationMode;
        ISensorsSubHal& subHal = mProxy.subHal();
        std::string taken;
        int requests = 0;
        for (const int32_t handle : {INT32_MIN, -1, 0, 3, 72, 73, 1000, INT32_MAX}) {
            if (!findSensors(mProxy.sensors(), std::to_string(handle)).empty()) continue;
            Event event{};
            event.sensorHandle = handle;
            for (const Result result :
                 {Result(subHal.activate(handle, true)),
                  Result(subHal.batch(handle, kMiddlePeriodNs, 0)), Result(subHal.flush(handle)),
                  Result(subHal.injectSensorData(event))}) {
                ++requests;
                if (result != Result::BAD_VALUE) taken += " " + std::to_string(handle);
            }
            subHal.activate(handle, false);
        }
        mLibrary.expect("unknown-handles", taken.empty() ? "" : "not refused:" + taken,
                        counted(requests, "request") + " refused");

        const Result mode = subHal.setOperationMode(OperationMode::NORMAL);
        mLibrary.judge(mode == Result::OK, "operation-mode", resultName(mode),
                       mode == Result::BAD_VALUE ? Verdict::kKnown : Verdict::kFail);
    }

    /** The period that reaches the hub, 0 for none. */
    int64_t periodAtHub(Subject& subject, int64_t periodNs) {
        constexpr size_t kPeriodAt = 8;
        int64_t hubNs = 0;
        mProxy.takeCalls();
        batch(subject, periodNs);
        for (const FileCall& call : mProxy.takeCalls()) {
            if (call.path != kBatchPath || call.bytes.size() < kPeriodAt + sizeof(hubNs)) continue;
            std::memcpy(&hubNs, call.bytes.data() + kPeriodAt, sizeof(hubNs));
        }
        return hubNs;
    }

    void checkPeriods() {
        Tally broken;
        for (Subject* subject : mHubSeen ? chosen(&Subject::periodic) : Subjects{}) {
            const int64_t shortestNs = subject->sensor.minDelay * int64_t{1000};
            const int64_t longestNs = subject->sensor.maxDelay * int64_t{1000};
            const int64_t periodNs = periodAtHub(*subject, shortestNs / 2);
            const int64_t longNs = periodAtHub(*subject, longestNs * 2);
            if (periodNs == 0 || longNs == 0) continue;  // the hub was not asked
            subject->judge(periodNs >= shortestNs, "shortest-period",
                           formatted("%" PRId64 " ns of %" PRId64 " ns", periodNs, shortestNs));
            if (longestNs >= shortestNs) ++broken[longNs > longestNs];
        }
        judgeKnown("longest-period", broken);
    }

    /** Long enough for the first events of each, within reason. */
    double phaseOf(const Subjects& subjects, double seconds) const {
        for (const Subject* subject : subjects) {
            seconds = std::max(seconds, kPeriodsOfSlowest * inSeconds(subject->grantedNs()));
        }
        return std::min(seconds, std::max(mOptions.seconds, kLongestSlowSeconds));
    }

    void checkMiddle() {
        mProgress.show("all sensors on");
        const auto subjects = chosen(&Subject::any);
        start(subjects);
        if (!receive(phaseOf(subjects, mOptions.seconds))) return;
        if (!receiveUntil(chosen(&Subject::reportsByItself), &Subject::reported)) return;
        for (Subject* subject : chosen(&Subject::isOn)) {
            subject->checkFirstEvent();
            subject->timely = subject->checkTimestamps(0);
            if (subject->rated()) subject->timely = subject->checkRate();
            subject->checkEvents();
        }
    }

    /** The sensors are on. */
    void checkFlushes() {
        mProgress.show("flushes");
        const auto subjects = chosen(&Subject::isOn);
        std::map<const Subject*, Result> results;  // the last, or one that is not as wanted
        for (const Subject* subject : subjects) {
            for (int i = 0; i < std::max(1, subject->flushes()); ++i) {
                const Result result = mProxy.flush(subject->handle());
                if (i == 0 || result != subject->flushResult()) results[subject] = result;
            }
        }
        if (!receiveUntil(subjects, &Subject::flushed) || !receive(kSettleSeconds)) return;
        for (const Subject* subject : subjects) {
            const Observed& observed = subject->observed;
            const int wanted = subject->flushes();
            const bool known = subject->handle() == kStampHandle && observed.completions > wanted;
            const Result result = results[subject];
            const bool shown = subject->oneShot() || result != Result::OK;
            subject->judge(observed.completions == wanted && result == subject->flushResult(),
                           "flush",
                           formatted("%d completions of %d", observed.completions, wanted) +
                               (shown ? ", " + resultName(result) : ""),
                           known ? Verdict::kKnown : Verdict::kFail);
            if (observed.completions > 0 || !observed.events.empty() || observed.stale > 0) {
                subject->expect("event-kind", observed.foreignKinds, "its own");
            }
        }
    }

    /** The sensors are on, and go on at another rate. */
    void checkRates(bool fastest) {
        const auto period = [fastest](const SensorInfo& sensor) {
            if (fastest) return sensor.minDelay * int64_t{500};
            return std::max(sensor.minDelay, sensor.maxDelay) * int64_t{1000};
        };
        const auto subjects = chosen(&Subject::rated);
        if (subjects.empty()) return;
        mProgress.show(fastest ? "fastest rates" : "slowest rates");
        for (Subject* subject : subjects) {
            batch(*subject, period(subject->sensor));
        }
        if (!receive(phaseOf(subjects, mOptions.seconds) + inSeconds(kFollowNs))) return;
        for (const Subject* subject : subjects) {
            if (subject->observed.notRising > 0) subject->checkTimestamps(0);
            subject->checkRate();
        }
    }

    void checkFastest() { checkRates(true); }
    void checkSlowest() { checkRates(false); }

    void checkSilence() {
        mProgress.show("all sensors off");
        const auto subjects = chosen(&Subject::any);
        stop(subjects);
        if (!receive(kSettleSeconds)) return;
        const double seconds = phaseOf(subjects, std::max(kSilenceSeconds, mOptions.seconds));
        forgetEvents(subjects, 0);
        if (!receive(seconds)) return;
        Tally broken;
        for (const Subject* subject : subjects) {
            const size_t events = subject->observed.events.size();
            if (subject->heard) {
                subject->judge(events == 0, "silent-when-off",
                               counted(events, "event") + formatted(" in %.1f s", seconds));
            }
            if (subject->oneShot()) continue;
            ++broken[mProxy.flush(subject->handle()) != Result::BAD_VALUE];
        }
        judgeKnown("flush-when-off", broken);
    }

    void checkBatches() {
        const int64_t latencyNs =
            std::max(kShortestLatencyNs, static_cast<int64_t>(mOptions.seconds * 1e9 / 2));
        int64_t longestNs = 0;
        Subjects subjects;
        for (Subject* subject : chosen(&Subject::restartable)) {
            const int64_t periodNs = grantedPeriodNs(subject->sensor, kMiddlePeriodNs);
            const uint32_t fifo = subject->sensor.fifoMaxEventCount;
            if (fifo * periodNs > 2 * latencyNs) {
                longestNs = std::max(longestNs, periodNs);
                subjects.push_back(subject);
            } else {
                subject->skip("batching",
                              formatted("a FIFO of %" PRIu32 " holds no more than twice %.3g s",
                                        fifo, inSeconds(latencyNs)));
            }
        }
        if (subjects.empty()) return;
        mProgress.show("batches");
        stop(subjects);
        start(subjects, latencyNs);
        // Three whole batches, and the flush while the fourth is held back.
        receive(3.7 * inSeconds(latencyNs) + 3.0 * inSeconds(longestNs));
        const int64_t flushedNs = hubNowNs();
        for (const Subject* subject : subjects) {
            mProxy.flush(subject->handle());
        }
        const bool finished =
            receiveUntil(subjects, &Subject::completed) && receive(kSilenceSeconds);
        stop(subjects);
        if (!finished) return;
        for (Subject* subject : subjects) {
            subject->timely = !subject->reported() || subject->checkTimestamps(latencyNs);
            if (subject->timely) subject->checkBatching(latencyNs, flushedNs);
        }
        start(subjects);
    }

    void checkDirectLevel(const Subject& subject, const DirectLevel& level) {
        SharedMemory memory(kDirectRecords * sizeof(sensors_event_t));
        if (!memory.ok()) return subject.skip("direct-records", "no shared memory");
        memory.fill('\x55');
        ClientChannel channel(mProxy, subject.handle());
        const Result registered = channel.registerMemory(memory);
        const bool zeroed = memory.allZero();
        const auto report = channel.setRate(level.level);
        if (registered != Result::OK || report.result != Result::OK) {
            return subject.judge(
                false, "direct-token",
                formatted("%s: register: %s, configure: %s", level.name,
                          resultName(registered).c_str(), resultName(report.result).c_str()));
        }
        const int64_t startNs = hubNowNs() + kFollowNs;
        const double seconds = std::clamp(kPeriodsOfSlowest * subject.sensor.minDelay / 1e6,
                                          std::min(mOptions.seconds, 5.0), kLongestSlowSeconds);
        if (!receive(seconds + inSeconds(kFollowNs))) return;
        channel.setRate(RateLevel::STOP);
        subject.judge(report.value > 0, "direct-token",
                      formatted("%s: %" PRId32, level.name, report.value));
        subject.checkDirectRecords(level, memory, startNs);
        if (mHubSeen && memory.record(0).reserved0 != 0) {
            const bool stopped = switched(subject.handle(), false);
            subject.judge(stopped, "direct-stop",
                          formatted("%s: %s", level.name, stopped ? "off" : "on"), Verdict::kKnown);
        }
        channel.unregister();
        subject.judge(zeroed && memory.allZero(), "direct-memory",
                      formatted("%s: %szeroed at first, %szeroed at last", level.name,
                                zeroed ? "" : "not ", memory.allZero() ? "" : "not "));
    }

    void checkDirect() {
        for (const Subject& subject : mSubjects) {
            if (subject.direct()) {
                mProgress.show("direct channels of " + subject.label);
                for (const DirectLevel& level : kDirectLevels) {
                    if (!interrupted()) checkDirectLevel(subject, level);
                }
                continue;
            }
            SharedMemory memory(kSmallRecords * sizeof(sensors_event_t));
            ClientChannel channel(mProxy, subject.handle());
            if (!memory.ok() || channel.registerMemory(memory) != Result::OK) continue;
            const Result result = channel.setRate(RateLevel::NORMAL).result;
            subject.judge(result == Result::BAD_VALUE, "direct-refused", resultName(result));
        }
    }

    void checkInjection() {
        Tally broken;
        for (const Subject& subject : mSubjects) {
            if (subject.handle() == simulator::kContextHandle) continue;  // takes messages instead
            Event event{};
            event.sensorHandle = subject.handle();
            event.sensorType = subject.sensor.type;
            ++broken[mProxy.subHal().injectSensorData(event) == Result::OK];
        }
        judgeKnown("injection-mode", broken);
    }

    /** As a restarted sensors service does, with a sensor on and a channel registered. */
    void checkInitializeAgain() {
        const auto direct = chosen(&Subject::direct);
        const auto running = chosen(&Subject::restartable);
        const SharedMemory memory(kSmallRecords * sizeof(sensors_event_t));
        ClientChannel channel(mProxy, direct.empty() ? 0 : direct.front()->handle());
        if (!direct.empty()) channel.registerMemory(memory);
        start(running);
        receiveUntil(running, &Subject::reported);
        const auto reports = [](const Subject* one) { return one->reported(); };
        const bool heard = std::any_of(running.begin(), running.end(), reports);
        const double seconds = phaseOf(running, kSilenceSeconds);
        const Result result = mProxy.initializeAgain();
        const Result stale =
            direct.empty() ? Result::BAD_VALUE : channel.setRate(RateLevel::NORMAL).result;
        forgetEvents(running, hubNowNs());
        const bool finished = receive(seconds);
        const bool silent = std::none_of(running.begin(), running.end(), reports);
        stop(running);
        if (!finished) return;
        mLibrary.judge(result == Result::OK && stale == Result::BAD_VALUE, "initialize-again",
                       resultName(result) +
                           (direct.empty() ? "" : "; an earlier channel: " + resultName(stale)));
        if (!heard) return;
        mLibrary.judge(silent, "initialize-sensors", silent ? "all off" : "as they were",
                       Verdict::kKnown);
    }

    /** All requests and events so far. */
    void checkRequests() {
        for (const Subject& subject : mSubjects) {
            subject.expect("activate", subject.refused, counted(subject.requests, "request"));
            if (!mHubSeen || subject.switches == 0) continue;
            const std::string& unsent = subject.unsent;
            subject.expect("hub-switch", unsent.empty() ? "" : "not " + unsent + " at the hub",
                           formatted("%d accepted", subject.switches));
        }
        std::string strangers;
        for (const int32_t handle : mStrangers) {
            strangers += " " + std::to_string(handle);
        }
        if (mEvents == 0) return;
        mLibrary.expect("handles", strangers.empty() ? "" : "events of" + strangers,
                        counted(mEvents, "event"));
    }

    Proxy& mProxy;
    const CheckOptions& mOptions;
    CheckReport mReport;
    Results mLibrary;
    const bool mHubSeen;  // what the library requests from the hub
    Progress mProgress;
    std::vector<Subject> mSubjects;
    size_t mEvents = 0;
    std::set<int32_t> mStrangers;  // handles of events from sensors not under test
};

}  // namespace

ExitCode runCheck(Proxy& proxy, const CheckOptions& options) {
    if (options.list) {
        for (const Rule& rule : kRules) {
            print("%-18s %-42s %s\n", rule.name, rule.need.text, rule.text);
        }
        return kOk;
    }
    const bool hubSeen = proxy.options().hub.sim || proxy.options().trace;
    if (hubSeen) proxy.keepCalls();
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Check(proxy, options, hubSeen).run();
}

}  // namespace subhalctl
