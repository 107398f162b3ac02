#include "tools/subhalctl/doctor/RecordTrail.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

using Kind = FileCall::Kind;

constexpr int64_t kPeriodNs = 20'000'000;
constexpr int64_t kLatencyNs = 100'000'000;
constexpr int32_t kSeveralForms[] = {2, 14, 34, 37};  // whose records are of several lengths
constexpr char kGone[] = "the device has just gone";

bool isPath(const FileCall& call, Kind kind, const std::string& path) {
    return call.kind == kind && call.path == path;
}

bool isSwitch(const FileCall& call, int32_t handle, bool on) {
    const std::string text = std::to_string(handle) + (on ? '1' : '0');
    return isPath(call, Kind::kWrite, kEnablePath) && call.bytes.c_str() == text;
}

/** The last such call that failed, as in "write /dev/x: Permission denied", or nothing. */
const FileCall* failureOf(const std::vector<FileCall>& calls, const std::string& path) {
    const auto found = std::find_if(calls.rbegin(), calls.rend(), [&](const FileCall& call) {
        return call.result < 0 && call.path == path;
    });
    return found != calls.rend() ? &*found : nullptr;
}

std::string textOf(const FileCall& call) {
    return std::string(nameOf(call.kind)) + ' ' + call.path + ": " +
           std::strerror(static_cast<int>(-call.result));
}

double milliseconds(int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

}  // namespace

RecordTrail::RecordTrail(Proxy& proxy, Findings& findings, double seconds)
    : mProxy(proxy), mFindings(findings), mSeconds(seconds), mLoading(proxy.takeCalls()) {
    for (const FileCall& call : mLoading) {
        const size_t end = call.path.rfind("/name");
        const size_t begin = std::strlen(kIioDirectory);
        if (call.kind != Kind::kRead || end == std::string::npos || end < begin) continue;
        const std::string name = call.bytes.substr(0, call.bytes.find('\n'));
        mNodes.emplace(name, call.path.substr(begin, end - begin));
    }
}

void RecordTrail::follow(const SensorInfo& sensor) {
    if (followOnce(sensor, 0) && sensor.fifoMaxEventCount > 0) followOnce(sensor, kLatencyNs);
}

/** False when no record came through, which has been reported. */
bool RecordTrail::followOnce(const SensorInfo& sensor, int64_t latencyNs) {
    Round round{sensor, formatted("%s (%" PRId32 ")%s", typeName(sensor).c_str(),
                                  sensor.sensorHandle, latencyNs > 0 ? ", batched" : "")};
    const simulator::KnownSensor* known = simulator::findKnownSensor(sensor.sensorHandle);
    const std::string iioName = known != nullptr ? iioNameOf(*known, isWakeUp(sensor)) : "";
    if (const auto found = mNodes.find(iioName); found != mNodes.end()) {
        round.node = "/dev/" + found->second;
        round.buffer = kIioDirectory + found->second + "/buffer/";
    }
    watch(&round, latencyNs);
    if (interrupted()) return false;  // too early for a verdict
    if (!passesHub(round) || !passesBuffer(round) || !passesRead(round) || !passesLibrary(round)) {
        return false;
    }
    const int64_t stampNs = round.event->event.timestamp;  // a completed flush has none
    const std::string stamp =
        formatted(", %.1f ms after its stamp", milliseconds(round.event->receivedNs - stampNs));
    mFindings.good(round.subject, formatted("an event %.1f ms after switching on",
                                            milliseconds(round.event->receivedNs - round.startNs)) +
                                      (stampNs != 0 ? stamp : ""));
    return true;
}

void RecordTrail::watch(Round* round, int64_t latencyNs) {
    const int32_t handle = round->sensor.sensorHandle;
    mProxy.events().drain([](const ReceivedEvent&) {});
    mProxy.takeCalls();
    round->startNs = hubNowNs();
    Result result = mProxy.batch(handle, kPeriodNs, latencyNs);
    if (result != Result::OK) round->refusal = "batch gave " + resultName(result);
    if (result == Result::OK) {
        result = mProxy.activate(handle, true);
        if (result != Result::OK) round->refusal = "activate gave " + resultName(result);
    }
    if (result == Result::OK) {
        mProxy.events().receiveFor(mSeconds, [&](const ReceivedEvent& received) {
            if (received.event.sensorHandle != handle) return false;
            round->event = received;
            return true;
        });
    }
    round->calls = mProxy.takeCalls();
    for (const FileCall& call : mLoading) {
        if (!isPath(call, Kind::kOpen, round->node) || call.result < 0) continue;
        pollfd device{static_cast<int>(call.result), POLLIN, 0};
        const timespec atOnce{};
        round->waiting = ppoll(&device, 1, &atOnce, nullptr) > 0 && (device.revents & POLLIN) != 0;
        // Fails if it does for the library as well.
        if (round->waiting && poll(&device, 1, 0) < 0) round->pollError = errno;
    }
    mProxy.activate(handle, false);
}

bool RecordTrail::stops(const Round& round, const char* station, const std::string& what,
                        const std::string& remedy) {
    mFindings.fail(round.subject + ", " + station, what, remedy);
    return false;
}

/** Only a continuous sensor has something to report at any time. */
bool RecordTrail::mayStop(const Round& round, const char* station, const std::string& what,
                          const std::string& remedy) {
    if (reportingMode(round.sensor) == SensorFlagBits::CONTINUOUS_MODE) {
        return stops(round, station, what, remedy);
    }
    mFindings.note(round.subject + ", " + station, what,
                   "that may be right: it reports only when there is something to report");
    return false;
}

bool RecordTrail::passesHub(const Round& round) {
    const FileCall* failure = failureOf(round.calls, kBatchPath);
    if (failure == nullptr) failure = failureOf(round.calls, kEnablePath);
    if (failure != nullptr) {
        return stops(round, "hub", round.refusal + ", " + textOf(*failure),
                     remedyOf(static_cast<int>(-failure->result), "the hub's driver makes it",
                              "read and write"));
    }
    if (!round.refusal.empty()) {
        return stops(round, "hub", round.refusal, "no call on the hub failed; see --log error");
    }
    const auto hasCall = [&](auto fits) {
        return std::any_of(round.calls.begin(), round.calls.end(), fits);
    };
    const bool batched =
        hasCall([](const FileCall& c) { return isPath(c, Kind::kIoctl, kBatchPath); });
    const bool enabled =
        hasCall([&](const FileCall& c) { return isSwitch(c, round.sensor.sensorHandle, true); });
    if (!batched || !enabled) {
        return stops(round, "hub", std::string("was sent no ") + (batched ? "switch" : "batch"),
                     "the library did not pass the request on");
    }
    mFindings.ok(round.subject + ", hub", "took the batch and the switch");
    return true;
}

bool RecordTrail::passesBuffer(const Round& round) {
    if (round.node.empty() || modeOf(round.node) == "absent") {
        return stops(round, "device", round.node + (round.node.empty() ? "none" : " is gone"),
                     "its driver has unregistered it: look at the kernel log");
    }
    mFindings.ok(round.subject + ", device", round.node);
    const std::string attribute = round.buffer + "enable";
    int error = 0;
    const std::string state = readLine(attribute, &error);
    if (error == 0 && state != "1") {
        const FileCall* failure = failureOf(round.calls, attribute);
        if (failure == nullptr) failure = failureOf(mLoading, attribute);
        return stops(
            round, "buffer",
            attribute + " is " + state + (failure != nullptr ? ", " + textOf(*failure) : ""),
            failure != nullptr ? remedyOf(static_cast<int>(-failure->result), kGone, "write")
                               : "somebody has switched it off since the library was loaded");
    }
    mFindings.ok(round.subject + ", buffer",
                 "on, " + readLine(round.buffer + "length") + " records");
    return true;
}

/** No record was read: says why. */
bool RecordTrail::isSilent(const Round& round) {
    const auto count =
        std::find_if(round.calls.rbegin(), round.calls.rend(), [&](const FileCall& c) {
            return isPath(c, Kind::kRead, round.buffer + "data_available") && c.result > 0;
        });
    const std::string said =
        count != round.calls.rend() ? count->bytes.substr(0, count->bytes.find('\n')) : "";
    if (round.waiting && !said.empty() && std::atoi(said.c_str()) == 0) {
        return stops(round, "count",
                     round.buffer + "data_available says " + said + " although a record is there",
                     "the library reads as many as it says: its driver counts wrongly");
    }
    if (round.waiting) {
        return stops(round, "device",
                     "a record is there, and the library does not read it" +
                         (round.pollError != 0
                              ? std::string(": poll() fails: ") + std::strerror(round.pollError)
                              : ""),
                     round.pollError != 0
                         ? "look at the driver's messages in the kernel log"
                         : "its poll() fails, or its thread hangs: see --log info");
    }
    return mayStop(round, "hub", formatted("took the request and sent no record in %g s", mSeconds),
                   "look at its messages in the kernel log, and at the chip");
}

bool RecordTrail::passesRead(const Round& round) {
    const simulator::KnownSensor* known = simulator::findKnownSensor(round.sensor.sensorHandle);
    const bool severalForms = std::count(std::begin(kSeveralForms), std::end(kSeveralForms),
                                         round.sensor.sensorHandle) > 0;
    size_t records = 0;
    size_t failed = 0;
    const FileCall* cut = nullptr;
    for (const FileCall& call : round.calls) {
        if (!isPath(call, Kind::kRead, round.node)) continue;
        if (call.result > 0) ++records;
        if (call.result < 0 && call.result != -EAGAIN) ++failed;
        const bool whole =
            known == nullptr || severalForms || call.bytes.size() >= known->recordSize;
        if (call.result > 0 && !whole) cut = &call;
    }
    const FileCall* failure = failureOf(round.calls, round.node);
    if (records == 0 && failed == 0) return round.event || isSilent(round);
    if (records == 0) {
        const bool tooLong = failure->result == -EINVAL;
        return stops(round, "read", counted(failed, "failed read") + ", " + textOf(*failure),
                     tooLong
                         ? formatted("a record may be longer than the %lu bytes that the library "
                                     "reads",
                                     failure->number)
                         : remedyOf(static_cast<int>(-failure->result), kGone, "read"));
    }
    if (failed > 0) {
        mFindings.note(
            round.subject + ", read",
            formatted("%zu of %zu reads failed, ", failed, failed + records) + textOf(*failure));
    }
    if (cut != nullptr) {
        return stops(
            round, "read",
            formatted("a record of %zu bytes instead of %zu", cut->bytes.size(), known->recordSize),
            "the library takes what is missing for zero: its driver cuts records");
    }
    mFindings.ok(round.subject + ", read", counted(records, "whole record"));
    return true;
}

bool RecordTrail::passesLibrary(const Round& round) {
    if (round.event) {
        if (round.event->wakelock == isWakeUp(round.sensor)) return true;
        return stops(
            round, "proxy",
            round.event->wakelock ? "an event with a wakelock" : "an event without a wakelock",
            "a wake-up sensor's events have one, and no others");
    }
    bool off = false;
    std::string hex;
    for (const FileCall& call : round.calls) {
        off = off || isSwitch(call, round.sensor.sensorHandle, false);
        if (!isPath(call, Kind::kRead, round.node) || call.result <= 0) continue;
        hex = hexOf(call.bytes);
        if (!off) break;
    }
    if (off) {
        return stops(round, "filter",
                     "the library dropped a record of a sensor that it had off: " + hex,
                     "it switches a one-shot sensor off behind each wake-up, a failed read's too");
    }
    return mayStop(round, "driver", "a whole record became no event: " + hex,
                   "the library's driver of this sensor drops it");
}

}  // namespace subhalctl
