#include "sensors/orientation/DirectGyroSensor.h"

#include <log/log.h>

#include <vector>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr uint32_t kAnyDirectRate = static_cast<uint32_t>(V1_0::SensorFlagBits::MASK_DIRECT_REPORT);
constexpr uint32_t kSharedMemory =
    static_cast<uint32_t>(V1_0::SensorFlagBits::DIRECT_CHANNEL_ASHMEM);

}  // namespace

DirectGyroSensor::DirectGyroSensor(const char* iioName, const char* tag, const char* displayName,
                                   const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase(iioName, tag, displayName, info, callback, false), mScale(info.resolution) {
    requirePermission();
    addFlags(kSpecial | kAnyDirectRate | kSharedMemory);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void DirectGyroSensor::readEvents() {
    PaddedVectorRecord record;
    if (readRecord(&record) < 0) return;
    setTimestamp(record.timestamp);
    const bool isFlushMarker = IsZeroVector()(record);
    if (isFlushMarker) {
        ALOGE("%s : Meta event", mTag);
    } else {
        convertVector(record, mScale, &mPendingEvent);
    }
    // Both ways take the same vector, so that a sample costs one allocation.
    const std::vector<Event> events(1, isFlushMarker ? mMetaEvent : mPendingEvent);
    mEventCallback->postEvents(events, isWakeUpSensor());
    if (isDirectReportSensor()) mEventCallback->postDirectEvents(events);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
