#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Event code of the pocket mode, its reason, and the detector's fourteen figures. */
class PocketModeSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t event;
        uint8_t reason;
        uint32_t words[14];  // base, current, three more, temp, eight more
        int64_t timestamp;   // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 66);

  public:
    PocketModeSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("pocket_mode", "PocketModeSensor", "Pocket Mode", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(69, "com.tavrine.sensor.pocket_mode", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "PocketModeSensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.event;
            payload.data[1] = record.reason;
            for (size_t i = 0; i < 14; ++i)
                payload.data[2 + i] = static_cast<float>(record.words[i]);
            // The log shows the words signed.
            ALOGI(
                "PocketMode: event = %d, reason = %d, base = %d current = %d temp = %d time = "
                "%" PRId64,
                record.event, record.reason, static_cast<int32_t>(record.words[0]),
                static_cast<int32_t>(record.words[1]), static_cast<int32_t>(record.words[5]),
                record.timestamp);
        });
    }
};

template struct Driver<PocketModeSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
