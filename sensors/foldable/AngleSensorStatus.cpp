#include "sensors/foldable/AngleSensorStatus.h"

#include <log/log.h>

#include <cinttypes>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) StatusRecord {
    int8_t status;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(StatusRecord) == 9);

}  // namespace

AngleSensorStatus::AngleSensorStatus(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("angle_sensor_status", "AngleSensorStatus", "Angle Sensor Status", info, callback,
                 true) {
    setType(kPrivateType + 164);
    setStringType("com.tavrine.sensor.angle_sensor_status_check");
    requirePermission();
    addFlags(kOnChange | kWakeUp);
}

void AngleSensorStatus::readEvents() {
    readFrame<StatusRecord>(
        NoTimestamp(), [] { ALOGE("AngleSensorStatus : Meta event"); },
        [this](const StatusRecord& record) {
            mPendingEvent.u.scalar = static_cast<float>(record.status);
            ALOGI("AngleSensorStatus : event = %d, time = %" PRId64, record.status,
                  static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
