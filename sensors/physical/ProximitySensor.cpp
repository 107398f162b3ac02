#include "sensors/physical/ProximitySensor.h"

#include <log/log.h>

#include <cerrno>
#include <cstring>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) ProximityRecord {
    uint8_t near;        // non-zero means near
    uint64_t timestamp;  // ns
};
static_assert(sizeof(ProximityRecord) == 9);

constexpr float kCentimetresPerIndex = 8.0f;
constexpr float kFarLux = 100.0f;

}  // namespace

ProximitySensor::ProximitySensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("proximity_sensor", "ProximitySensor", "Proximity", info, callback, true) {
    setType(kPrivateType + 56);
    setStringType("com.tavrine.sensor.physical_proximity");
    requirePermission();
    addFlags(kOnChange);
}

float ProximitySensor::indexToValue(unsigned index) {
    return static_cast<float>(index) * kCentimetresPerIndex;
}

void ProximitySensor::readEvents() {
    ProximityRecord record;
    if (readRecordQuietly(&record) < 0) {
        ALOGE("ProxSensor :input data file descriptor not available - (%s)", strerror(errno));
        return;
    }
    setTimestamp(record.timestamp);
    // Ahead of the flush test: a flush marker, too, leaves its state in the pending payload.
    const bool far = record.near == 0;
    const float distance = indexToValue(far ? 1 : 0);
    mPendingEvent.u.data[0] = distance;
    mPendingEvent.u.data[1] = far ? kFarLux : 0.0f;
    ALOGI("ProximitySensor - lux %d", far ? 100 : 0);
    if (record.timestamp == 0) {
        ALOGE("ProximitySensor : Meta event");
        postMetaEvent();
        return;
    }
    ALOGI("ProximitySensor - %d(cm)", static_cast<int>(distance));
    postPendingEvent();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
