#include "sensors/motion/ProximityRawSensor.h"

#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) ProximityRawRecord {
    int16_t raw;
    int16_t prox;
    int16_t callmin;
    int16_t baseline;
    int16_t psoff;
    int16_t ir;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(ProximityRawRecord) == 20);

}  // namespace

ProximityRawSensor::ProximityRawSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("proximity_raw", "ProximityRawSensor", "Proximity Raw Sensor", info, callback,
                 false) {
    setType(kPrivateType + 46);
    setStringType("com.tavrine.sensor.proximity_alert");
    requirePermission();
    addFlags(kOnChange);
}

void ProximityRawSensor::readEvents() {
    readFrame<ProximityRawRecord>(
        NoTimestamp(), [] { ALOGE("ProximityRawSensor : Meta event"); },
        [this](const ProximityRawRecord& record) {
            mPendingEvent.u.data[0] = record.prox;
            mPendingEvent.u.data[1] = record.raw;
            mPendingEvent.u.data[2] = record.callmin;
            mPendingEvent.u.data[3] = record.baseline;
            mPendingEvent.u.data[4] = record.psoff;
            mPendingEvent.u.data[5] = record.ir;
            ALOGI("%s - prox(%d),raw(%d),callmin(%d),baseline(%d),psoff(%d),ir(%d)", mTag,
                  record.prox, record.raw, record.callmin, record.baseline, record.psoff,
                  record.ir);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
