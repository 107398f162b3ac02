#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The SAR detector's fold status, as an unsigned code. */
class SarFolding : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t status;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 9);

  public:
    SarFolding(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("sar_folding", "SarFolding", "Sar Folding", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(175, "com.tavrine.sensor.sar_folding", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "SarFolding : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.scalar = record.status;
            ALOGI("SarFolding : status=%d time = %" PRId64, record.status, record.timestamp);
        });
    }
};

template struct Driver<SarFolding>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
