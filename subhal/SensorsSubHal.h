#pragma once

#include <V2_0/SubHal.h>
#include <hardware/sensors.h>
#include <poll.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "directchannel/DirectChannel.h"
#include "sensors/ISensorsEventCallback.h"
#include "sensors/Relaxed.h"
#include "sensors/SensorList.h"
#include "subhal/StrongPointerSlot.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

using V1_0::OperationMode;
using V1_0::RateLevel;
using V1_0::Result;
using V1_0::SharedMemInfo;
using V2_0::implementation::IHalProxyCallback;
using V2_0::implementation::ISensorsSubHal;

/** The record that the hub's batch device takes. */
struct batch_config {
    int64_t timeout;  // maximum report latency in ns; 0 reports at once
    int64_t delay;    // sampling period in ns
    int32_t flag;     // always 0
    int32_t padding;  // always 0
};
// The request number announces 8 bytes, but the driver takes all 24.
static_assert(sizeof(batch_config) == 24 && offsetof(batch_config, flag) == 16);

/**
 * The sub-HAL: what the proxy talks to, and where sensor objects post their events.
 *
 * One object per process, in static storage. A poll thread of its own runs every readEvents; the
 * proxy's threads carry the requests. Lock order, outermost first: mDirectChannelLock, mConfigLock,
 * mActivateLock; a row's lock is innermost. The poll thread only try-locks mDirectChannelLock,
 * and takes mActivateLock to switch off one-shot sensors.
 */
class SensorsSubHal : public ISensorsSubHal, public ISensorsEventCallback {
  public:
    /**
     * Builds the catalogue and starts the poll thread, unless the catalogue is empty. Ends the
     * process when there is no thread to be had.
     */
    SensorsSubHal();
    SensorsSubHal(const SensorsSubHal&) = delete;
    SensorsSubHal& operator=(const SensorsSubHal&) = delete;

    /** Joins the poll thread, which ends at its next wake-up, then drops sensors and channels. */
    ~SensorsSubHal() override;

    // IBase
    Return<void> debug(const hidl_handle& handle, const hidl_vec<hidl_string>& args) override;

    // ISensors 2.0
    Return<void> getSensorsList(getSensorsList_cb callback) override;
    /** Refuses every mode with BAD_VALUE; injection works whatever the mode. */
    Return<Result> setOperationMode(OperationMode mode) override;
    /** Remembers the request even where it fails; BAD_VALUE for every failure. */
    Return<Result> activate(int32_t sensorHandle, bool enabled) override;
    /**
     * Raises the period to the sensor's minimum delay, and remembers and sends it whether or not
     * the sensor is on. BAD_VALUE for every failure.
     */
    Return<Result> batch(int32_t sensorHandle, int64_t samplingPeriodNs,
                         int64_t maxReportLatencyNs) override;
    /** BAD_VALUE for one-shot sensors and every failure; whether the sensor is on is not asked. */
    Return<Result> flush(int32_t sensorHandle) override;
    /** BAD_VALUE for unknown handles and what the sensor object refuses. */
    Return<Result> injectSensorData(const Event& event) override;
    /**
     * Gives a channel handle, 1 or more and never used again. Only ashmem is taken.
     *
     * The memory's descriptor, the first of its native handle, passes to the library, which closes
     * it when the channel goes or could not be made; what is refused before that, by its type or
     * format or for want of a handle, stays the caller's. The native handle itself is only
     * borrowed.
     */
    Return<void> registerDirectChannel(const SharedMemInfo& mem,
                                       registerDirectChannel_cb callback) override;
    /**
     * Zeroes and lets go of the channel's memory, and switches off the sensors that still report
     * on it and on no other, except those that the proxy has switched on. OK for unknown handles
     * too.
     */
    Return<Result> unregisterDirectChannel(int32_t channelHandle) override;
    /**
     * Puts a sensor's report on a channel, or at RateLevel::STOP takes it off; STOP with sensor
     * handle -1 takes every sensor off. VERY_FAST runs as FAST, the hub's fastest.
     *
     * Gives the sensor handle as the report token, 0 for STOP. A rate switches the sensor on;
     * STOP of one sensor leaves it on, STOP of all switches it off as unregistering does.
     */
    Return<void> configDirectReport(int32_t sensorHandle, int32_t channelHandle, RateLevel rate,
                                    configDirectReport_cb callback) override;

    // ISensorsSubHal
    const std::string getName() override;
    using ISensorsSubHal::initialize;
    /**
     * Takes over the proxy's callback and removes all direct channels. Sensors stay as they are,
     * except those that only a channel had switched on.
     */
    Return<Result> initialize(const sp<IHalProxyCallback>& halProxyCallback) override;

    // ISensorsEventCallback
    void postEvents(const std::vector<Event>& events, bool wakeup) override;
    void postDirectEvents(const std::vector<Event>& events) override;

  private:
    /** What was last asked for a handle; rows live as long as the process. */
    struct SensorState {
        void setRequest(int64_t periodNs, int64_t latencyNs);
        void setRateLevel(int32_t level);

        std::mutex lock;  // held for a few loads and stores, never across a call
        // Of the next three. Whoever has sent them looks afterwards whether they are still those.
        std::atomic<uint32_t> changes{0};
        // Written under lock. The poll thread reads them without it, where a stale value costs the
        // events of a moment.
        Relaxed<int64_t> maxReportLatencyNs{0};
        Relaxed<int64_t> samplingPeriodNs{0};
        Relaxed<int32_t> rateLevel{0};  // the highest of the sensor's direct channels, 0 without
        // Written at once and again under mActivateLock, so that it ends as the hub does.
        Relaxed<bool> enabled{false};
    };

    /** One sensor's report into one channel. */
    struct DirectChannelTimingInfo {
        int64_t lastTimestamp;  // ns, of the last event written
        int32_t rateLevel;      // 1 normal, 2 fast
    };
    using ChannelTimings = std::unordered_map<int32_t, DirectChannelTimingInfo>;

    static constexpr int32_t kMaxHandle = 72;

    static bool hasRow(int32_t sensorHandle) {
        return sensorHandle >= 0 && sensorHandle <= kMaxHandle;
    }
    SensorState& row(int32_t sensorHandle) {
        return mSensorState[static_cast<size_t>(sensorHandle)];
    }

    // Poll and posting.
    static void startThread(SensorsSubHal* self);
    void run();
    /** Reads and posts what a sensor has; false when that was nothing. */
    bool drain(SensorBase& sensor);

    // Requests.
    enum class Asker { kProxy, kChannels };
    /** Switches the sensor object, then the hub; not for a channel while the proxy has it on. */
    int queueActivate(int32_t handle, bool enable, Asker asker);
    /** Sends the hub, then the sensor object, the row merged with the rate levels. */
    int queueBatch(int32_t handle, int64_t periodNs, int64_t latencyNs);
    /** The row's batch request, sent again when the row has changed meanwhile. */
    int sendBatch(int32_t handle);
    /** Switches a sensor, unless the proxy has it on. */
    void activateForChannels(int32_t handle, bool enable);

    // Direct channels. Negative results are negative errno values.
    static bool isDirectReportSupported() { return true; }
    int32_t addDirectChannel(const sensors_direct_mem_t* mem);
    int removeDirectChannel(int32_t channelHandle);
    void removeAllDirectChannels();
    int stopAllDirectReportOnChannel(int32_t channelHandle);
    int configDirectChannel(int32_t sensorHandle, int32_t channelHandle, int32_t rateLevel);
    // These four run under mDirectChannelLock.
    void removeLocked(int32_t channelHandle);
    /**
     * Takes every sensor off a channel and switches off those that are now on none, unless the
     * proxy uses them. Their handles, rising.
     */
    std::vector<int32_t> stopLocked(int32_t channelHandle);
    int configLocked(int32_t sensorHandle, int32_t channelHandle, int32_t rateLevel);
    /** Puts a channel on, moves it to, or at level 0 takes it off a rate level. */
    void setRateLevelLocked(int32_t sensorHandle, int32_t channelHandle, int32_t rateLevel);

    int64_t rateLevelToDeviceSamplingPeriodNs(int32_t sensorHandle, int32_t rateLevel) const;
    void mergeDirectReportRequest(batch_config* request, int32_t sensorHandle);
    void sendDirectReportEvent(const sensors_event_t& event);

    StrongPointerSlot<IHalProxyCallback> mCallBack;  // null until initialize
    pollfd* mPollFds = nullptr;  // mSensorList's; null without a poll thread, else its alone
    std::mutex mConfigLock;      // around activation and batching by the direct-channel paths
    std::mutex mActivateLock;    // one switch at a time, from the row to the hub
    std::unique_ptr<SensorList> mSensorList;  // never changed after construction
    pthread_t mPollThread = {};
    std::atomic<bool> mStopThread{false};
    std::array<SensorState, kMaxHandle + 1> mSensorState;  // by sensor handle
    std::mutex mDirectChannelLock;
    // Guarded by mDirectChannelLock.
    std::unordered_map<int32_t, ChannelTimings>
        mSensorToChannel;  // by sensor and channel handle; the sensors are fixed at construction
    std::unordered_map<int32_t, std::unique_ptr<DirectChannelBase>> mDirectChannel;
    int32_t mNextDirectChannelHandle = 1;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
