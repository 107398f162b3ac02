#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Pocket mode with the detector's position and pedometer states. */
class PocketPosModeSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t totalState;
        uint8_t positionState;
        uint32_t positionCase;
        uint8_t pedoState;
        uint32_t pedoCase;
        uint32_t version;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 23);

  public:
    PocketPosModeSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("pocket_pos_mode", "PocketPosModeSensor", "Pocket Position Mode", info,
                     callback, kPlainIsNonWakeUp) {
        describePrivate(162, "com.tavrine.sensor.pocket_pos_mode", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "PocketPosModeSensor : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.totalState;
            payload.data[1] = record.positionState;
            payload.data[2] = static_cast<float>(record.positionCase);
            payload.data[3] = record.pedoState;
            payload.data[4] = static_cast<float>(record.pedoCase);
            payload.data[5] = static_cast<float>(record.version);
            // The log shows the words signed, and without a blank before "pedoCase" on purpose.
            ALOGI(
                "PocketPosMode: totalState = %d, positionState = %d, positionCase = %d "
                "pedoState = %dpedoCase = %d version = %d time = %" PRId64,
                record.totalState, record.positionState, static_cast<int32_t>(record.positionCase),
                record.pedoState, static_cast<int32_t>(record.pedoCase),
                static_cast<int32_t>(record.version), record.timestamp);
        });
    }
};

template struct Driver<PocketPosModeSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
