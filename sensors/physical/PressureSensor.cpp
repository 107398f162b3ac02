#include "sensors/physical/PressureSensor.h"

#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) PressureRecord {
    int32_t pressure;
    uint16_t temperature;
    int32_t pressureOffset;
    int32_t reserved;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(PressureRecord) == 22);

/** Difference that wraps as the hub's own 32-bit arithmetic does. */
int32_t wrappingDifference(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) - static_cast<uint32_t>(right));
}

}  // namespace

PressureSensor::PressureSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("pressure_sensor", "PressureSensor", "Barometer", info, callback, false) {
    setType(6);
    if (info.vendor == "STM") {
        mPressureScale = 1.0f / 4096;
        mTemperatureScale = 1.0f / 480;
        mTemperatureOffset = 42.5f;
    } else if (info.vendor == "Bosch Sensortec") {
        mPressureScale = 1.0f / 6400;
        mTemperatureScale = 0.01f;
        mTemperatureOffset = 0.0f;
    } else {
        ALOGW("PressureSensor : There is no vendor name");
    }
}

void PressureSensor::readEvents() {
    readFrame<PressureRecord>(
        [](const PressureRecord& record) {
            return record.timestamp == 0 && record.pressure == 0 && record.temperature == 0 &&
                   record.pressureOffset == 0;
        },
        [] { ALOGE("PressureSensor : Meta event"); },
        [this](const PressureRecord& record) {
            const int32_t counts = wrappingDifference(record.pressure, record.pressureOffset);
            mPendingEvent.u.scalar = mPressureScale * static_cast<float>(counts);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
