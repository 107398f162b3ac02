#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <functional>
#include <map>
#include <set>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/judging/CheckReport.h"
#include "tools/subhalctl/judging/CheckRules.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kMiddlePeriodNs = 20'000'000;
constexpr int64_t kShortestLatencyNs = 250'000'000;  // beside which a busy machine's delays are few
constexpr int32_t kStampHandle = 49;  // reports a moment by each record, and nothing else
constexpr int kFlushes = 3;
constexpr double kPatienceSeconds = 3;
constexpr double kSettleSeconds = 0.1;  // for what is on its way when a sensor is switched off
constexpr double kSilenceSeconds = 0.3;
constexpr double kLongestSlowSeconds = 10;
constexpr double kPeriodsOfSlowest = 3.2;
constexpr size_t kDirectRecords = 4096;
constexpr char kHubUnseen[] = "what reaches the hub is seen with --sim or --trace only";

/** A sensor under test. */
struct Subject {
    const SensorInfo* sensor;
    Results results;
    Observed observed{};
    bool on = false;     // so that its events can be judged
    bool timely = true;  // so that its time stamps can
    int requests = 0;
    std::string refused{};
    std::string unsent{};  // what was accepted and has not reached the hub

    int32_t handle() const { return sensor->sensorHandle; }
    bool continuous() const {
        return reportingMode(*sensor) == SensorFlagBits::CONTINUOUS_MODE && sensor->minDelay > 0;
    }
    bool oneShot() const { return reportingMode(*sensor) == SensorFlagBits::ONE_SHOT_MODE; }
    bool rated() const { return on && timely && continuous(); }
};

class Check {
  public:
    Check(Proxy& proxy, const CheckOptions& options, bool hubSeen)
        : mProxy(proxy),
          mOptions(options),
          mReport(options.format, proxy.options().quiet),
          mLibrary{&mReport, "library"},
          mHubSeen(hubSeen),
          mProgress(!proxy.options().quiet) {}

    ExitCode run();

  private:
    using Subjects = std::vector<Subject*>;
    using PeriodOf = std::function<int64_t(const SensorInfo&)>;

    ExitCode select();
    bool receive(double seconds);
    bool receiveUntil(const std::function<bool()>& enough);
    bool switched(int32_t handle, bool on);
    void count(Subject& subject, const char* request, Result result);
    void activate(Subject& subject, bool on);
    void batch(Subject& subject, int64_t periodNs, int64_t latencyNs = 0);
    void start(const Subjects& subjects, int64_t latencyNs = 0);
    void stop(const Subjects& subjects);
    Subjects chosen(const std::function<bool(const Subject&)>& predicate);
    Subjects all() {
        return chosen([](const Subject&) { return true; });
    }
    void judgeKnown(const char* rule, size_t kept, size_t broken);

    // Each ends early, without a judgement on what is unfinished, when the verb is to end.
    void checkLists();
    void checkUnknownHandles();
    void checkPeriods();
    void checkMiddle();
    void checkFlushes();
    void checkRates(const char* what, const PeriodOf& period);
    void checkFastest();
    void checkSlowest();
    void checkSilence();
    void checkBatches();
    void checkDirect();
    void checkDirectLevel(const Subject& subject, const DirectLevel& level);
    void checkInjection();
    void checkInitializeAgain();
    void checkRequests();

    Proxy& mProxy;
    const CheckOptions& mOptions;
    CheckReport mReport;
    Results mLibrary;
    const bool mHubSeen;  // what the library asks of the hub
    Progress mProgress;
    std::vector<Subject> mSubjects;
    size_t mEvents = 0;
    std::set<int32_t> mStrangers;  // handles whose events came all the same
};

ExitCode Check::select() {
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
        mSubjects.push_back({&sensor, {&mReport, label}});
    }
    return kOk;
}

Check::Subjects Check::chosen(const std::function<bool(const Subject&)>& predicate) {
    Subjects subjects;
    for (Subject& subject : mSubjects) {
        if (predicate(subject)) subjects.push_back(&subject);
    }
    return subjects;
}

/** Gives each sensor what comes from it. False when the verb is to end. */
bool Check::receive(double seconds) {
    mProxy.events().receiveFor(seconds, [this](const ReceivedEvent& received) {
        ++mEvents;
        bool ours = false;
        for (Subject& subject : mSubjects) {
            if (subject.handle() != received.event.sensorHandle) continue;
            subject.observed.add(*subject.sensor, received);
            ours = true;
        }
        if (!ours) mStrangers.insert(received.event.sensorHandle);
        return false;
    });
    mProxy.takeCalls();  // of these nothing is wanted
    const int64_t now = hubNowNs();
    for (Subject& subject : mSubjects) {
        subject.observed.endNs = now;
    }
    mProgress.clear();
    return !interrupted();
}

bool Check::receiveUntil(const std::function<bool()>& enough) {
    constexpr double kSlice = 0.02;
    for (double seconds = 0; seconds < kPatienceSeconds && !enough(); seconds += kSlice) {
        if (!receive(kSlice)) return false;
    }
    return !interrupted();
}

/** Whether the hub was asked for it since the last look at its calls. */
bool Check::switched(int32_t handle, bool on) {
    const std::string text = std::to_string(handle) + (on ? "1" : "0");
    bool found = false;
    for (const FileCall& call : mProxy.takeCalls()) {
        found |= call.kind == FileCall::Kind::kWrite && call.path == kEnablePath &&
                 text == call.bytes.c_str();  // a NUL ends it
    }
    return found;
}

void Check::count(Subject& subject, const char* request, Result result) {
    ++subject.requests;
    if (result != Result::OK)
        subject.refused += std::string(" ") + request + ": " + resultName(result);
}

void Check::activate(Subject& subject, bool on) {
    mProxy.takeCalls();
    const Result result = mProxy.activate(subject.handle(), on);
    count(subject, on ? "activate" : "deactivate", result);
    const bool sent = !mHubSeen || switched(subject.handle(), on);
    if (result == Result::OK && !sent) subject.unsent = on ? "switched on" : "switched off";
    subject.on = on && sent && result == Result::OK && subject.refused.empty();
}

/** From now on the sensor is observed. */
void Check::batch(Subject& subject, int64_t periodNs, int64_t latencyNs) {
    const int64_t before =
        subject.on ? grantedPeriodNs(*subject.sensor, subject.observed.periodNs) : 0;
    count(subject, "batch", mProxy.batch(subject.handle(), periodNs, latencyNs));
    subject.observed = {};
    subject.observed.periodNs = periodNs;
    subject.observed.startNs = hubNowNs() + before;
}

void Check::start(const Subjects& subjects, int64_t latencyNs) {
    mProxy.events().drain([](const ReceivedEvent&) {});
    for (Subject* subject : subjects) {
        batch(*subject, kMiddlePeriodNs, latencyNs);
        activate(*subject, true);
    }
}

void Check::stop(const Subjects& subjects) {
    for (Subject* subject : subjects) {
        activate(*subject, false);
    }
}

/** A rule that the library is known to break, for all sensors alike. */
void Check::judgeKnown(const char* rule, size_t kept, size_t broken) {
    const std::string figures = formatted("kept %zu times, broken %zu times", kept, broken);
    if (kept > 0 && broken > 0) return mLibrary.judge(false, rule, figures);
    if (kept + broken > 0)
        mLibrary.add(broken > 0 ? Verdict::kKnown : Verdict::kPass, rule, figures);
}

void Check::checkLists() {
    std::map<int, simulator::SensorSpec> specs;
    std::string file(4096, '\0');  // what the library reads of it
    const int fd = open(kSpecPath, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        file.resize(static_cast<size_t>(std::max<ssize_t>(read(fd, file.data(), file.size()), 0)));
        close(fd);
        for (const simulator::SensorSpec& spec : simulator::decodeSpecs(file)) {
            specs.emplace(spec.handle, spec);
        }
    }
    checkNamesDistinct(mProxy.sensors(), mLibrary);
    for (const Subject& subject : mSubjects) {
        checkListing(*subject.sensor, specs, subject.results);
    }
}

void Check::checkUnknownHandles() {
    using android::hardware::sensors::V1_0::OperationMode;
    ISensorsSubHal& subHal = mProxy.subHal();
    std::set<int32_t> known;
    for (const SensorInfo& sensor : mProxy.sensors()) {
        known.insert(sensor.sensorHandle);
    }
    std::string taken;
    int asked = 0;
    for (const int32_t handle : {INT32_MIN, -1, 0, 3, 72, 73, 1000, INT32_MAX}) {
        if (known.count(handle) != 0) continue;
        Event event{};
        event.sensorHandle = handle;
        const Result results[] = {subHal.activate(handle, true),
                                  subHal.batch(handle, kMiddlePeriodNs, 0), subHal.flush(handle),
                                  subHal.injectSensorData(event)};
        for (const Result result : results) {
            ++asked;
            if (result != Result::BAD_VALUE) taken += " " + std::to_string(handle);
        }
        subHal.activate(handle, false);
    }
    mLibrary.judge(
        taken.empty(), "unknown-handles",
        taken.empty() ? formatted("%d requests refused", asked) : "not refused:" + taken);

    const Result mode = subHal.setOperationMode(OperationMode::NORMAL);
    const Verdict verdict = mode == Result::BAD_VALUE ? Verdict::kKnown : Verdict::kFail;
    mLibrary.add(mode == Result::OK ? Verdict::kPass : verdict, "operation-mode", resultName(mode));
}

void Check::checkPeriods() {
    const auto subjects = chosen([](const Subject& subject) { return subject.continuous(); });
    if (subjects.empty()) return;
    if (!mHubSeen) {
        mLibrary.skip("shortest-period", kHubUnseen);
        return mLibrary.skip("longest-period", kHubUnseen);
    }
    // The period that reaches the hub, 0 for none.
    const auto asked = [this](Subject& subject, int64_t periodNs) {
        constexpr size_t kPeriodAt = 8;
        int64_t hubNs = 0;
        mProxy.takeCalls();
        batch(subject, periodNs);
        for (const FileCall& call : mProxy.takeCalls()) {
            if (call.path != kBatchPath || call.bytes.size() < kPeriodAt + sizeof(hubNs)) continue;
            std::memcpy(&hubNs, call.bytes.data() + kPeriodAt, sizeof(hubNs));
        }
        return hubNs;
    };
    size_t kept = 0;
    size_t broken = 0;
    for (Subject* subject : subjects) {
        const int64_t shortestNs = subject->sensor->minDelay * int64_t{1000};
        const int64_t longestNs = subject->sensor->maxDelay * int64_t{1000};
        const int64_t periodNs = asked(*subject, shortestNs / 2);
        subject->results.judge(periodNs >= shortestNs, "shortest-period",
                               formatted("%" PRId64 " ns of %" PRId64 " ns", periodNs, shortestNs));
        ++(asked(*subject, longestNs * 2) <= longestNs ? kept : broken);
    }
    judgeKnown("longest-period", kept, broken);
}

void Check::checkMiddle() {
    mProgress.show("all sensors on");
    start(all());
    double seconds = mOptions.seconds;
    for (const Subject& subject : mSubjects) {  // the first events of the slow ones take longer
        const int64_t periodNs = grantedPeriodNs(*subject.sensor, kMiddlePeriodNs);
        seconds = std::max(seconds, kPeriodsOfSlowest * static_cast<double>(periodNs) / 1e9);
    }
    if (!receive(std::min(seconds, std::max(mOptions.seconds, kLongestSlowSeconds)))) return;
    for (Subject* subject : chosen([](const Subject& one) { return one.on; })) {
        const SensorInfo& sensor = *subject->sensor;
        checkFirstEvent(sensor, subject->observed, subject->results);
        if (!checkTimestamps(sensor, subject->observed, 0, subject->results))
            subject->timely = false;
        if (subject->rated()) checkRate(sensor, subject->observed, subject->results);
        checkEvents(sensor, subject->observed, subject->results);
        checkMode(sensor, subject->observed, subject->results);
    }
}

/** The sensors are on. */
void Check::checkFlushes() {
    mProgress.show("flushes");
    const auto subjects = chosen([](const Subject& subject) { return subject.on; });
    std::map<const Subject*, std::string> refused;
    for (Subject* subject : subjects) {
        for (int i = 0; i < (subject->oneShot() ? 1 : kFlushes); ++i) {
            const Result result = mProxy.flush(subject->handle());
            const Result wanted = subject->oneShot() ? Result::BAD_VALUE : Result::OK;
            if (result != wanted) refused[subject] = ", " + resultName(result);
        }
    }
    const auto complete = [&] {
        return std::all_of(subjects.begin(), subjects.end(), [](const Subject* subject) {
            return subject->oneShot() || subject->observed.completions >= kFlushes;
        });
    };
    if (!receiveUntil(complete) || !receive(kSettleSeconds)) return;
    for (const Subject* subject : subjects) {
        const Observed& observed = subject->observed;
        const int wanted = subject->oneShot() ? 0 : kFlushes;
        const bool known = subject->handle() == kStampHandle && observed.completions > wanted;
        const bool right = observed.completions == wanted && refused.count(subject) == 0;
        subject->results.add(
            known ? Verdict::kKnown : (right ? Verdict::kPass : Verdict::kFail), "flush",
            formatted("%d completions of %d", observed.completions, wanted) + refused[subject]);
        subject->results.judge(observed.foreignKinds.empty(), "event-kind",
                               observed.foreignKinds.empty() ? "its own" : observed.foreignKinds);
    }
}

/** The sensors are on, and go on at another rate. */
void Check::checkRates(const char* what, const PeriodOf& period) {
    constexpr double kNsPerSecond = 1e9;
    double seconds = mOptions.seconds;
    Subjects subjects;
    for (Subject* subject : chosen([](const Subject& one) { return one.rated(); })) {
        const int64_t periodNs = grantedPeriodNs(*subject->sensor, period(*subject->sensor));
        const double needed = kPeriodsOfSlowest * static_cast<double>(periodNs) / kNsPerSecond;
        if (needed > std::max(mOptions.seconds, kLongestSlowSeconds)) {
            subject->results.skip("rate", std::string(what) + " take longer than --seconds");
            continue;
        }
        seconds = std::max(seconds, needed);
        subjects.push_back(subject);
    }
    if (subjects.empty()) return;
    mProgress.show(what);
    for (Subject* subject : subjects) {
        batch(*subject, period(*subject->sensor));
    }
    if (!receive(seconds)) return;
    for (const Subject* subject : subjects) {
        checkRate(*subject->sensor, subject->observed, subject->results);
    }
}

void Check::checkFastest() {
    checkRates("fastest rates",
               [](const SensorInfo& sensor) { return sensor.minDelay * int64_t{500}; });
}

void Check::checkSlowest() {
    checkRates("slowest rates",
               [](const SensorInfo& sensor) { return sensor.maxDelay * int64_t{1000}; });
}

void Check::checkSilence() {
    mProgress.show("all sensors off");
    stop(all());
    if (!receive(kSettleSeconds)) return;
    for (Subject& subject : mSubjects) {
        subject.observed = {};
    }
    if (!receive(kSilenceSeconds)) return;
    size_t kept = 0;
    size_t broken = 0;
    for (const Subject& subject : mSubjects) {
        subject.results.judge(
            subject.observed.events.empty(), "silent-when-off",
            formatted("%zu events in %.1f s", subject.observed.events.size(), kSilenceSeconds));
        if (subject.oneShot()) continue;
        ++(mProxy.flush(subject.handle()) == Result::BAD_VALUE ? kept : broken);
    }
    judgeKnown("flush-when-off", kept, broken);
}

void Check::checkBatches() {
    const int64_t latencyNs =
        std::max(kShortestLatencyNs, static_cast<int64_t>(mOptions.seconds * 1e9 / 2));
    int64_t longestNs = 0;
    const auto subjects = chosen([&](const Subject& subject) {
        if (!subject.continuous()) return false;
        const int64_t periodNs = grantedPeriodNs(*subject.sensor, kMiddlePeriodNs);
        if (subject.sensor->fifoMaxEventCount * periodNs > 2 * latencyNs) {
            longestNs = std::max(longestNs, periodNs);
            return true;
        }
        subject.results.skip("batching", formatted("a FIFO of %" PRIu32 " does not hold %.1f s",
                                                   subject.sensor->fifoMaxEventCount,
                                                   static_cast<double>(latencyNs) / 1e9));
        return false;
    });
    if (subjects.empty()) return;
    mProgress.show("batches");
    start(subjects, latencyNs);
    // Three whole batches, and the flush while the fourth is held back.
    const double seconds =
        (3.7 * static_cast<double>(latencyNs) + 3.0 * static_cast<double>(longestNs)) / 1e9;
    bool finished = receive(seconds);
    const int64_t flushedNs = hubNowNs();
    for (const Subject* subject : subjects) {
        mProxy.flush(subject->handle());
    }
    finished = receive(kSilenceSeconds) && finished;
    stop(subjects);
    if (!finished) return;
    for (Subject* subject : subjects) {
        const Observed& observed = subject->observed;
        if (observed.events.empty()) continue;
        subject->timely = checkTimestamps(*subject->sensor, observed, latencyNs, subject->results);
        if (subject->timely) checkBatching(observed, latencyNs, flushedNs, subject->results);
    }
}

void Check::checkDirectLevel(const Subject& subject, const DirectLevel& level) {
    const SensorInfo& sensor = *subject.sensor;
    const Results& results = subject.results;
    SharedMemory memory(kDirectRecords * sizeof(sensors_event_t));
    if (!memory.ok()) return results.skip("direct-records", "no shared memory");
    memory.fill('\x55');
    const Off off(mProxy, sensor);
    ClientChannel channel(mProxy);
    const Result registered = channel.registerMemory(memory.fd(), memory.bytes());
    const bool zeroed = memory.allZero();
    const auto report = channel.setRate(sensor.sensorHandle, level.level);
    if (registered != Result::OK || report.result != Result::OK) {
        return results.judge(
            false, "direct-token",
            formatted("%s: register: %s, configure: %s", level.name, resultName(registered).c_str(),
                      resultName(report.result).c_str()));
    }
    const int64_t startNs = hubNowNs();  // earlier records may have another period
    // 4096 records are ten seconds of the fastest level.
    if (!receive(std::min(mOptions.seconds, 5.0))) return;
    mProxy.takeCalls();
    channel.setRate(sensor.sensorHandle, RateLevel::STOP);
    results.judge(report.value > 0, "direct-token",
                  formatted("%s: %" PRId32, level.name, report.value));
    checkDirectRecords(sensor, level, memory, startNs, results);
    if (mHubSeen) {
        const bool stopped = switched(sensor.sensorHandle, false);
        results.add(stopped ? Verdict::kPass : Verdict::kKnown, "direct-stop",
                    formatted("%s: %s", level.name, stopped ? "off" : "on"));
    } else {
        results.skip("direct-stop", kHubUnseen);
    }
    channel.unregister();
    results.judge(zeroed && memory.allZero(), "direct-memory",
                  formatted("%s: %szeroed at first, %szeroed at last", level.name,
                            zeroed ? "" : "not ", memory.allZero() ? "" : "not "));
}

void Check::checkDirect() {
    for (const Subject& subject : mSubjects) {
        const SensorInfo& sensor = *subject.sensor;
        if (canReportDirectly(sensor)) {
            mProgress.show("direct channels of " + subject.results.sensor);
            for (const DirectLevel& level : kDirectLevels) {
                if (!interrupted()) checkDirectLevel(subject, level);
            }
            continue;
        }
        SharedMemory memory(16 * sizeof(sensors_event_t));
        ClientChannel channel(mProxy);
        if (!memory.ok() || channel.registerMemory(memory.fd(), memory.bytes()) != Result::OK) {
            subject.results.skip("direct-refused", "no channel to try");
            continue;
        }
        const Result result = channel.setRate(sensor.sensorHandle, RateLevel::NORMAL).result;
        if (result == Result::OK) channel.setRate(sensor.sensorHandle, RateLevel::STOP);
        subject.results.judge(result == Result::BAD_VALUE, "direct-refused", resultName(result));
    }
}

void Check::checkInjection() {
    size_t kept = 0;
    size_t broken = 0;
    for (const Subject& subject : mSubjects) {
        if (subject.handle() == simulator::kContextHandle) continue;  // takes messages instead
        Event event{};
        event.sensorHandle = subject.handle();
        event.sensorType = subject.sensor->type;
        ++(mProxy.subHal().injectSensorData(event) == Result::OK ? broken : kept);
    }
    judgeKnown("injection-mode", kept, broken);
}

/** As a sensors service that starts anew does, with a sensor on and a channel registered. */
void Check::checkInitializeAgain() {
    const auto direct = chosen([](const Subject& one) { return canReportDirectly(*one.sensor); });
    const auto running = chosen([](const Subject& one) {
        return one.timely && one.refused.empty() &&
               (one.continuous() || canReportDirectly(*one.sensor));
    });
    SharedMemory memory(16 * sizeof(sensors_event_t));
    ClientChannel channel(mProxy);
    if (!direct.empty()) channel.registerMemory(memory.fd(), memory.bytes());
    start(running);
    const auto reporting = [&] {
        return std::all_of(running.begin(), running.end(),
                           [](const Subject* one) { return !one->observed.events.empty(); });
    };
    bool finished = receiveUntil(reporting);
    const Result result = mProxy.initializeAgain();
    const Result stale = direct.empty()
                             ? Result::BAD_VALUE
                             : channel.setRate(direct.front()->handle(), RateLevel::NORMAL).result;
    for (Subject* subject : running) {
        subject->observed = {};
        subject->observed.startNs = hubNowNs();
    }
    finished = receive(kSilenceSeconds) && finished;
    const bool silent = std::all_of(running.begin(), running.end(), [](const Subject* one) {
        return one->observed.events.empty();
    });
    stop(running);
    if (!finished) return;
    mLibrary.judge(
        result == Result::OK && stale == Result::BAD_VALUE, "initialize-again",
        resultName(result) + (direct.empty() ? "" : "; an earlier channel: " + resultName(stale)));
    if (running.empty()) return;
    mLibrary.add(silent ? Verdict::kPass : Verdict::kKnown, "initialize-sensors",
                 silent ? "all off" : "as they were");
}

/** Of all that was asked so far. */
void Check::checkRequests() {
    for (const Subject& subject : mSubjects) {
        subject.results.judge(
            subject.refused.empty(), "activate",
            subject.refused.empty() ? counted(subject.requests, "request") : subject.refused);
        if (!mHubSeen) {
            subject.results.skip("hub-switch", kHubUnseen);
        } else {
            subject.results.judge(
                subject.unsent.empty(), "hub-switch",
                subject.unsent.empty() ? "as asked" : "not " + subject.unsent + " at the hub");
        }
    }
    std::string strangers;
    for (const int32_t handle : mStrangers) {
        strangers += " " + std::to_string(handle);
    }
    mLibrary.judge(strangers.empty(), "handles",
                   strangers.empty() ? counted(mEvents, "event") : "events of" + strangers);
}

ExitCode Check::run() {
    const ExitCode selected = select();
    if (selected != kOk) return selected;
    mReport.begin();
    using Phase = void (Check::*)();
    for (const Phase phase :
         {&Check::checkLists, &Check::checkUnknownHandles, &Check::checkPeriods,
          &Check::checkBatches, &Check::checkMiddle, &Check::checkFlushes, &Check::checkFastest,
          &Check::checkSlowest, &Check::checkSilence, &Check::checkDirect, &Check::checkInjection,
          &Check::checkInitializeAgain, &Check::checkRequests}) {
        if (!interrupted()) (this->*phase)();
    }
    if (interrupted()) stop(all());
    mReport.end(interrupted());
    if (interrupted()) return kNoData;
    return mReport.failures() > 0 ? kCheckFailed : kOk;
}

void listRules() {
    for (const Rule& rule : checkRules()) {
        print("%-18s %-33s %s\n", rule.name, rule.needs, rule.text);
    }
}

}  // namespace

ExitCode runCheck(Proxy& proxy, const CheckOptions& options) {
    if (options.list) {
        listRules();
        return kOk;
    }
    const bool hubSeen = proxy.options().hub.own() || proxy.options().trace;
    if (hubSeen) proxy.keepCalls();
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Check(proxy, options, hubSeen).run();
}

}  // namespace subhalctl
