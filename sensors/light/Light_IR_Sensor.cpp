#include "sensors/Driver.h"
#include "sensors/light/LogsFirstRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The last record's figures, for the process.
static struct {
    int64_t irdata;
    int64_t r;
    int64_t g;
    int64_t b;
    int64_t c;
    int64_t irAtime;
    int64_t irAgain;
} gLast;

/**
 * Raw channels of the light chip: infrared, red, green, blue, clear, integration time and gain. The
 * last two travel the other way round in the record.
 */
class Light_IR_Sensor : public LogsFirstRecords<SensorBase> {
    struct __attribute__((packed)) Record {
        int32_t irdata;
        int32_t r;
        int32_t g;
        int32_t b;
        int32_t c;  // clear
        int16_t irAgain;
        int16_t irAtime;    // also the infrared brightness
        int64_t timestamp;  // ns

        /** Unlike the other light sensors', a record without a timestamp may still be data. */
        bool isFlushMarker() const {
            return timestamp == 0 && irdata == 0 && r == 0 && g == 0 && b == 0 && c == 0 &&
                   irAgain == 0 && irAtime == 0;
        }
    };
    static_assert(sizeof(Record) == 32);

  public:
    Light_IR_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : LogsFirstRecords("light_ir_sensor", "Light_IR_Sensor", "Light IR", info, callback,
                           kPlainIsNonWakeUp) {
        describePrivate(42, "com.tavrine.sensor.light_ir", kNoPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "Light Sensor : Meta event"});
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        gLast = {record.irdata, record.r,       record.g,      record.b,
                 record.c,      record.irAtime, record.irAgain};
        if (isLogged(5)) {
            ALOGI(
                "Light_IR_Sensor irdata=%d r=%d, g=%d, b=%d, c=%d, irAtime/ir_brightness=%d, "
                "irAgain=%d, time=%" PRId64,
                record.irdata, record.r, record.g, record.b, record.c, record.irAtime,
                record.irAgain, record.timestamp);
        }
        postRecord(record, [](const Record&, EventPayload& payload) {
            payload.data[0] = unsignedPayload(gLast.irdata);
            payload.data[1] = unsignedPayload(gLast.r);
            payload.data[2] = unsignedPayload(gLast.g);
            payload.data[3] = unsignedPayload(gLast.b);
            payload.data[4] = unsignedPayload(gLast.c);
            payload.data[5] = unsignedPayload(gLast.irAtime);
            payload.data[6] = unsignedPayload(gLast.irAgain);
        });
    }
};

template struct Driver<Light_IR_Sensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
