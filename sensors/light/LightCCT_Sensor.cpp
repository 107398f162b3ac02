#include <cstring>

#include "sensors/Driver.h"
#include "sensors/light/LogsFirstRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The last record's figures, for the process.
static struct {
    int64_t lux;
    int64_t cct;
    int64_t rawLux;
} gLast;

/** Lux, colour temperature and region of interest in words 0 to 2, and the raw lux in word 4. */
class LightCCT_Sensor : public LogsFirstRecords<SensorBase> {
    struct __attribute__((packed)) Record {
        int32_t lux;
        int32_t cct;  // K
        int32_t rawLux;
        int16_t roi;        // older hubs send none
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }

        void expandFrom(size_t count) {
            if (count == sizeof(Record)) return;
            // It is where the region would be, and overlaps its place here.
            memmove(&timestamp, reinterpret_cast<const uint8_t*>(this) + offsetof(Record, roi),
                    sizeof(timestamp));
            roi = 0;
        }
    };
    static_assert(sizeof(Record) == 22);

  public:
    LightCCT_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : LogsFirstRecords("light_cct_sensor", "LightCCT_Sensor", "Light CCT", info, callback,
                           kPlainIsNonWakeUp) {
        describePrivate(51, "com.tavrine.sensor.light_cct", kNoPermission, kContinuous,
                        {ANDROID_LOG_ERROR, "LightCCT_Sensor : Meta event"});
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        gLast = {record.lux, record.cct, record.rawLux};
        if (isLogged(3)) {
            ALOGI("LightCCT_Sensor: lux = %d, CCT = %d, rawLux = %d, roi = %d, time = %" PRId64,
                  record.lux, record.cct, record.rawLux, record.roi, record.timestamp);
        }
        postRecord(record, [](const Record& r, EventPayload& payload) {
            payload.data[0] = unsignedPayload(gLast.lux);
            payload.data[1] = unsignedPayload(gLast.cct);
            payload.data[2] = r.roi;
            payload.data[4] = unsignedPayload(gLast.rawLux);
        });
    }
};

template struct Driver<LightCCT_Sensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
