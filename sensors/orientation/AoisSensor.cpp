#include "sensors/orientation/AoisSensor.h"

#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) SignalRecord {
    uint8_t ignored[8];
};
static_assert(sizeof(SignalRecord) == 8);

}  // namespace

AoisSensor::AoisSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("aois_sensor", "AoisSensor", "Aois Sensor", info, callback, false) {
    setType(kPrivateType + 163);
    setStringType("com.tavrine.sensor.gyroscope_aois");
    requirePermission();
    addFlags(kSpecial);
}

void AoisSensor::readEvents() {
    SignalRecord record;
    if (readRecord(&record) < 0) return;
    ALOGE("AoisSensor : Meta event");
    postMetaEvent();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
