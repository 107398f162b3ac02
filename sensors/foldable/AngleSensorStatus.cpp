#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** State of the angle sensor itself, as a signed code. */
class AngleSensorStatus : public SensorBase {
    struct __attribute__((packed)) Record {
        int8_t status;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 9);

  public:
    AngleSensorStatus(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("angle_sensor_status", "AngleSensorStatus", "Angle Sensor Status", info,
                     callback, kPlainIsWakeUp) {
        describePrivate(164, "com.tavrine.sensor.angle_sensor_status_check", kPermission,
                        kOnChange | kWakeUp, {ANDROID_LOG_ERROR, "AngleSensorStatus : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.scalar = record.status;
            ALOGI("AngleSensorStatus : event = %d, time = %" PRId64, record.status,
                  record.timestamp);
        });
    }
};

template struct Driver<AngleSensorStatus>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
