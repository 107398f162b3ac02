#include <poll.h>
#include <pthread.h>
#include <unistd.h>
#include <utils/AndroidThreads.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <thread>

#include "common/Log.h"
#include "hub/SensorHubSensor.h"
#include "subhal/SensorsSubHal.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

using namespace std::chrono_literals;

// As urgent as the display: a late sample is worth little.
constexpr int kPollThreadPriority = -8;
constexpr char kPollThreadName[] = "sensorhub_poll";  // at most 15 characters

// By wake-ups in a row that consumed nothing. The first costs nothing; a device that cannot be read
// and keeps waking the thread costs 100 wake-ups a second.
constexpr std::chrono::milliseconds kPauses[] = {0ms, 0ms, 1ms, 2ms, 4ms, 8ms, 10ms};

// Signals in a row after which the thread pauses and looks for its end as after any failure.
constexpr int kMaxInterruptions = 100;

// The largest buffer that a sensor's description can ask for; no true count is above it.
constexpr int kMaxBatch = 65536;

// A record that a read cannot take stays where it is: no use in trying as often as there are
// records.
constexpr int kMaxFailedReads = 3;

/** Whether there was a record. */
bool readOne(SensorBase& sensor) {
    const uint32_t before = sensor.recordsRead();
    sensor.readEvents();
    return sensor.recordsRead() != before;
}

/** Whether a read would find something now. */
bool isReadable(const SensorBase& sensor) {
    pollfd entry = {sensor.getFd(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0;
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
    if (mSensorHub != nullptr) mSensorHub->ready();
    size_t idleWakeUps = 0;
    // No time-out and no wake-up descriptor: the thread stops at the first wake-up after the flag.
    while (!mStopThread.load(std::memory_order_acquire)) {
        const int count = mSensorList->size();
        for (int i = 0; i < kMaxInterruptions; ++i) {
            if (poll(mPollFds, static_cast<nfds_t>(count), -1) >= 0 || errno != EINTR) break;
        }
        bool consumed = false;
        for (int i = 0; i < count; ++i) {
            if ((mPollFds[i].revents & POLLIN) == 0) continue;
            consumed |= drain(*mSensorList->at(i));
            mPollFds[i].revents = 0;
        }
        idleWakeUps = consumed ? 0 : std::min(idleWakeUps + 1, std::size(kPauses) - 1);
        if (kPauses[idleWakeUps] > 0ms) std::this_thread::sleep_for(kPauses[idleWakeUps]);
    }
    ALOGI("thread stop");
}

bool SensorsSubHal::drain(SensorBase& sensor) {
    const int32_t handle = sensor.getHandle();
    const int64_t latencyNs = row(handle).maxReportLatencyNs;
    const int available = sensor.getDataAvailable(static_cast<uint64_t>(latencyNs));
    const int tries = std::min(available, kMaxBatch);
    int records = 0;
    int failed = 0;  // in a row
    for (int i = 0; i < tries; ++i) {
        if (readOne(sensor)) {
            ++records;
            failed = 0;
        } else if (++failed == kMaxFailedReads || (i + 1 < tries && !isReadable(sensor))) {
            break;  // the count was wrong, or what is there cannot be read
        }
    }
    // A one-shot sensor is done once it has fired; the proxy does not switch it off.
    if (sensor.isOneShotSensor()) activate(handle, false);
    return records > 0;
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
