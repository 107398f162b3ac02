#include <poll.h>
#include <pthread.h>
#include <unistd.h>
#include <utils/AndroidThreads.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <thread>
#include <vector>

#include "common/Log.h"
#include "hub/SensorHubSensor.h"
#include "sensors/SensorHandles.h"
#include "subhal/SensorsSubHal.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

using namespace std::chrono_literals;

// As urgent as the display: a late sample is worth little.
constexpr int kPollThreadPriority = -8;
constexpr char kPollThreadName[] = "sensorhub_poll";  // at most 15 characters

// The largest buffer that a sensor's description can ask for; no true count is above it.
constexpr int kMaxBatch = 65536;

/** How long to leave alone what has failed so often in a row; a first failure costs nothing. */
std::chrono::milliseconds pauseAfter(size_t failures) {
    constexpr std::chrono::milliseconds kPauses[] = {0ms, 0ms, 1ms, 2ms, 4ms, 8ms, 10ms};
    return kPauses[std::min(failures, std::size(kPauses) - 1)];
}

/**
 * The devices whose wake-ups consume nothing rest, each by itself: one that cannot be read costs
 * 100 wake-ups a second and no other sensor's time. While it rests, its poll entry carries the
 * descriptor's complement, which poll() passes over, also for 0.
 */
class Rests {
  public:
    Rests(pollfd* entries, int count) : mEntries(entries), mRests(static_cast<size_t>(count)) {}

    /** Ends the rests that are over. poll()'s time-out until the next one is; -1 without any. */
    int timeoutMs() {
        if (mResting == 0) return -1;
        const auto now = Clock::now();
        auto next = Clock::time_point::max();
        for (size_t i = 0; i < mRests.size(); ++i) {
            if (!isResting(i)) continue;
            if (mRests[i].end <= now) {
                mEntries[i].fd = ~mEntries[i].fd;
                --mResting;
            } else {
                next = std::min(next, mRests[i].end);
            }
        }
        if (mResting == 0) return -1;
        return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(next - now).count());
    }

    /** Takes note of a wake-up. */
    void note(size_t i, bool consumed) {
        Rest& rest = mRests[i];
        rest.idleWakeUps = consumed ? 0 : rest.idleWakeUps + 1;
        const auto pause = pauseAfter(rest.idleWakeUps);
        if (pause == 0ms || isResting(i)) return;
        rest.end = Clock::now() + pause;
        mEntries[i].fd = ~mEntries[i].fd;
        ++mResting;
    }

  private:
    using Clock = std::chrono::steady_clock;

    struct Rest {
        size_t idleWakeUps = 0;  // in a row
        Clock::time_point end;
    };

    bool isResting(size_t i) const { return mEntries[i].fd < 0; }

    pollfd* const mEntries;
    std::vector<Rest> mRests;  // by poll entry
    int mResting = 0;
};

/** Whether there was a record. */
bool readOne(SensorBase& sensor) {
    const uint32_t before = sensor.recordsRead();
    sensor.readEvents();
    return sensor.recordsRead() != before;
}

}  // namespace

void SensorsSubHal::startThread(SensorsSubHal* self) {
    const pid_t tid = gettid();
    ALOGI("startThread %d", tid);
    pthread_setname_np(pthread_self(), kPollThreadName);
    androidSetThreadPriority(tid, kPollThreadPriority);
    self->run();
}

void SensorsSubHal::run() {
    ALOGI("thread run");
    // Null when its device does not work; no other class has this handle.
    auto* sensorHub = static_cast<SensorHubSensor*>(mSensorList->get(kSensorHubHandle));
    if (sensorHub != nullptr) sensorHub->ready();
    Rests rests(mPollFds, mSensorList->size());
    size_t failedPolls = 0;  // in a row
    // Without a time-out while nothing rests, and without a wake-up descriptor: the thread stops at
    // the first wake-up after the flag.
    while (!mStopThread.load(std::memory_order_acquire)) {
        const int count = mSensorList->size();
        int ready = 0;
        do {
            ready = poll(mPollFds, static_cast<nfds_t>(count), rests.timeoutMs());
        } while (ready < 0 && errno == EINTR);
        failedPolls = ready < 0 ? failedPolls + 1 : 0;
        if (failedPolls > 0) std::this_thread::sleep_for(pauseAfter(failedPolls));
        for (int i = 0; i < count; ++i) {
            short& events = mPollFds[i].revents;
            if (events == 0) continue;
            const bool isReadable = (events & POLLIN) != 0;
            const bool consumed = isReadable && drain(*mSensorList->at(i));
            if (isReadable) events = 0;
            rests.note(static_cast<size_t>(i), consumed);
        }
    }
    ALOGI("thread stop");
}

bool SensorsSubHal::drain(SensorBase& sensor) {
    const int32_t handle = sensor.getHandle();
    const int64_t latencyNs = row(handle).maxReportLatencyNs;
    const int available = sensor.getDataAvailable(static_cast<uint64_t>(latencyNs));
    // A failed read ends the batch: what is left wakes the thread again. A one-shot sensor's would
    // come too late, after the switch below.
    const int mostFailures = sensor.isOneShotSensor() ? 3 : 1;
    int failures = 0;  // in a row
    bool consumed = false;
    for (int left = std::min(available, kMaxBatch); left > 0 && failures < mostFailures; --left) {
        const bool wasRead = readOne(sensor);
        consumed |= wasRead;
        failures = wasRead ? 0 : failures + 1;
    }
    // A one-shot sensor is done once it has fired; the proxy does not switch it off.
    if (sensor.isOneShotSensor()) activate(handle, false);
    return consumed;
}

void SensorsSubHal::postEvents(const std::vector<Event>& events, bool wakeup) {
    const sp<IHalProxyCallback> callback = mCallBack.get();
    if (callback == nullptr) {
        ALOGI("postEvents: mCallBack is null");
        return;
    }
    if (events.empty()) return;
    // A vector holds events of one sensor. Late records of a disabled sensor end here.
    const int32_t handle = events.front().sensorHandle;
    if (!hasRow(handle) || !row(handle).enabled) return;
    callback->postEvents(events, callback->createScopedWakelock(wakeup));
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
