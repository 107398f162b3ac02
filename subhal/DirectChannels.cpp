#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "common/Log.h"
#include "subhal/SensorsSubHal.h"
#include "subhal/convert.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

using V1_0::SharedMemType;

constexpr int32_t kAllSensors = -1;
constexpr int32_t kNoChannel = -1;
constexpr int32_t kMinReportHandle = 1;

// The fastest that the hub samples for direct report; what asks for more gets this.
constexpr int32_t kMaxStoredRate = SENSOR_DIRECT_RATE_FAST;

/** Sampling period of a rate level in ns, 0 for a level without one. */
int64_t periodOf(int32_t rateLevel) {
    constexpr int64_t kPeriods[] = {0, 20'000'000, 2'500'000, 2'000'000};
    const auto index = static_cast<size_t>(rateLevel);
    return index < std::size(kPeriods) ? kPeriods[index] : 0;
}

/** A failure status as the proxy understands it. */
Result toFailure(int32_t status) {
    switch (const auto result = static_cast<Result>(status)) {
        case Result::PERMISSION_DENIED:
        case Result::NO_MEMORY:
        case Result::BAD_VALUE:
            return result;
        default:
            return Result::INVALID_OPERATION;
    }
}

std::unique_ptr<DirectChannelBase> makeChannel(const sensors_direct_mem_t* mem) {
    ALOGI("mem->type %d", mem->type);
    switch (mem->type) {
        case SENSOR_DIRECT_MEM_TYPE_GRALLOC:
            ALOGI("mem->type GRALLOC");
            return std::make_unique<GrallocDirectChannel>(mem);
        case SENSOR_DIRECT_MEM_TYPE_ASHMEM:
            ALOGI("mem->type ASHMEM");
            return std::make_unique<AshmemDirectChannel>(mem);
        default:
            return nullptr;
    }
}

}  // namespace

// What the proxy calls: no locks. ---------------------------------------------------------------

Return<void> SensorsSubHal::registerDirectChannel(const SharedMemInfo& mem,
                                                  registerDirectChannel_cb callback) {
    ALOGI("registerDirectChannel++");
    sensors_direct_mem_t directMem = {};
    ALOGI("convertFromSharedMemInfo type: %d format: %d memout size: %d handle: %p",
          static_cast<int>(mem.type), static_cast<int>(mem.format), static_cast<int>(mem.size),
          static_cast<const void*>(mem.memoryHandle.getNativeHandle()));
    // Graphics buffers work below this interface, but are not offered to clients.
    if (mem.type != SharedMemType::ASHMEM) {
        ALOGE("type is not supported: %d", static_cast<int>(mem.type));
        callback(Result::BAD_VALUE, kNoChannel);
        return Void();
    }
    if (!V1_0::implementation::convertFromSharedMemInfo(mem, &directMem)) {
        callback(Result::BAD_VALUE, kNoChannel);
        return Void();
    }
    const int32_t result = addDirectChannel(&directMem);
    ALOGI("addDirectChannel %d", result);
    if (result >= 0) {
        callback(Result::OK, result);
    } else {
        callback(toFailure(result), kNoChannel);
    }
    return Void();
}

Return<Result> SensorsSubHal::unregisterDirectChannel(int32_t channelHandle) {
    removeDirectChannel(channelHandle);
    return Result::OK;
}

Return<void> SensorsSubHal::configDirectReport(int32_t sensorHandle, int32_t channelHandle,
                                               RateLevel rate, configDirectReport_cb callback) {
    const int level = V1_0::implementation::convertFromRateLevel(rate);
    if (level < 0) {
        callback(Result::BAD_VALUE, 0);
        return Void();
    }
    ALOGI("configDirectReport %d %d %d", sensorHandle, channelHandle, level);
    const int result = configDirectChannel(sensorHandle, channelHandle, level);
    const bool ok = result == 0 || (level != SENSOR_DIRECT_RATE_STOP && result >= 1);
    callback(ok ? Result::OK : toFailure(result), result);
    return Void();
}

// One operation each, as a whole under mDirectChannelLock. --------------------------------------

int32_t SensorsSubHal::addDirectChannel(const sensors_direct_mem_t* mem) {
    ALOGI("addDirectChannel++");
    std::unique_ptr<DirectChannelBase> channel;  // a failed one goes after the lock
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    for (const auto& existing : mDirectChannel) {
        if (existing.second->memoryMatches(mem)) {
            ALOGI("memoryMatches error");
            return -EINVAL;
        }
    }
    channel = makeChannel(mem);
    if (channel == nullptr) return -ENOSYS;
    if (!channel->isValid()) {
        const int32_t error = channel->getError();
        ALOGW("Direct channel object(type:%d) has error %d upon init", mem->type, error);
        return error;
    }
    const int32_t channelHandle = mNextDirectChannelHandle++;
    mDirectChannel.emplace(channelHandle, std::move(channel));
    return channelHandle;
}

int SensorsSubHal::removeDirectChannel(int32_t channelHandle) {
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    removeLocked(channelHandle);
    return 0;
}

void SensorsSubHal::removeAllDirectChannels() {
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    while (!mDirectChannel.empty()) {
        const int32_t channelHandle = mDirectChannel.begin()->first;
        ALOGE("initialize: remove direct-channel handle=%d", channelHandle);
        removeLocked(channelHandle);
    }
}

int SensorsSubHal::stopAllDirectReportOnChannel(int32_t channelHandle) {
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    if (mDirectChannel.count(channelHandle) == 0) return -EINVAL;
    stopLocked(channelHandle);
    return 0;
}

int SensorsSubHal::configDirectChannel(int32_t sensorHandle, int32_t channelHandle,
                                       int32_t rateLevel) {
    ALOGI("configDirectChannel %d %d %d", sensorHandle, channelHandle, rateLevel);
    if (sensorHandle == kAllSensors && rateLevel == SENSOR_DIRECT_RATE_STOP) {
        return stopAllDirectReportOnChannel(channelHandle);
    }
    if (sensorHandle < kMinReportHandle || sensorHandle > kMaxHandle) return -EINVAL;
    const SensorBase* sensor = mSensorList->get(sensorHandle);
    if (sensor == nullptr || !sensor->isDirectReportSensor()) return -EINVAL;
    const std::lock_guard<std::mutex> lock(mDirectChannelLock);
    return configLocked(sensorHandle, channelHandle, rateLevel);
}

// Their parts, with mDirectChannelLock held. ----------------------------------------------------

void SensorsSubHal::removeLocked(int32_t channelHandle) {
    ALOGI("removeDirectChannel: %d", channelHandle);
    const std::vector<int32_t> stopped = stopLocked(channelHandle);
    if (!stopped.empty()) {
        std::string sensors;
        for (const int32_t sensorHandle : stopped)
            sensors += std::to_string(sensorHandle) + ",";
        ALOGW("Removing channel %d when sensors (%s) are not stopped.", channelHandle,
              sensors.c_str());
    }
    mDirectChannel.erase(channelHandle);
}

std::vector<int32_t> SensorsSubHal::stopLocked(int32_t channelHandle) {
    std::vector<int32_t> unused;
    for (const auto& [sensorHandle, channels] : mSensorToChannel) {
        if (channels.count(channelHandle) == 0) continue;
        setRateLevelLocked(sensorHandle, channelHandle, SENSOR_DIRECT_RATE_STOP);
        if (channels.empty()) unused.push_back(sensorHandle);
    }
    std::sort(unused.begin(), unused.end());

    const std::lock_guard<std::mutex> configLock(mConfigLock);
    for (const int32_t sensorHandle : unused)
        activateForChannels(sensorHandle, false);
    return unused;
}

int SensorsSubHal::configLocked(int32_t sensorHandle, int32_t channelHandle, int32_t rateLevel) {
    if (mDirectChannel.count(channelHandle) == 0) {
        ALOGI("mDirectChannel not found");
        return -EINVAL;
    }
    if (mSensorToChannel.count(sensorHandle) == 0) {
        ALOGI("mSensorToChannel not found");
        return -EINVAL;
    }
    setRateLevelLocked(sensorHandle, channelHandle, std::min(rateLevel, kMaxStoredRate));

    const std::lock_guard<std::mutex> configLock(mConfigLock);
    // Stopping leaves the sensor on: a client that stops often starts again.
    if (rateLevel == SENSOR_DIRECT_RATE_STOP) return 0;
    activateForChannels(sensorHandle, true);
    sendBatch(sensorHandle);
    return sensorHandle;
}

void SensorsSubHal::setRateLevelLocked(int32_t sensorHandle, int32_t channelHandle,
                                       int32_t rateLevel) {
    ChannelTimings& channels = mSensorToChannel[sensorHandle];
    channels.erase(channelHandle);
    if (rateLevel != SENSOR_DIRECT_RATE_STOP) channels[channelHandle] = {0, rateLevel};
    int32_t highest = SENSOR_DIRECT_RATE_STOP;
    for (const auto& channel : channels)
        highest = std::max(highest, channel.second.rateLevel);
    row(sensorHandle).setRateLevel(highest);
}

void SensorsSubHal::SensorState::setRateLevel(int32_t level) {
    const std::lock_guard<std::mutex> guard(lock);
    rateLevel = level;
    ++changes;
}

// What must not wait for it: batch requests and events. -----------------------------------------

int64_t SensorsSubHal::rateLevelToDeviceSamplingPeriodNs(int32_t sensorHandle,
                                                         int32_t rateLevel) const {
    const int64_t periodNs = periodOf(rateLevel);
    if (mSensorToChannel.count(sensorHandle) == 0 || periodNs == 0) {
        return std::numeric_limits<int64_t>::max();
    }
    return periodNs;
}

void SensorsSubHal::mergeDirectReportRequest(batch_config* request, int32_t sensorHandle) {
    SensorState& state = row(sensorHandle);
    const std::lock_guard<std::mutex> lock(state.lock);
    request->delay = state.samplingPeriodNs;
    request->timeout = state.maxReportLatencyNs;
    const int64_t directPeriodNs = periodOf(state.rateLevel);
    if (directPeriodNs == 0) return;

    // Direct reports are never batched, and run at the faster of the periods that are wanted now.
    request->timeout = 0;
    const bool directIsFaster =
        static_cast<uint64_t>(directPeriodNs) < static_cast<uint64_t>(request->delay);
    if (directIsFaster || !state.enabled) request->delay = directPeriodNs;
}

void SensorsSubHal::postDirectEvents(const std::vector<Event>& events) {
    for (const Event& event : events) {
        if (!hasRow(event.sensorHandle)) continue;
        if (row(event.sensorHandle).rateLevel == SENSOR_DIRECT_RATE_STOP) continue;
        sensors_event_t converted;
        V1_0::implementation::convertToSensorEvent(event, &converted);
        sendDirectReportEvent(converted);
    }
}

void SensorsSubHal::sendDirectReportEvent(const sensors_event_t& event) {
    // A configuration call may write to the hub under this lock; events do not wait for that.
    const std::unique_lock<std::mutex> lock(mDirectChannelLock, std::try_to_lock);
    if (!lock.owns_lock()) return;
    const auto channels = mSensorToChannel.find(event.sensor);
    if (channels == mSensorToChannel.end()) return;
    for (auto& [channelHandle, timing] : channels->second) {
        const auto channel = mDirectChannel.find(channelHandle);
        if (channel == mDirectChannel.end()) continue;
        channel->second->write(&event);
        timing.lastTimestamp = event.timestamp;
    }
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
