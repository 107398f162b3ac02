#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The small form of PocketModeSensor: a state and one figure. */
class PocketModeLiteSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t state;
        int32_t value;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 13);

  public:
    PocketModeLiteSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("pocket_mode_lite", "PocketModeLiteSensor", "Pocket Mode Lite", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(72, "com.tavrine.sensor.pocket_mode", kNoPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "PocketModeLiteSensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.state;
            payload.data[1] = static_cast<float>(record.value);
            ALOGI("PocketModeLiteSensor - %d, %d", record.state, record.value);
        });
    }
};

template struct Driver<PocketModeLiteSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
