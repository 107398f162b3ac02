// A recording that plays the hub, on the simulator's devices.

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <set>
#include <thread>

#include "simulator/KnownSensors.h"
#include "simulator/SimulatedHub.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/hubs/InProcessHub.h"
#include "tools/subhalctl/recording/Recording.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

using Entry = Recording::Entry;

constexpr std::chrono::milliseconds kSlice{50};
constexpr std::chrono::seconds kPatience{5};  // with a library that does not read a record

simulator::SimulatedHub::Options replayOptions(const Recording& recording) {
    simulator::SimulatedHub::Options options;
    options.sensors = simulator::decodeSpecs(recording.spec);
    return options;
}

// What the library only reads. Through others a recording could write or remove files of the host:
// a device renamed to the file manager's, and a request for it.
const std::set<std::string> kReplayedFiles = {kContextListPath, kNfcCoverPath, kRearDataPath,
                                              kDumpPath};

class ReplayHub : public InProcessHub, private PlatformHooks {
  public:
    ReplayHub(const Recording& recording, const ReplayOptions& options)
        : InProcessHub(replayOptions(recording)), mRecording(recording), mOptions(options) {
        mHub.setRawSpec(recording.spec);
        gPlatformHooks = this;
        layOut();
        // A live one runs from when a sensor is first switched on, and must not go back there.
        setHubClock(options.ended ? recording.onNs() : recording.startNs,
                    !options.fast && !options.ended);
        if (!options.ended) return;
        simulator::NodeHandler flushes;
        flushes.onWrite = [this](const std::string& bytes) {
            mHub.pushFlushMarker(std::atoi(bytes.c_str()));
            return static_cast<ssize_t>(bytes.size());
        };
        mHub.setHandler(kFlushPath, flushes);
        mThread = std::thread(&ReplayHub::run, this);
    }
    ~ReplayHub() override {
        gPlatformHooks = nullptr;
        mStop = true;
        if (mThread.joinable()) mThread.join();
    }

    void waitUntil(int64_t timeNs) override {
        if (mOptions.fast) return setHubClock(timeNs, false);
        while (!mStop && !interrupted() && hubNowNs() < timeNs) {
            const std::chrono::nanoseconds left(timeNs - hubNowNs());
            std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(left, kSlice));
        }
    }

    bool push(int32_t handle, const std::string& bytes) override {
        // These records read, write and remove files of the host: a recording must not.
        if (handle == simulator::kHousekeepingHandle) return true;
        // One read may have brought several records.
        const auto* known = simulator::findKnownSensor(handle);
        size_t size = bytes.size();
        if (known != nullptr && size % known->recordSize == 0) size = known->recordSize;
        for (size_t at = 0; at < bytes.size(); at += size) {
            const std::string record = bytes.substr(at, size);
            if (mHub.push(handle, record)) continue;
            waitIdle();  // the buffer may have been full
            if (!mHub.push(handle, record)) return false;
        }
        return true;
    }

    /** Once the library has left a record unread, later calls do not wait until it is read. */
    bool waitIdle() override {
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        while (!mHub.waitIdle(mStuck ? std::chrono::milliseconds(0) : kSlice)) {
            const bool late = std::chrono::steady_clock::now() >= deadline;
            mStuck = mStuck || (late && !(mOptions.blocked && mOptions.blocked()));
            if (mStuck || mStop || interrupted()) return false;
        }
        mStuck = false;
        return true;
    }

    void failNext(const std::string& call, const std::string& path, int error) override {
        mHub.fail(call, path, error);
    }

  private:
    int64_t clock(int64_t) override {
        const std::lock_guard<std::mutex> lock(mLock);
        std::deque<int64_t>& clocks = mClocks[mMain == std::this_thread::get_id()];
        if (mOptions.ended || clocks.empty()) return hubNowNs();
        const int64_t now = clocks.front();
        clocks.pop_front();
        return now;
    }
    std::string property(const std::string& name, const std::string&) override {
        const auto found = mProperties.find(name);
        return found != mProperties.end() ? found->second : "";
    }

    /** What the library found apart from the devices. */
    void layOut() {
        std::map<std::string, int> refused;  // opens
        std::set<std::string> used;
        bool loading = true;
        for (const Entry& entry : mRecording.entries) {
            if (entry.kind == Entry::Kind::kProperty) mProperties[entry.name] = entry.text;
            if (entry.kind == Entry::Kind::kClock) mClocks[entry.flag].push_back(entry.timeNs);
            loading = loading && entry.kind != Entry::Kind::kRequest;
            if (entry.kind != Entry::Kind::kCall) continue;
            if (entry.text == "open" && entry.result < 0) {
                refused[entry.name] = static_cast<int>(-entry.result);
                if (loading) failNext(entry.text, entry.name, refused[entry.name]);
                continue;
            }
            used.insert(entry.name);
            if (entry.text == "read" && entry.result >= 0 && kReplayedFiles.count(entry.name) != 0)
                mReads[entry.name].push_back(entry.bytes);
        }
        for (const auto& [path, error] : refused) {
            if (used.count(path) == 0)
                mHub.fail("open", path, error, 1, simulator::Faults::kForever);
        }
        for (auto& [path, reads] : mReads) {
            simulator::NodeHandler handler;
            handler.onRead = [this, &rest = reads](void* buffer, size_t size) {
                const std::lock_guard<std::mutex> lock(mLock);
                const ssize_t length = simulator::copyText(rest.front(), buffer, size);
                if (rest.size() > 1) rest.pop_front();
                return length;
            };
            mHub.setHandler(path, handler);
        }
    }

    /** Sends the records at their times, counted from when a sensor is first switched on. */
    void run() {
        const auto isOn = [](const simulator::Request& request) {
            return request.kind == simulator::Request::Kind::kEnable && request.enable == 1;
        };
        while (!mStop && !mHub.waitForRequest(isOn, kSlice)) {
        }
        // A fast recording waits until no more sensors are being switched on.
        for (size_t seen = 0; mOptions.fast && !mStop && seen != mHub.requests().size();) {
            seen = mHub.requests().size();
            std::this_thread::sleep_for(kSlice);
        }
        setHubClock(mRecording.onNs(), !mOptions.fast);
        for (const Entry& entry : mRecording.entries) {
            const bool isFlushMarker = entry.bytes.find_first_not_of('\0') == std::string::npos;
            if (entry.kind != Entry::Kind::kRaw || isFlushMarker) continue;
            waitUntil(entry.timeNs);
            if (mStop || interrupted()) return;
            push(entry.handle, entry.bytes);
            if (mOptions.fast) waitIdle();  // so that it arrives at its time
        }
        waitIdle();
        if (mStuck) complain("the library did not read all records of the recording");
        mOptions.ended();
    }

    const Recording& mRecording;
    const ReplayOptions mOptions;
    const std::thread::id mMain = std::this_thread::get_id();
    std::map<std::string, std::string> mProperties;
    std::mutex mLock;
    // What is left of the clock's readings, on the main thread and on others; guarded by mLock.
    std::map<bool, std::deque<int64_t>> mClocks;
    // What is left of each file's reads; the last one repeats. Guarded by mLock.
    std::map<std::string, std::deque<std::string>> mReads;
    std::atomic<bool> mStop{false};
    std::atomic<bool> mStuck{false};
    std::thread mThread;
};

}  // namespace

ExitCode makeReplayHub(const Recording& recording, const ReplayOptions& options,
                       std::unique_ptr<Hub>* hub) {
    if (!haveRoom()) return kCannotLoad;
    *hub = std::make_unique<ReplayHub>(recording, options);
    return kOk;
}

}  // namespace subhalctl
