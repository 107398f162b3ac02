#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <optional>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using Kind = FileCall::Kind;
using Level = Findings::Level;
using Calls = std::vector<FileCall>;

constexpr int64_t kPeriodNs = 20'000'000;
constexpr int64_t kLatencyNs = 100'000'000;
// The shortest forms of records that have several.
constexpr std::pair<int32_t, size_t> kShortest[] = {{2, 15}, {14, 20}, {34, 20}, {37, 12}};

bool isPath(const FileCall& call, Kind kind, const std::string& path) {
    return call.kind == kind && call.path == path;
}

/** The last call that fits, or null. */
template <typename Fits>
const FileCall* lastOf(const Calls& calls, Fits fits) {
    const auto found = std::find_if(calls.rbegin(), calls.rend(), fits);
    return found != calls.rend() ? &*found : nullptr;
}

const FileCall* failureOf(const Calls& calls, const std::string& path) {
    return lastOf(calls, [&](const FileCall& c) { return c.result < 0 && c.path == path; });
}

/** As in ", write /dev/x: Permission denied"; empty without a failure. */
std::string textOf(const FileCall* failure) {
    if (failure == nullptr) return "";
    return std::string(", ") + nameOf(failure->kind) + ' ' + failure->path + ": " +
           std::strerror(static_cast<int>(-failure->result));
}

std::string remedyFor(const FileCall* failure, const std::string& otherwise) {
    if (failure == nullptr) return otherwise;
    const unsigned long flags = failure->kind == Kind::kOpen ? failure->number : O_RDWR;
    return remedyOf(static_cast<int>(-failure->result), static_cast<int>(flags & O_ACCMODE));
}

/** Where a record may stop, and whether it does. */
struct Station {
    bool stops;
    const char* name;
    std::string what;
    std::string remedy;
    std::string passed{};         ///< in the last row of a station that is worth a word
    const char* maybe = nullptr;  ///< why it may be correct, unless it reports by itself
};
using Stations = std::vector<Station>;

/** One sensor, switched on, and where its records go. */
class Round {
  public:
    Round(Proxy& proxy, const SensorInfo& sensor, const Calls& loading, const HubDevices& devices)
        : mProxy(proxy), mSensor(sensor), mLoading(loading) {
        if (mKnown == nullptr) return;
        const auto device = devices.iio.find(iioNameOf(*mKnown, isWakeUp(sensor)));
        if (device == devices.iio.end()) return;
        mNode = "/dev/" + device->second;
        mBuffer = kIioDirectory + device->second + "/buffer/";
    }

    void watch(int64_t latencyNs, double seconds) {
        const int32_t handle = mSensor.sensorHandle;
        mSeconds = seconds + milliseconds(latencyNs + grantedPeriodNs(mSensor, kPeriodNs)) / 1e3;
        mProxy.events().drain([](const ReceivedEvent&) {});
        mProxy.takeCalls();
        mStartNs = hubNowNs();
        Result result = mProxy.batch(handle, kPeriodNs, latencyNs);
        const char* what = "batch";
        if (result == Result::OK) {
            result = mProxy.activate(handle, true);
            what = "activate";
        }
        if (result == Result::OK) {
            mProxy.events().receiveFor(mSeconds, [&](const ReceivedEvent& received) {
                if (received.event.sensorHandle != handle) return false;
                const EventKind kind = kindOf(received.event);
                const bool stale = kind == EventKind::kData && received.event.timestamp < mStartNs;
                if (stale) mOther = "stale events";
                if (kind == EventKind::kFlushComplete) mOther = "flush completions";
                if (!stale && kind != EventKind::kFlushComplete) mEvent = received;
                return mEvent.has_value();
            });
        } else {
            mRefusal = std::string(what) + " returned " + resultName(result);
        }
        mCalls = mProxy.takeCalls();
        lookForUnreadRecord();
        mProxy.switchOff(handle);
        sortReads();
    }

    /** False when no record came through, which has been reported. */
    bool judge(const char* how, Findings& findings) const {
        const std::string subject =
            formatted("%s (%" PRId32 ")%s", typeName(mSensor).c_str(), mSensor.sensorHandle, how);
        for (const Stations& stations : {beforeReading(), onTheWay()}) {
            for (const Station& station : stations) {
                const std::string place = subject + ", " + station.name;
                if (!station.stops) {
                    if (!station.passed.empty()) findings.ok(place, station.passed);
                    continue;
                }
                if (station.maybe != nullptr && !reportsByItself(mSensor)) {
                    findings.report(Level::kNote, place, station.what,
                                    std::string("may be correct: ") + station.maybe);
                } else {
                    findings.fail(place, station.what, station.remedy);
                }
                return false;
            }
        }
        if (mFailed > 0) {
            findings.report(Level::kNote, subject + ", read",
                            formatted("%zu of %zu reads failed", mFailed, mFailed + mRecords) +
                                textOf(failureOf(mCalls, mNode)));
        }
        const int64_t receivedNs = mEvent->receivedNs;
        const int64_t stampNs = mEvent->event.timestamp;  // additional information may have none
        findings.report(
            Level::kOk, subject,
            formatted("an event %.1f ms after switching on", milliseconds(receivedNs - mStartNs)) +
                (stampNs != 0
                     ? formatted(", %.1f ms after its stamp", milliseconds(receivedNs - stampNs))
                     : ""));
        return true;
    }

  private:
    void lookForUnreadRecord() {
        const FileCall* open = lastOf(mLoading, [this](const FileCall& call) {
            return isPath(call, Kind::kOpen, mNode) && call.result >= 0;
        });
        if (open == nullptr) return;
        pollfd device{static_cast<int>(open->result), POLLIN, 0};
        const timespec atOnce{};
        mWaiting = ppoll(&device, 1, &atOnce, nullptr) > 0 && (device.revents & POLLIN) != 0;
        // Fails if it does for the library as well.
        if (mWaiting && poll(&device, 1, 0) < 0) mPollError = errno;
    }

    void sortReads() {
        size_t whole = mKnown == nullptr ? 0 : mKnown->recordSize;
        for (const auto& [handle, bytes] : kShortest) {
            if (handle == mSensor.sensorHandle) whole = bytes;
        }
        for (const FileCall& call : mCalls) {
            const bool off = mOff || isSwitch(call, mSensor.sensorHandle, false);
            if (mRecords == 0) mOff = off;
            if (!isPath(call, Kind::kRead, mNode)) continue;
            if (call.result < 0 && call.result != -EAGAIN) ++mFailed;
            if (call.result <= 0) continue;
            if (++mRecords == 1) mRecord = hexOf(call.bytes);
            if (call.bytes.size() >= whole) continue;
            mCut = formatted("a record of %s instead of %zu",
                             counted(call.bytes.size(), "byte").c_str(), whole);
        }
    }

    Stations beforeReading() const {
        const FileCall* request = failureOf(mCalls, kBatchPath);
        if (request == nullptr) request = failureOf(mCalls, kEnablePath);
        const auto isBatch = [](const FileCall& c) { return isPath(c, Kind::kIoctl, kBatchPath); };
        const auto isOn = [this](const FileCall& c) {
            return isSwitch(c, mSensor.sensorHandle, true);
        };
        const bool sent = lastOf(mCalls, isBatch) != nullptr && lastOf(mCalls, isOn) != nullptr;

        const std::string attribute = mBuffer + "enable";
        int error = 0;
        const std::string state = readLine(attribute, &error);
        const FileCall* start = failureOf(mCalls, attribute);
        if (start == nullptr) start = failureOf(mLoading, attribute);
        const std::string length = readLine(mBuffer + "length");

        // After an event it is the library's own switching off that fails.
        if (mEvent) request = nullptr;
        return {{request != nullptr || !mRefusal.empty(), "hub",
                 (mRefusal.empty() ? "accepted" : mRefusal) + textOf(request),
                 remedyFor(request, "no call on the hub failed; see --log error")},
                {!sent, "hub", "was not sent both batch and switch",
                 "the library did not pass the request on", "accepted the batch and the switch"},
                {modeOf(mNode) == "absent", "device", mNode.empty() ? "none" : mNode + " is gone",
                 "its driver has unregistered it: look at the kernel log", mNode},
                {error == 0 ? state != "1" : start != nullptr, "buffer",
                 (error == 0 ? attribute + " is " + state : "not switched on") + textOf(start),
                 remedyFor(start, "another program has switched it off"),
                 error != 0 || length.empty() ? "" : "on, " + length + " records"}};
    }

    Stations onTheWay() const {
        const bool locked = mEvent && mEvent->wakelock;
        const bool silent = mRecords == 0 && mFailed == 0 && !mEvent;
        const bool unread = silent && mWaiting;
        const FileCall* count = lastOf(mCalls, [this](const FileCall& c) {
            return isPath(c, Kind::kRead, mBuffer + "data_available") && c.result > 0;
        });
        const std::string available =
            count != nullptr ? count->bytes.substr(0, count->bytes.find('\n')) : "1";
        const FileCall* read = failureOf(mCalls, mNode);
        const std::string polling =
            mPollError != 0 ? std::string(": poll() fails: ") + std::strerror(mPollError) : "";

        return {
            {unread && std::atoi(available.c_str()) == 0, "count",
             mBuffer + "data_available is " + available + ", but a record is waiting",
             "the library reads that many records: the driver counts wrongly"},
            {unread, "device", "a record is waiting, but the library has not got it" + polling,
             mPollError != 0 ? remedyOf(mPollError, O_RDONLY)
                             : "poll() fails, reads are in vain or a thread hangs: see --trace"},
            {silent, "hub", formatted("accepted the request, sent no record in %g s", mSeconds),
             "look at its messages in the kernel log, and at the chip", "",
             "it reports only when there is something to report"},
            {mRecords == 0 && mFailed > 0, "read", counted(mFailed, "failed read") + textOf(read),
             read != nullptr && read->result == -EINVAL
                 ? formatted("a record may exceed the %lu bytes that the library reads",
                             read->number)
                 : remedyFor(read, "")},
            {!mCut.empty(), "read", mCut,
             "the library assumes 0 for what is missing: the driver cuts records",
             mRecords > 0 ? counted(mRecords, "whole record") : ""},
            {mEvent && locked != isWakeUp(mSensor), "proxy",
             locked ? "an event with a wakelock" : "an event without a wakelock",
             "a wake-up sensor's events need one, and no others"},
            {!mEvent && mOff, "filter",
             "the library dropped a record of a sensor that it had switched off: " + mRecord,
             "it switches a one-shot sensor off after each wake-up, even if the read fails"},
            {!mEvent, "driver",
             std::string("the library posted ") + mOther + " for a whole record: " + mRecord,
             "its driver of this sensor drops it", "", "not every record is an event"}};
    }

    Proxy& mProxy;
    const SensorInfo& mSensor;
    const simulator::KnownSensor* mKnown = simulator::findKnownSensor(mSensor.sensorHandle);
    const Calls& mLoading;
    std::string mNode;    // of the device, as the library opened it
    std::string mBuffer;  // directory of the buffer's attributes
    double mSeconds = 0;
    int64_t mStartNs = 0;
    std::string mRefusal;
    Calls mCalls;
    std::optional<ReceivedEvent> mEvent;  // the first of this round
    const char* mOther = "no event";      // what came without one
    bool mWaiting = false;                // a record is in the device, unread
    int mPollError = 0;                   // errno of waiting for a record
    size_t mRecords = 0;                  // that were read
    size_t mFailed = 0;                   // reads
    std::string mCut;                     // of the last record that is too short
    std::string mRecord;  // the last record, in hex, or the first before the sensor was off
    bool mOff = false;    // the library switched the sensor off before it read the record
};

/** Also with a latency, if the sensor batches: the library then reads its buffer's count. */
void followRecord(Proxy& proxy, const SensorInfo& sensor, const HubDevices& devices,
                  const Calls& loading, double seconds, Findings& findings) {
    for (const int64_t latencyNs : {int64_t{0}, kLatencyNs}) {
        if (latencyNs > 0 && sensor.fifoMaxEventCount == 0) return;
        Round round(proxy, sensor, loading, devices);
        round.watch(latencyNs, seconds);
        // An interrupted round is too short for a verdict.
        if (interrupted() || !round.judge(latencyNs > 0 ? ", batched" : "", findings)) return;
    }
}

ExitCode followRecords(Proxy& proxy, const DoctorOptions& options, const HubDevices& devices,
                       Findings& findings) {
    proxy.keepCalls();
    ExitCode result = proxy.open();
    if (result != kOk) return result;
    const Calls loading = proxy.takeCalls();
    for (const std::string& text : options.sensors) {
        if (interrupted()) break;
        const SensorInfo* sensor = proxy.find(text);
        if (sensor == nullptr) {
            result = kNoSuchSensor;
        } else {
            followRecord(proxy, *sensor, devices, loading, options.seconds, findings);
        }
    }
    return interrupted() ? kNoData : result;
}

}  // namespace

ExitCode runDoctor(Proxy& proxy, const DoctorOptions& options) {
    ExitCode result = proxy.openHub();
    if (result != kOk) return result;
    Findings findings(options.details);
    // Before the library is loaded, which would keep the devices open.
    const auto devices = examineHub(findings);
    if (!devices) return kNoHub;
    if (!options.sensors.empty()) result = followRecords(proxy, options, *devices, findings);
    print("%s%s described, %s, %s%s\n", result == kNoData ? "interrupted; " : "",
          counted(devices->sensors, "sensor").c_str(),
          counted(findings.failures(), "failure").c_str(),
          counted(findings.notes(), "note").c_str(),
          geteuid() == 0 ? "; as root, who has rights that the sensors service lacks" : "");
    return findings.failures() > 0 ? kCheckFailed : result;
}

}  // namespace subhalctl
