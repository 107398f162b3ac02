#include "sensors/motion/PocketModeLiteSensor.h"

#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) PocketModeLiteRecord {
    uint8_t state;
    int32_t value;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(PocketModeLiteRecord) == 13);

}  // namespace

PocketModeLiteSensor::PocketModeLiteSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("pocket_mode_lite", "PocketModeLiteSensor", "Pocket Mode Lite", info, callback,
                 false) {
    setType(kPrivateType + 72);
    setStringType("com.tavrine.sensor.pocket_mode");
    addFlags(kOnChange);
}

void PocketModeLiteSensor::readEvents() {
    readFrame<PocketModeLiteRecord>(
        NoTimestamp(), [] { ALOGE("PocketModeLiteSensor : Meta event"); },
        [this](const PocketModeLiteRecord& record) {
            mPendingEvent.u.data[0] = record.state;
            mPendingEvent.u.data[1] = static_cast<float>(record.value);
            ALOGI("PocketModeLiteSensor - %d, %d", record.state, record.value);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
