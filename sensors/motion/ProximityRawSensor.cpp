#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Raw figures of the proximity chip. The payload begins with the record's second field. */
class ProximityRawSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        int16_t raw;
        int16_t prox;
        int16_t callmin;
        int16_t baseline;
        int16_t psoff;
        int16_t ir;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 20);

  public:
    ProximityRawSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("proximity_raw", "ProximityRawSensor", "Proximity Raw Sensor", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(46, "com.tavrine.sensor.proximity_alert", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "ProximityRawSensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.prox;
            payload.data[1] = record.raw;
            payload.data[2] = record.callmin;
            payload.data[3] = record.baseline;
            payload.data[4] = record.psoff;
            payload.data[5] = record.ir;
            ALOGI("ProximityRawSensor - prox(%d),raw(%d),callmin(%d),baseline(%d),psoff(%d),ir(%d)",
                  record.prox, record.raw, record.callmin, record.baseline, record.psoff,
                  record.ir);
        });
    }
};

template struct Driver<ProximityRawSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
