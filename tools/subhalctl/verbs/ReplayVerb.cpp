#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstring>
#include <map>
#include <thread>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/recording/Recording.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using Entry = Recording::Entry;

std::string payloadHex(const Event& event) {
    const Payload payload = payloadOf(event);
    return hexOf({reinterpret_cast<const char*>(payload.data()), sizeof(payload)});
}

/** A call by which the library tells the hub something. */
struct HubCall {
    size_t line;     ///< of the recording
    int64_t number;  ///< of an ioctl, -1 for a write, and where the recording leaves it out
    std::string text;
};

bool isHubCall(const Entry& entry) {
    return entry.kind == Entry::Kind::kCall && (entry.text == "write" || entry.text == "ioctl");
}

bool isRequest(const Entry& entry) {
    return entry.kind == Entry::Kind::kRequest;
}

/** Calls by what keeps them in order: "" for the main thread's, else see laneOf(). */
using Lanes = std::map<std::string, std::vector<HubCall>>;

/**
 * The poll thread switches a one-shot sensor off behind each wake-up, at its own times. Such a
 * switch is looked for in a lane of its own, and once for any number in a row.
 */
std::string laneOf(const std::string& path, const std::string& bytes) {
    if (path != kEnablePath || bytes.size() < 3 || bytes[bytes.size() - 2] != '0') return "";
    const auto* sensor = simulator::findKnownSensor(std::atoi(bytes.c_str()) / 10);
    const bool oneShot = sensor != nullptr && (sensor->flags & 6U) == 4;
    return oneShot ? bytes : "";
}

void addCall(Lanes* lanes, const std::string& path, const std::string& bytes, HubCall call) {
    // A recording leaves the devices' attributes out, and of the hub's own requests nothing is
    // played.
    for (const char* place : {kIioDirectory, kFileManagerPath, kDataDirectory}) {
        if (path.find(place) == 0) return;
    }
    const std::string lane = laneOf(path, bytes);
    if (!lane.empty() && lanes->count(lane) != 0) return;
    call.text += ' ' + path + ' ' + hexOf(bytes);
    (*lanes)[lane].push_back(std::move(call));
}

class Replay {
  public:
    Replay(Proxy& proxy, bool fast) : mProxy(proxy), mFast(fast) {}

    ExitCode run();

  private:
    void waitUntil(int64_t timeNs);
    void play();
    void play(const Entry& entry);
    void playRecord(const Entry& entry);
    void playRequest(const Entry& entry);
    void letFail(const Entry& request);
    void collect();
    void made(const FileCall& call);
    void compare(int32_t handle);
    void compareCalls(const std::vector<HubCall>& expected, const std::vector<HubCall>& made);
    void differ(size_t line, const std::string& what);
    std::string nameOf(int32_t handle) const;

    Proxy& mProxy;
    bool mFast;
    Lanes mExpectedCalls;
    Lanes mCalls;
    std::map<int32_t, std::vector<const Entry*>> mExpected;
    std::map<int32_t, std::vector<ReceivedEvent>> mReceived;
    std::map<int32_t, bool> mActivated;  // what was switched, and whether it is on
    const Entry* mJam = nullptr;   // record that stays in its device, in the way of all others
    size_t mFirstLine = SIZE_MAX;  // of the first difference, and what it is
    std::string mFirst;
    size_t mDifferences = 0;
};

std::string Replay::nameOf(int32_t handle) const {
    for (const SensorInfo& sensor : mProxy.sensors()) {
        if (sensor.sensorHandle == handle) return typeName(sensor);
    }
    return "handle " + std::to_string(handle);
}

void Replay::waitUntil(int64_t timeNs) {
    while (!mFast && !interrupted() && hubNowNs() < timeNs) {
        const std::chrono::nanoseconds left(timeNs - hubNowNs());
        std::this_thread::sleep_for(
            std::min<std::chrono::nanoseconds>(left, std::chrono::milliseconds(50)));
    }
}

void Replay::differ(size_t line, const std::string& what) {
    ++mDifferences;
    if (line >= mFirstLine) return;
    mFirstLine = line;
    mFirst = what;
}

void Replay::collect() {
    mProxy.events().drain([this](const ReceivedEvent& received) {
        mReceived[received.event.sensorHandle].push_back(received);
    });
    for (const FileCall& call : mProxy.takeCalls()) {
        made(call);
    }
}

/** Calls that the request made, and that failed: its line is behind theirs, its time is not. */
void Replay::letFail(const Entry& request) {
    const Entry* const end =
        mProxy.recording()->entries.data() + mProxy.recording()->entries.size();
    for (const Entry* call = &request + 1; call != end && !isRequest(*call); ++call) {
        if (!isHubCall(*call) || call->result >= 0 || call->line > request.line) continue;
        mProxy.hub()->failNext(call->text, call->name, static_cast<int>(-call->result));
    }
}

void Replay::playRequest(const Entry& entry) {
    const ProxyRequest& request = entry.request;
    mProxy.hub()->waitIdle();
    letFail(entry);
    Result result = Result::OK;
    if (request.what == "batch") {
        result = mProxy.batch(request.handle, request.periodNs, request.latencyNs);
    } else if (request.what == "activate") {
        result = mProxy.activate(request.handle, request.enable);
        mActivated[request.handle] = request.enable;
    } else {
        result = mProxy.flush(request.handle);
    }
    if (resultName(result) == request.result) return;
    differ(entry.line, request.what + " of " + nameOf(request.handle) + " gave " +
                           resultName(result) + " instead of " + request.result);
}

void Replay::playRecord(const Entry& entry) {
    const bool pushed = mProxy.hub()->push(entry.handle, entry.bytes);
    const bool idle = mProxy.hub()->waitIdle();
    if ((pushed && idle) || interrupted()) return;
    differ(entry.line, "the library did not take a record of " + nameOf(entry.handle));
    if (!idle) mJam = &entry;
}

void Replay::play(const Entry& entry) {
    switch (entry.kind) {
        case Entry::Kind::kRaw:
            waitUntil(entry.timeNs);
            if (mFast) setHubClock(entry.timeNs, false);
            // One at a time, or the library might read several sensors in another order.
            playRecord(entry);
            break;
        case Entry::Kind::kRequest:
            waitUntil(entry.timeNs);
            playRequest(entry);
            break;
        case Entry::Kind::kEvent:
            mExpected[entry.handle].push_back(&entry);
            break;
        case Entry::Kind::kCall:
            if (!isHubCall(entry)) break;
            addCall(&mExpectedCalls, entry.name, entry.bytes,
                    {entry.line, entry.number, entry.text});
            break;
        default:
            break;
    }
}

void Replay::made(const FileCall& call) {
    const bool control = call.kind == FileCall::Kind::kIoctl;
    if (!control && call.kind != FileCall::Kind::kWrite) return;
    addCall(&mCalls, call.path, call.bytes,
            {0, control ? static_cast<int64_t>(call.number) : -1, subhalctl::nameOf(call.kind)});
}

void Replay::compare(int32_t handle) {
    const auto& expected = mExpected[handle];
    const auto& received = mReceived[handle];
    for (size_t i = 0; i < std::min(expected.size(), received.size()); ++i) {
        const Entry& entry = *expected[i];
        const Event& event = received[i].event;
        const std::string place = nameOf(handle) + ", event " + std::to_string(i + 1) + ": ";
        const std::string payload = payloadHex(event);
        std::string what;
        if (static_cast<int32_t>(event.sensorType) != entry.type) {
            what = formatted("type %" PRId32 " instead of %" PRId32,
                             static_cast<int32_t>(event.sensorType), entry.type);
        } else if (event.timestamp != entry.timestampNs) {
            what = formatted("time stamp %" PRId64 " instead of %" PRId64, event.timestamp,
                             entry.timestampNs);
        } else if (payload != hexOf(entry.bytes)) {
            what = "payload " + payload + " instead of " + hexOf(entry.bytes);
        } else if (received[i].wakelock != entry.flag) {
            what = received[i].wakelock ? "with a wakelock" : "without a wakelock";
        }
        if (what.empty()) continue;
        return differ(entry.line, place + what);  // those behind it need not count
    }
    if (received.size() < expected.size()) {
        differ(expected[received.size()]->line,
               nameOf(handle) + ": " + counted(received.size(), "event") + " instead of " +
                   std::to_string(expected.size()));
    } else if (received.size() > expected.size()) {
        differ(mProxy.recording()->entries.back().line,
               nameOf(handle) + ": " + counted(received.size(), "event") + " instead of " +
                   std::to_string(expected.size()));
    }
}

void Replay::compareCalls(const std::vector<HubCall>& expected, const std::vector<HubCall>& made) {
    const auto differs = [](const HubCall& left, const HubCall& right) {
        const bool numbers = left.number >= 0 && right.number >= 0;
        return left.text != right.text || (numbers && left.number != right.number);
    };
    const auto textOf = [](const HubCall& call) {
        return call.text + (call.number >= 0 ? formatted(" (0x%" PRIx64 ")", call.number) : "");
    };
    const size_t last = mProxy.recording()->entries.back().line;
    for (size_t i = 0; i < std::max(expected.size(), made.size()); ++i) {
        if (i >= made.size()) return differ(expected[i].line, "no " + textOf(expected[i]));
        if (i >= expected.size()) return differ(last, textOf(made[i]) + " as well");
        if (!differs(expected[i], made[i])) continue;
        return differ(expected[i].line, textOf(made[i]) + " instead of " + textOf(expected[i]));
    }
}

void Replay::play() {
    const auto& entries = mProxy.recording()->entries;
    Progress progress(!mProxy.options().quiet);
    size_t done = 0;
    for (const Entry& entry : entries) {
        play(entry);
        if (interrupted() || mJam != nullptr) break;
        if (++done % 256 != 0) continue;
        collect();
        progress.show(formatted("%zu of %zu lines", done, entries.size()));
    }
    progress.clear();
    if (mJam != nullptr) {
        complain("line %zu: the library leaves this record of %s unread; the replay ends here",
                 mJam->line, nameOf(mJam->handle).c_str());
    }
    mProxy.hub()->waitIdle();
    collect();
}

ExitCode Replay::run() {
    play();
    for (const auto& [handle, on] : mActivated) {
        if (on) mProxy.activate(handle, false);
    }
    if (interrupted()) return kNoData;
    size_t events = 0;
    size_t calls = 0;
    mExpectedCalls[""];  // is compared in any case
    for (const auto& [handle, expected] : mExpected) {
        events += expected.size();
        mReceived[handle];
    }
    for (const auto& [handle, received] : mReceived) {
        compare(handle);
    }
    for (const auto& [lane, expected] : mExpectedCalls) {
        // One that nobody switches on is switched off behind records that are not played.
        if (!lane.empty() && mActivated.count(std::atoi(lane.c_str()) / 10) == 0) continue;
        calls += expected.size();
        compareCalls(expected, mCalls[lane]);
    }
    if (mDifferences == 0) {
        print("%s of %s came as they were recorded, bit by bit; so did %s to the hub\n",
              counted(events, "event").c_str(), counted(mExpected.size(), "sensor").c_str(),
              counted(calls, "call").c_str());
        return kOk;
    }
    print("%s in sensors, requests or calls; the first is line %zu: %s\n",
          counted(mDifferences, "difference").c_str(), mFirstLine, printable(mFirst).c_str());
    return kCheckFailed;
}

}  // namespace

ExitCode runReplay(Proxy& proxy) {
    const HubChoice& hub = proxy.options().hub;
    const ExitCode made = proxy.openReplay(hub.recording, {hub.fast, false, {}, {}});
    if (made != kOk) return made;
    proxy.keepCalls();
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Replay(proxy, hub.fast).run();
}

}  // namespace subhalctl
