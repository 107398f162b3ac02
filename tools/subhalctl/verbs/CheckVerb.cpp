
#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <set>
#include <thread>

#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/KnownSensors.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/judging/CheckReport.h"
#include "tools/subhalctl/judging/CheckRules.h"
#include "tools/subhalctl/judging/Statistics.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/RingReader.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

constexpr int64_t kMiddlePeriodNs = 20'000'000;
constexpr int32_t kStampHandle = 49;  // tells a moment by each record, and nothing else
constexpr int kFlushes = 3;
constexpr double kFlushSeconds = 3;
constexpr double kSettleSeconds = 0.1;  // for what is on its way when a sensor is switched off
constexpr double kSilenceSeconds = 0.3;
constexpr double kLongestSlowSeconds = 10;
constexpr double kPeriodsOfSlowest = 3.2;
constexpr size_t kDirectRecords = 4096;

/** A sensor under test. */
struct Subject {
    const SensorInfo* sensor;
    Results results;
    Observed observed;

    bool continuous() const {
        return reportingMode(*sensor) == SensorFlagBits::CONTINUOUS_MODE && sensor->minDelay > 0;
    }
    bool oneShot() const { return reportingMode(*sensor) == SensorFlagBits::ONE_SHOT_MODE; }
};

class Check {
  public:
    Check(Proxy& proxy, const CheckOptions& options)
        : mProxy(proxy),
          mOptions(options),
          mReport(options.format, proxy.options().quiet),
          mLibrary{&mReport, "library"},
          mProgress(!proxy.options().quiet) {}

    ExitCode run();

  private:
    using Subjects = std::vector<Subject*>;

    ExitCode select();
    void receive(double seconds);
    void start(const Subjects& subjects, const std::function<int64_t(const SensorInfo&)>& period,
               int64_t latencyNs);
    void stop(const Subjects& subjects);
    Subjects chosen(const std::function<bool(const Subject&)>& predicate);

    void checkLists();
    void checkUnknownHandles();
    void checkRequests();
    void checkMiddle();
    void checkFlushes();
    void checkSilence();
    void checkFastest();
    void checkSlowest();
    void checkBatches();
    void checkDirect();
    void checkDirectLevel(Subject& subject, RateLevel level, const char* rule, double lowestHz,
                          double highestHz, const char* departure);
    void checkInitializeAgain();
    void checkInjection();

    Proxy& mProxy;
    const CheckOptions& mOptions;
    CheckReport mReport;
    Results mLibrary;
    Progress mProgress;
    std::vector<Subject> mSubjects;
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
        mSubjects.push_back({&sensor, {&mReport, label}, {}});
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

/** Gives each sensor what comes from it. */
void Check::receive(double seconds) {
    mProxy.events().receiveFor(seconds, [this](const ReceivedEvent& received) {
        for (Subject& subject : mSubjects) {
            if (subject.sensor->sensorHandle != received.event.sensorHandle) continue;
            subject.observed.add(received);
        }
        return false;
    });
    const int64_t now = hubNowNs();
    for (Subject& subject : mSubjects) {
        subject.observed.endNs = now;
    }
    mProgress.clear();
}

void Check::start(const Subjects& subjects, const std::function<int64_t(const SensorInfo&)>& period,
                  int64_t latencyNs) {
    mProxy.events().drain([](const ReceivedEvent&) {});
    for (Subject* subject : subjects) {
        subject->observed = {};
        subject->observed.periodNs = period(*subject->sensor);
        subject->observed.startNs = hubNowNs();
        const int32_t handle = subject->sensor->sensorHandle;
        const Result batched = mProxy.batch(handle, subject->observed.periodNs, latencyNs);
        const Result activated = mProxy.activate(handle, true);
        if (batched == Result::OK && activated == Result::OK) continue;
        subject->results.fail(
            "activate", "batch: " + resultName(batched) + ", activate: " + resultName(activated));
    }
}

void Check::stop(const Subjects& subjects) {
    for (Subject* subject : subjects) {
        const Result result = mProxy.activate(subject->sensor->sensorHandle, false);
        if (result == Result::OK) continue;
        subject->results.fail("deactivate", resultName(result));
    }
}

void Check::checkLists() {
    checkNamesDistinct(mProxy.sensors(), mLibrary);
    for (Subject& subject : mSubjects) {
        checkListing(*subject.sensor, subject.results);
    }
}

void Check::checkUnknownHandles() {
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
        ISensorsSubHal& subHal = mProxy.subHal();
        const Result results[] = {subHal.activate(handle, true),
                                  subHal.batch(handle, kMiddlePeriodNs, 0), subHal.flush(handle),
                                  subHal.injectSensorData(event)};
        for (const Result result : results) {
            ++asked;
            if (result != Result::BAD_VALUE) taken += " " + std::to_string(handle);
        }
        subHal.activate(handle, false);
    }
    mLibrary.judge(taken.empty(), "unknown-handles",
                   taken.empty() ? formatted("%d requests refused", asked)
                                 : "not answered by BAD_VALUE:" + taken);
}

void Check::checkRequests() {
    using android::hardware::sensors::V1_0::OperationMode;
    const Result mode = mProxy.subHal().setOperationMode(OperationMode::NORMAL);
    if (mode == Result::OK) {
        mLibrary.pass("operation-mode", "NORMAL is taken");
    } else if (mode == Result::BAD_VALUE) {
        mLibrary.onPurpose("operation-mode", "every mode is refused, the normal one too");
    } else {
        mLibrary.fail("operation-mode", resultName(mode));
    }
    mLibrary.onPurpose("longest-period", "periods beyond a sensor's maximum delay reach the hub");
}

void Check::checkMiddle() {
    const auto subjects = chosen([](const Subject&) { return true; });
    mProgress.show("all sensors on");
    start(
        subjects, [](const SensorInfo&) { return kMiddlePeriodNs; }, 0);
    double seconds = mOptions.seconds;
    for (const Subject* subject : subjects) {  // the first events of the slow ones take longer
        if (!subject->continuous()) continue;
        const auto periodNs = grantedPeriodNs(*subject->sensor, kMiddlePeriodNs);
        seconds = std::max(seconds, kPeriodsOfSlowest * static_cast<double>(periodNs) / 1e9);
    }
    receive(std::min(seconds, std::max(mOptions.seconds, kLongestSlowSeconds)));
    for (const Subject* subject : subjects) {
        const SensorInfo& sensor = *subject->sensor;
        checkFirstEvent(sensor, subject->observed, subject->results);
        if (subject->continuous()) {
            checkRate(sensor, subject->observed, "rate-middle", subject->results);
        }
        checkTimestamps(sensor, subject->observed, subject->results);
        checkValues(sensor, subject->observed, subject->results);
        checkWakelocks(sensor, subject->observed, subject->results);
        checkMode(sensor, subject->observed, subject->results);
    }
}

/** The sensors are on. */
void Check::checkFlushes() {
    mProgress.show("flushes");
    for (Subject& subject : mSubjects) {
        const int32_t handle = subject.sensor->sensorHandle;
        subject.observed.completions = 0;
        if (subject.oneShot()) {
            const Result result = mProxy.flush(handle);
            subject.results.judge(result == Result::BAD_VALUE, "flush",
                                  "a one-shot sensor's: " + resultName(result));
            continue;
        }
        for (int i = 0; i < kFlushes; ++i) {
            const Result result = mProxy.flush(handle);
            if (result != Result::OK) subject.results.fail("flush", resultName(result));
        }
    }
    const auto complete = [](const Subject& subject) {
        return subject.oneShot() || subject.observed.completions >= kFlushes;
    };
    const auto deadline = EventQueue::Clock::now() +
                          std::chrono::milliseconds(static_cast<int>(kFlushSeconds * 1000));
    while (!std::all_of(mSubjects.begin(), mSubjects.end(), complete) && !interrupted() &&
           EventQueue::Clock::now() < deadline) {
        receive(0.05);
    }
    receive(kSettleSeconds);
    for (const Subject& subject : mSubjects) {
        if (subject.oneShot()) continue;
        if (subject.sensor->sensorHandle == kStampHandle) {
            subject.results.onPurpose("flush", "each of its records is told as a completed flush");
            continue;
        }
        subject.results.judge(
            subject.observed.completions == kFlushes, "flush",
            formatted("%d completions of %d", subject.observed.completions, kFlushes));
    }
}

void Check::checkSilence() {
    mProgress.show("all sensors off");
    stop(chosen([](const Subject&) { return true; }));
    receive(kSettleSeconds);
    for (Subject& subject : mSubjects) {
        subject.observed = {};
    }
    receive(kSilenceSeconds);
    for (const Subject& subject : mSubjects) {
        subject.results.judge(
            subject.observed.events.empty(), "silent-when-off",
            formatted("%zu events in %.1f s", subject.observed.events.size(), kSilenceSeconds));
    }
    mLibrary.onPurpose("flush-when-off", "a sensor that is off can be flushed");
}

void Check::checkFastest() {
    const auto subjects = chosen([](const Subject& subject) { return subject.continuous(); });
    if (subjects.empty()) return;
    mProgress.show("fastest rates");
    start(
        subjects, [](const SensorInfo& sensor) { return sensor.minDelay * int64_t{1000}; }, 0);
    receive(mOptions.seconds);
    stop(subjects);
    for (const Subject* subject : subjects) {
        checkRate(*subject->sensor, subject->observed, "rate-fastest", subject->results);
    }
}

void Check::checkSlowest() {
    const auto subjects = chosen([](const Subject& subject) { return subject.continuous(); });
    if (subjects.empty()) return;
    double seconds = mOptions.seconds;
    for (const Subject* subject : subjects) {
        seconds = std::max(seconds, kPeriodsOfSlowest * subject->sensor->maxDelay / 1e6);
    }
    mProgress.show("slowest rates");
    start(
        subjects, [](const SensorInfo& sensor) { return sensor.maxDelay * int64_t{1000}; }, 0);
    receive(std::min(seconds, std::max(mOptions.seconds, kLongestSlowSeconds)));
    stop(subjects);
    for (const Subject* subject : subjects) {
        if (kPeriodsOfSlowest * subject->sensor->maxDelay / 1e6 >
            std::max(mOptions.seconds, kLongestSlowSeconds)) {
            subject->results.skip("rate-slowest", "takes longer than --seconds");
        } else {
            checkRate(*subject->sensor, subject->observed, "rate-slowest", subject->results);
        }
    }
}

void Check::checkBatches() {
    const auto latencyNs = static_cast<int64_t>(mOptions.seconds * 1e9 / 2);
    const auto subjects = chosen([&](const Subject& subject) {
        if (!subject.continuous()) return false;
        const int64_t periodNs = grantedPeriodNs(*subject.sensor, kMiddlePeriodNs);
        const bool holds = subject.sensor->fifoMaxEventCount * periodNs > 2 * latencyNs;
        if (!holds) {
            subject.results.skip("batching", formatted("a FIFO of %" PRIu32 " does not hold %.1f s",
                                                       subject.sensor->fifoMaxEventCount,
                                                       static_cast<double>(latencyNs) / 1e9));
        }
        return holds;
    });
    if (subjects.empty()) return;
    mProgress.show("batches");
    start(
        subjects, [](const SensorInfo&) { return kMiddlePeriodNs; }, latencyNs);
    receive(mOptions.seconds * 1.4);
    for (const Subject* subject : subjects) {  // what is still held back is to come now
        mProxy.flush(subject->sensor->sensorHandle);
    }
    receive(kSilenceSeconds);
    stop(subjects);
    for (const Subject* subject : subjects) {
        checkBatching(*subject->sensor, subject->observed, latencyNs, subject->results);
    }
}

void Check::checkDirectLevel(Subject& subject, RateLevel level, const char* rule, double lowestHz,
                             double highestHz, const char* departure) {
    const SensorInfo& sensor = *subject.sensor;
    SharedMemory memory(kDirectRecords * sizeof(sensors_event_t));
    if (!memory.ok()) return subject.results.skip(rule, "no shared memory");
    memory.fill('\x55');
    const Off off(mProxy, sensor);
    ClientChannel channel(mProxy);
    const Result registered = channel.registerMemory(memory.fd(), memory.bytes());
    const bool zeroed = memory.allZero();
    const Result configured = channel.setRate(sensor.sensorHandle, level);
    if (registered != Result::OK || configured != Result::OK) {
        return subject.results.fail(
            rule, "register: " + resultName(registered) + ", configure: " + resultName(configured));
    }
    receive(std::min(mOptions.seconds, 5.0));  // 4096 records are ten seconds of them
    channel.setRate(sensor.sensorHandle, RateLevel::STOP);
    RingCheck ring(sensor.sensorHandle, static_cast<int32_t>(sensor.type));
    IntervalStatistics intervals;
    for (size_t i = 0; i < memory.records(); ++i) {
        const sensors_event_t record = memory.record(i);
        if (record.reserved0 == 0) break;
        ring.add(record);
        intervals.add(record.timestamp);
    }
    channel.unregister();
    const bool clean = zeroed && memory.allZero() && ring.missed() == 0 && ring.torn() == 0;
    const std::string figures =
        formatted("%.1f Hz of %.1f to %.1f Hz, %" PRId64 " records, %" PRId64 " missed, %" PRId64
                  " torn, memory %s",
                  intervals.rateHz(), lowestHz, highestHz, ring.records(), ring.missed(),
                  ring.torn(), zeroed && memory.allZero() ? "zeroed" : "not zeroed");
    const bool inTime = intervals.rateHz() >= lowestHz && intervals.rateHz() <= highestHz;
    if (clean && !inTime && departure != nullptr && intervals.rateHz() >= 110) {
        return subject.results.onPurpose(rule, std::string(departure) + ": " + figures);
    }
    subject.results.judge(clean && inTime, rule, figures);
}

void Check::checkDirect() {
    for (Subject& subject : mSubjects) {
        const SensorInfo& sensor = *subject.sensor;
        if (canReportDirectly(sensor)) {
            mProgress.show("direct channels of " + subject.results.sensor);
            checkDirectLevel(subject, RateLevel::NORMAL, "direct-normal", 27.5, 110, nullptr);
            checkDirectLevel(subject, RateLevel::FAST, "direct-fast", 110, 440, nullptr);
            checkDirectLevel(subject, RateLevel::VERY_FAST, "direct-very-fast", 440, 1760,
                             "very fast is as fast as fast");
            subject.results.onPurpose("direct-stop",
                                      "a stopped report leaves the sensor on until its channel "
                                      "goes");
            continue;
        }
        SharedMemory memory(16 * sizeof(sensors_event_t));
        ClientChannel channel(mProxy);
        if (!memory.ok() || channel.registerMemory(memory.fd(), memory.bytes()) != Result::OK) {
            continue;
        }
        const Result result = channel.setRate(sensor.sensorHandle, RateLevel::NORMAL);
        if (result == Result::OK) channel.setRate(sensor.sensorHandle, RateLevel::STOP);
        subject.results.judge(result == Result::BAD_VALUE, "direct-refused",
                              "it declares no channels: " + resultName(result));
    }
}

void Check::checkInjection() {
    for (Subject& subject : mSubjects) {
        if (subject.sensor->sensorHandle == kContextHandle) continue;  // takes messages instead
        Event event{};
        event.sensorHandle = subject.sensor->sensorHandle;
        event.sensorType = subject.sensor->type;
        const Result result = mProxy.subHal().injectSensorData(event);
        subject.results.judge(result == Result::OK, "inject-nothing", resultName(result));
    }
    mLibrary.onPurpose("injection-mode",
                       "injected events are the hub's sub-commands, taken in any operation mode");
}

void Check::checkInitializeAgain() {
    const auto direct = std::find_if(mSubjects.begin(), mSubjects.end(), [](const Subject& one) {
        return canReportDirectly(*one.sensor);
    });
    if (direct == mSubjects.end()) {
        const Result result = mProxy.initializeAgain();
        mLibrary.judge(result == Result::OK, "initialize-again", resultName(result));
    } else {
        SharedMemory memory(16 * sizeof(sensors_event_t));
        const Off off(mProxy, *direct->sensor);
        ClientChannel channel(mProxy);
        channel.registerMemory(memory.fd(), memory.bytes());
        const Result result = mProxy.initializeAgain();
        const Result stale = channel.setRate(direct->sensor->sensorHandle, RateLevel::NORMAL);
        mLibrary.judge(result == Result::OK && stale == Result::BAD_VALUE, "initialize-again",
                       resultName(result) + "; an earlier channel: " + resultName(stale));
    }
    mLibrary.onPurpose("initialize-sensors", "sensors stay as the last proxy left them");
}

ExitCode Check::run() {
    const ExitCode selected = select();
    if (selected != kOk) return selected;
    mReport.begin();
    using Phase = void (Check::*)();
    for (const Phase phase :
         {&Check::checkLists, &Check::checkUnknownHandles, &Check::checkRequests,
          &Check::checkMiddle, &Check::checkFlushes, &Check::checkSilence, &Check::checkFastest,
          &Check::checkSlowest, &Check::checkBatches, &Check::checkDirect, &Check::checkInjection,
          &Check::checkInitializeAgain}) {
        if (interrupted()) break;
        (this->*phase)();
    }
    if (interrupted()) stop(chosen([](const Subject&) { return true; }));
    if (const size_t overflowed = mProxy.events().overflowed()) {
        mLibrary.fail("events-kept",
                      formatted("%zu came faster than they could be taken", overflowed));
    }
    mReport.end();
    if (mReport.failures() > 0) return kCheckFailed;
    return interrupted() ? kNoData : kOk;
}

}  // namespace

ExitCode runCheck(Proxy& proxy, const CheckOptions& options) {
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Check(proxy, options).run();
}

}  // namespace subhalctl
