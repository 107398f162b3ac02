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

/** A call with which the library drives the hub. */
struct HubCall {
    size_t line;     ///< of the recording
    int64_t number;  ///< of an ioctl, -1 for a write and when unknown
    std::string text;
};

bool isHubCall(const Entry& entry) {
    return entry.kind == Entry::Kind::kCall && (entry.text == "write" || entry.text == "ioctl");
}

bool isRequest(const Entry& entry) {
    return entry.kind == Entry::Kind::kRequest;
}

/** Calls by lane, each in its own order: "" for the main thread's, else see laneOf(). */
using Lanes = std::map<std::string, std::vector<HubCall>>;

/**
 * The poll thread switches a one-shot sensor off after each wake-up, at its own times. These calls
 * have a lane of their own, and any number in a row counts once.
 */
std::string laneOf(const std::string& path, const std::string& bytes) {
    if (path != kEnablePath || bytes.size() < 3 || bytes[bytes.size() - 2] != '0') return "";
    const auto* sensor = simulator::findKnownSensor(std::atoi(bytes.c_str()) / 10);
    const bool oneShot = sensor != nullptr && (sensor->flags & 6U) == 4;
    return oneShot ? bytes : "";
}

void addCall(Lanes* lanes, const std::string& path, const std::string& bytes, HubCall call) {
    // A recording has no attributes of devices, and the hub's own requests are not played.
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

    ExitCode run() {
        play();
        for (const auto& [handle, on] : mActivated) {
            if (on) mProxy.activate(handle, false);
        }
        if (interrupted()) return kNoData;
        size_t events = 0;
        size_t calls = 0;
        mExpectedCalls[""];  // a recording without calls is compared too
        for (const auto& [handle, expected] : mExpected) {
            events += expected.size();
            mReceived[handle];
        }
        for (const auto& [handle, received] : mReceived) {
            compare(handle);
        }
        for (const auto& [lane, expected] : mExpectedCalls) {
            // Records that are not played switch off a sensor that was never switched on.
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

  private:
    void waitUntil(int64_t timeNs) {
        while (!mFast && !interrupted() && hubNowNs() < timeNs) {
            const std::chrono::nanoseconds left(timeNs - hubNowNs());
            std::this_thread::sleep_for(
                std::min<std::chrono::nanoseconds>(left, std::chrono::milliseconds(50)));
        }
    }
    void play() {
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
                     mJam->line, sensorName(mJam->handle).c_str());
        }
        mProxy.hub()->waitIdle();
        collect();
    }
    void play(const Entry& entry) {
        if (entry.kind == Entry::Kind::kRaw) {
            waitUntil(entry.timeNs);
            if (mFast) setHubClock(entry.timeNs, false);
            // One at a time, or the library might read several sensors in another order.
            playRecord(entry);
        } else if (isRequest(entry)) {
            waitUntil(entry.timeNs);
            playRequest(entry);
        } else if (entry.kind == Entry::Kind::kEvent) {
            mExpected[entry.handle].push_back(&entry);
        } else if (isHubCall(entry)) {
            addCall(&mExpectedCalls, entry.name, entry.bytes,
                    {entry.line, entry.number, entry.text});
        }
    }
    void playRecord(const Entry& entry) {
        const bool pushed = mProxy.hub()->push(entry.handle, entry.bytes);
        const bool idle = mProxy.hub()->waitIdle();
        if ((pushed && idle) || interrupted()) return;
        differ(entry.line, "the library did not take a record of " + sensorName(entry.handle));
        if (!idle) mJam = &entry;
    }
    void playRequest(const Entry& entry) {
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
        differ(entry.line, request.what + " of " + sensorName(request.handle) + " gave " +
                               resultName(result) + " instead of " + request.result);
    }
    /** Fails the calls of the request that failed: its line follows theirs, but its time does not.
     */
    void letFail(const Entry& request) {
        const auto& entries = mProxy.recording()->entries;
        const Entry* const end = entries.data() + entries.size();
        for (const Entry* call = &request + 1; call != end && !isRequest(*call); ++call) {
            if (!isHubCall(*call) || call->result >= 0 || call->line > request.line) continue;
            mProxy.hub()->failNext(call->text, call->name, static_cast<int>(-call->result));
        }
    }
    void collect() {
        mProxy.events().drain([this](const ReceivedEvent& received) {
            mReceived[received.event.sensorHandle].push_back(received);
        });
        for (const FileCall& call : mProxy.takeCalls()) {
            const bool control = call.kind == FileCall::Kind::kIoctl;
            if (!control && call.kind != FileCall::Kind::kWrite) continue;
            addCall(&mCalls, call.path, call.bytes,
                    {0, control ? static_cast<int64_t>(call.number) : -1, nameOf(call.kind)});
        }
    }
    void compare(int32_t handle) {
        const auto& expected = mExpected[handle];
        const auto& received = mReceived[handle];
        for (size_t i = 0; i < std::min(expected.size(), received.size()); ++i) {
            const Entry& entry = *expected[i];
            const Event& event = received[i].event;
            const auto type = static_cast<int32_t>(event.sensorType);
            const std::string payload = payloadBytes(event);
            std::string what;
            if (type != entry.type) {
                what = formatted("type %" PRId32 " instead of %" PRId32, type, entry.type);
            } else if (event.timestamp != entry.timestampNs) {
                what = formatted("time stamp %" PRId64 " instead of %" PRId64, event.timestamp,
                                 entry.timestampNs);
            } else if (payload != entry.bytes) {
                what = "payload " + hexOf(payload) + " instead of " + hexOf(entry.bytes);
            } else if (received[i].wakelock != entry.flag) {
                what = received[i].wakelock ? "with a wakelock" : "without a wakelock";
            } else {
                continue;
            }
            const std::string place =
                sensorName(handle) + ", event " + std::to_string(i + 1) + ": ";
            return differ(entry.line, place + what);  // one fault shifts all later events
        }
        if (received.size() == expected.size()) return;
        const bool missing = received.size() < expected.size();
        differ(missing ? expected[received.size()]->line : lastLine(),
               sensorName(handle) + ": " + counted(received.size(), "event") + " instead of " +
                   std::to_string(expected.size()));
    }
    void compareCalls(const std::vector<HubCall>& expected, const std::vector<HubCall>& made) {
        const auto differs = [](const HubCall& left, const HubCall& right) {
            const bool numbers = left.number >= 0 && right.number >= 0;
            return left.text != right.text || (numbers && left.number != right.number);
        };
        const auto textOf = [](const HubCall& call) {
            return call.text + (call.number >= 0 ? formatted(" (0x%" PRIx64 ")", call.number) : "");
        };
        for (size_t i = 0; i < std::max(expected.size(), made.size()); ++i) {
            if (i >= made.size()) return differ(expected[i].line, "no " + textOf(expected[i]));
            if (i >= expected.size()) return differ(lastLine(), textOf(made[i]) + " as well");
            if (!differs(expected[i], made[i])) continue;
            return differ(expected[i].line, textOf(made[i]) + " instead of " + textOf(expected[i]));
        }
    }
    void differ(size_t line, const std::string& what) {
        ++mDifferences;
        if (line >= mFirstLine) return;
        mFirstLine = line;
        mFirst = what;
    }
    std::string sensorName(int32_t handle) const {
        for (const SensorInfo& sensor : mProxy.sensors()) {
            if (sensor.sensorHandle == handle) return typeName(sensor);
        }
        return "handle " + std::to_string(handle);
    }
    size_t lastLine() const { return mProxy.recording()->entries.back().line; }

    Proxy& mProxy;
    bool mFast;
    Lanes mExpectedCalls;
    Lanes mCalls;
    std::map<int32_t, std::vector<const Entry*>> mExpected;
    std::map<int32_t, std::vector<ReceivedEvent>> mReceived;
    std::map<int32_t, bool> mActivated;  // what was switched, and whether it is on
    const Entry* mJam = nullptr;   // the record that stays in its device and blocks all others
    size_t mFirstLine = SIZE_MAX;  // of the first difference, and what it is
    std::string mFirst;
    size_t mDifferences = 0;
};

}  // namespace

ExitCode runReplay(Proxy& proxy) {
    const HubChoice& hub = proxy.options().hub;
    const ExitCode made = proxy.openReplay(hub.recording, {hub.fast, {}, {}});
    if (made != kOk) return made;
    proxy.keepCalls();
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Replay(proxy, hub.fast).run();
}

}  // namespace subhalctl
