#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Taps on the back of the device, with three 64-bit figures of the detector. */
class BackTap : public SensorBase {
    struct __attribute__((packed)) Record {
        int8_t event;
        uint64_t values[3];
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 33);

  public:
    BackTap(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("back_tap", "BackTap", "Back Tap", info, callback, kPlainIsWakeUp) {
        describePrivate(115, "com.tavrine.sensor.back_tap", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "BackTap: Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.event;
            for (size_t i = 0; i < 3; ++i)
                payload.data[1 + i] = static_cast<float>(record.values[i]);
            // The log shows the figures signed.
            ALOGI("BackTap: Tap Event = %d, %" PRId64 ", %" PRId64 ", %" PRId64 ", time = %" PRId64,
                  record.event, static_cast<int64_t>(record.values[0]),
                  static_cast<int64_t>(record.values[1]), static_cast<int64_t>(record.values[2]),
                  record.timestamp);
        });
    }
};

template struct Driver<BackTap>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
