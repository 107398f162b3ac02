#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A signal without data: each record, whatever its bytes, gives a flush-complete event. */
class AoisSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t ignored[8];
    };
    static_assert(sizeof(Record) == 8);

  public:
    AoisSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("aois_sensor", "AoisSensor", "Aois Sensor", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(163, "com.tavrine.sensor.gyroscope_aois", kPermission, kSpecial,
                        {ANDROID_LOG_ERROR, "AoisSensor : Meta event"});
    }

    void readEvents() override {
        Record record;
        if (readRecord(&record)) postFlushComplete();
    }
};

template struct Driver<AoisSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
