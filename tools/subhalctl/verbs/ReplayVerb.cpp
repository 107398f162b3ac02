#include <algorithm>
#include <cinttypes>
#include <map>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/recording/Recording.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/showing/SensorValues.h"
#include "tools/subhalctl/verbs/Verbs.h"

namespace subhalctl {
namespace {

using Entry = Recording::Entry;

/** An event or a call; an empty part matches any, the first one that differs is reported. */
struct Item {
    size_t line;  ///< of the recording
    std::vector<std::string> parts;
};

/** What has to come in this order. */
struct Lane {
    std::vector<Item> recorded;
    std::vector<Item> played;
};

/**
 * The poll thread switches a one-shot sensor off after each wake-up, at its own times. Such calls
 * have a lane of their own, in which the first represents them all; so has what it sends the hub
 * when the library is loaded. "" is the main thread's.
 */
std::string laneOf(const std::string& path, const std::string& bytes) {
    if (path == kFileManagerPath) return path;
    if (path != kEnablePath || bytes.size() < 3 || bytes[bytes.size() - 2] != '0') return "";
    const auto* sensor = simulator::findKnownSensor(std::atoi(bytes.c_str()) / 10);
    const bool oneShot = sensor != nullptr && (sensor->flags & 6U) == 4;
    return oneShot ? bytes : "";
}

Item itemOf(size_t line, const ReceivedEvent& received) {
    const Event& event = received.event;
    return {line,
            {formatted("time stamp %" PRId64, event.timestamp),
             formatted("type %" PRId32, static_cast<int32_t>(event.sensorType)),
             "payload " + hexOf(payloadBytes(event)),
             received.wakelock ? "with a wakelock" : "without a wakelock"}};
}

class Replay {
  public:
    explicit Replay(Proxy& proxy) : mProxy(proxy) {}

    ExitCode run() {
        play();
        for (const auto& [handle, on] : mActivated) {
            if (on) mProxy.activate(handle, false);
        }
        if (interrupted()) {
            complain("interrupted: nothing was compared");
            return kNoData;
        }
        size_t events = 0;
        size_t calls = 0;
        for (const auto& [handle, lane] : mEvents) {
            events += lane.recorded.size();
            compare(sensorName(handle) + ", event", lane);
        }
        for (const auto& [name, lane] : mCalls) {
            // The recording may switch off a sensor whose activation came before its start.
            const bool isSwitch = !name.empty() && name != kFileManagerPath;
            const bool isPlayed = mActivated.count(std::atoi(name.c_str()) / 10) != 0;
            if (isSwitch && (!isPlayed || lane.recorded.empty())) continue;
            calls += lane.recorded.size();
            compare(name.empty() ? "call" : isSwitch ? "switch-off" : "greeting", lane);
        }
        if (mDifferences.empty()) {
            print("%s of %s and %s to the hub are identical to the recording\n",
                  counted(events, "event").c_str(), counted(mEvents.size(), "sensor").c_str(),
                  counted(calls, "call").c_str());
            return kOk;
        }
        const auto& [line, first] = *mDifferences.begin();
        print("%s, one at most of a sensor's events and of the calls; the first is line %zu: %s\n",
              counted(mDifferences.size(), "difference").c_str(), line, printable(first).c_str());
        return kCheckFailed;
    }

  private:
    std::string sensorName(int32_t handle) const {
        for (const SensorInfo& sensor : mProxy.sensors()) {
            if (sensor.sensorHandle == handle) return typeName(sensor);
        }
        return "handle " + std::to_string(handle);
    }
    void collect() {
        mProxy.events().drain([this](const ReceivedEvent& received) {
            mEvents[received.event.sensorHandle].played.push_back(itemOf(0, received));
        });
        for (const FileCall& call : mProxy.takeCalls()) {
            const bool isIoctl = call.kind == FileCall::Kind::kIoctl;
            addCall(&Lane::played, 0, nameOf(call.kind), call.path, call.bytes,
                    isIoctl ? static_cast<int64_t>(call.number) : -1);
        }
    }
    void addCall(std::vector<Item> Lane::*side, size_t line, const std::string& call,
                 const std::string& path, const std::string& bytes, int64_t number) {
        if (call != "write" && call != "ioctl") return;
        // A recording lacks devices' attributes, and the hub's requests for files are not played.
        for (const char* place : {kIioDirectory, kDataDirectory}) {
            if (path.find(place) == 0) return;
        }
        const std::string lane = laneOf(path, bytes);
        std::vector<Item>& items = mCalls[lane].*side;
        if (!lane.empty() && !items.empty()) return;
        const std::string text = call + ' ' + path + ' ' + hexOf(bytes);
        const std::string named = text + formatted(" (0x%" PRIx64 ")", number);
        items.push_back({line, {text, number >= 0 ? named : ""}});
    }
    // Lets the calls fail that failed then: the request has a later line, but an earlier time.
    void letFail(const Entry& request) {
        const Entry* const end = &mProxy.recording()->entries.back();
        for (const Entry* call = &request; call++ != end && call->kind != Entry::Kind::kRequest;) {
            if (call->text == "read" || call->result >= 0 || call->line > request.line) continue;
            mProxy.hub()->failNext(call->text, call->name, static_cast<int>(-call->result));
        }
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
        differ(entry.line, request.what + " of " + sensorName(request.handle) + " returned " +
                               resultName(result) + " instead of " + request.result);
    }
    void playRecord(const Entry& entry) {
        const bool pushed = mProxy.hub()->push(entry.handle, entry.bytes);
        const bool idle = mProxy.hub()->waitIdle();
        if ((pushed && idle) || interrupted()) return;
        differ(entry.line, "the library did not take a record of " + sensorName(entry.handle));
        if (!idle) mJam = &entry;
    }
    void play(const Entry& entry) {
        using Kind = Entry::Kind;
        if (entry.kind == Kind::kEvent) {
            mEvents[entry.handle].recorded.push_back(itemOf(entry.line, entry.received));
        } else if (entry.kind == Kind::kCall) {
            addCall(&Lane::recorded, entry.line, entry.text, entry.name, entry.bytes, entry.number);
        } else if (entry.kind == Kind::kRaw || entry.kind == Kind::kRequest) {
            mProxy.hub()->waitUntil(entry.timeNs);
            // One at a time, or the library might read several sensors in another order.
            entry.kind == Kind::kRaw ? playRecord(entry) : playRequest(entry);
        }
    }
    /** Reports the first difference; what follows it need not count. */
    void compare(const std::string& place, const Lane& lane) {
        for (size_t i = 0; i < std::max(lane.recorded.size(), lane.played.size()); ++i) {
            const std::string item = place + ' ' + std::to_string(i + 1);
            if (i >= lane.played.size()) {
                return differ(lane.recorded[i].line,
                              item + " is missing: " + lane.recorded[i].parts[0]);
            }
            if (i >= lane.recorded.size()) {
                return differ(mProxy.recording()->lines,
                              item + " is not recorded: " + lane.played[i].parts[0]);
            }
            for (size_t part = 0; part < lane.recorded[i].parts.size(); ++part) {
                const std::string& recorded = lane.recorded[i].parts[part];
                const std::string& played = lane.played[i].parts[part];
                if (recorded == played || recorded.empty() || played.empty()) continue;
                return differ(lane.recorded[i].line, formatted("%s: %s instead of %s", item.c_str(),
                                                               played.c_str(), recorded.c_str()));
            }
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
            progress.show(formatted("%zu of %zu steps", done, entries.size()));
        }
        progress.clear();
        if (mJam != nullptr) {
            complain("line %zu: the library leaves this record of %s unread; the replay ends here",
                     mJam->line, sensorName(mJam->handle).c_str());
        }
        mProxy.hub()->waitIdle();
        collect();
    }
    void differ(size_t line, const std::string& what) { mDifferences.emplace(line, what); }

    Proxy& mProxy;
    std::map<std::string, Lane> mCalls;
    std::map<int32_t, Lane> mEvents;
    std::map<int32_t, bool> mActivated;  // what was switched, and whether it is on
    const Entry* mJam = nullptr;  // record that stays in its device, in the way of all others
    std::multimap<size_t, std::string> mDifferences;  // by line
};

}  // namespace

ExitCode runReplay(Proxy& proxy) {
    const HubChoice& hub = proxy.options().hub;
    const ExitCode made = proxy.openReplay(hub.recording, {hub.fast, {}, {}});
    if (made != kOk) return made;
    proxy.keepCalls();
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Replay(proxy).run();
}

}  // namespace subhalctl
