#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Distance in cm, near (0) or far (8), with a light figure of 0 or 100 in payload word 1. */
class ProximitySensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t near;       // non-zero means near
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 9);

  public:
    ProximitySensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("proximity_sensor", "ProximitySensor", "Proximity", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(56, "com.tavrine.sensor.physical_proximity", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "ProximitySensor : Meta event"});
        setReadFailure("ProxSensor :input data file descriptor not available");
    }

    /** Distance in cm. */
    static float indexToValue(unsigned index) { return static_cast<float>(index) * 8.0f; }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        const bool far = record.near == 0;
        // Ahead of the flush test: every record shows up in the log.
        ALOGI("ProximitySensor - lux %d", far ? 100 : 0);
        postRecord(record, [far](const Record&, EventPayload& payload) {
            const float distance = indexToValue(far ? 1 : 0);
            payload.data[0] = distance;
            payload.data[1] = far ? 100.0f : 0.0f;
            ALOGI("ProximitySensor - %d(cm)", static_cast<int>(distance));
        });
    }
};

template struct Driver<ProximitySensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
