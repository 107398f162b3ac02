#include <log/log.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>
#include <utils/AndroidThreads.h>

#include <cerrno>
#include <utility>

#include "hub/SensorHubSensor.h"
#include "subhal/SensorsSubHal.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

// As urgent as the display: a late sample is worth little.
constexpr int kPollThreadPriority = -8;
constexpr char kPollThreadName[] = "sensorhub_poll";  // at most 15 characters

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
    // No time-out and no wake-up descriptor: the thread stops at the first wake-up after the flag.
    while (!mStopThread.load(std::memory_order_acquire)) {
        const int count = mSensorList->size();
        while (poll(mPollFds, static_cast<nfds_t>(count), -1) < 0 && errno == EINTR) {
        }
        for (int i = 0; i < count; ++i) {
            if ((mPollFds[i].revents & POLLIN) == 0) continue;
            drain(*mSensorList->at(i));
            mPollFds[i].revents = 0;
        }
    }
    ALOGI("thread stop");
}

void SensorsSubHal::drain(SensorBase& sensor) {
    const int32_t handle = sensor.getHandle();
    const int64_t latencyNs = row(handle).maxReportLatencyNs;
    const int records = sensor.getDataAvailable(static_cast<uint64_t>(latencyNs));
    for (int i = 0; i < records; ++i)
        sensor.readEvents();
    // A one-shot sensor is done once it has fired; the proxy does not switch it off.
    if (sensor.isOneShotSensor()) activate(handle, false);
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
