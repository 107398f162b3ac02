#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstring>
#include <map>
#include <set>
#include <thread>

#include "tools/subhalctl/Interrupt.h"
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

class Replay {
  public:
    Replay(Proxy& proxy, bool fast) : mProxy(proxy), mFast(fast) {}

    ExitCode run();

  private:
    void waitUntil(int64_t timeNs);
    void play(const Entry& entry);
    void playRecord(const Entry& entry);
    void playRequest(const Entry& entry);
    void collect();
    void compare(int32_t handle);
    void differ(size_t line, const std::string& what);
    std::string nameOf(int32_t handle) const;

    Proxy& mProxy;
    bool mFast;
    std::vector<const Entry*> mFailures;  // calls that failed, of the next request
    std::map<int32_t, std::vector<const Entry*>> mExpected;
    std::map<int32_t, std::vector<ReceivedEvent>> mReceived;
    std::set<int32_t> mActivated;
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
}

void Replay::playRequest(const Entry& entry) {
    const ProxyRequest& request = entry.request;
    mProxy.hub()->waitIdle();
    for (const Entry* failure : mFailures) {
        mProxy.hub()->failNext(failure->text, failure->name, static_cast<int>(-failure->result));
    }
    mFailures.clear();
    Result result = Result::OK;
    if (request.what == "batch") {
        result = mProxy.batch(request.handle, request.periodNs, request.latencyNs);
    } else if (request.what == "activate") {
        result = mProxy.activate(request.handle, request.enable);
        if (request.enable) mActivated.insert(request.handle);
        if (!request.enable) mActivated.erase(request.handle);
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
            if (entry.result < 0 && entry.text != "open" && entry.text != "read") {
                mFailures.push_back(&entry);
            }
            break;
        default:
            break;
    }
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
        differ(mProxy.recording().entries.back().line,
               nameOf(handle) + ": " + counted(received.size(), "event") + " instead of " +
                   std::to_string(expected.size()));
    }
}

ExitCode Replay::run() {
    const auto& entries = mProxy.recording().entries;
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
    for (const int32_t handle : mActivated) {
        mProxy.activate(handle, false);
    }
    if (interrupted()) return kNoData;
    std::set<int32_t> handles;
    size_t events = 0;
    for (const auto& [handle, expected] : mExpected) {
        handles.insert(handle);
        events += expected.size();
    }
    for (const auto& [handle, received] : mReceived) {
        handles.insert(handle);
    }
    for (const int32_t handle : handles) {
        compare(handle);
    }
    if (mDifferences == 0) {
        print("%s of %s came as they were recorded, bit by bit\n", counted(events, "event").c_str(),
              counted(mExpected.size(), "sensor").c_str());
        return kOk;
    }
    print("%s in sensors or requests; the first is line %zu: %s\n",
          counted(mDifferences, "difference").c_str(), mFirstLine, printable(mFirst).c_str());
    return kCheckFailed;
}

}  // namespace

ExitCode runReplay(Proxy& proxy) {
    const HubChoice& hub = proxy.options().hub;
    if (hub.sim) {
        complain("--sim excludes replay: a recording is a hub of its own");
        return kUsage;
    }
    const ExitCode made = proxy.openReplay(hub.recording, {hub.fast, false, {}, {}});
    if (made != kOk) return made;
    const ExitCode opened = proxy.open();
    return opened != kOk ? opened : Replay(proxy, hub.fast).run();
}

}  // namespace subhalctl
