#include "sensors/light/Light_IR_Sensor.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/light/LightValues.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kLoggedRecords = 5;

struct __attribute__((packed)) LightIrRecord {
    int32_t irdata;
    int32_t r;
    int32_t g;
    int32_t b;
    int32_t c;  // clear
    int16_t irAgain;
    int16_t irAtime;     // also the infrared brightness
    uint64_t timestamp;  // ns
};
static_assert(sizeof(LightIrRecord) == 32);

// The last record's figures; one set for the process, as there is one such chip.
struct {
    int64_t irdata;
    int64_t r;
    int64_t g;
    int64_t b;
    int64_t c;
    int64_t irAtime;
    int64_t irAgain;
} gLast;

/** Unlike the other light sensors', a record without a timestamp may still be data. */
bool isFlushMarker(const LightIrRecord& record) {
    return record.timestamp == 0 && record.irdata == 0 && record.r == 0 && record.g == 0 &&
           record.b == 0 && record.c == 0 && record.irAgain == 0 && record.irAtime == 0;
}

void logRecord(const LightIrRecord& record) {
    ALOGI(
        "%s irdata=%d r=%d, g=%d, b=%d, c=%d, irAtime/ir_brightness=%d, irAgain=%d, "
        "time=%" PRId64,
        "Light_IR_Sensor", record.irdata, record.r, record.g, record.b, record.c, record.irAtime,
        record.irAgain, static_cast<int64_t>(record.timestamp));
}

}  // namespace

Light_IR_Sensor::Light_IR_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("light_ir_sensor", "Light_IR_Sensor", "Light IR", info, callback, false) {
    setType(kPrivateType + 42);
    setStringType("com.tavrine.sensor.light_ir");
    addFlags(kOnChange);
}

int Light_IR_Sensor::enable(int handle, bool on) {
    if (on) logCount = 0;
    return SensorBase::enable(handle, on);
}

void Light_IR_Sensor::readEvents() {
    LightIrRecord record;
    if (readRecord(&record) < 0) return;
    gLast = {record.irdata, record.r, record.g, record.b, record.c, record.irAtime, record.irAgain};
    if (logCount < kLoggedRecords) {
        logRecord(record);
        logCount = logCount + 1;
    }
    postRecord(
        record, isFlushMarker, [] { ALOGE("Light Sensor : Meta event"); },
        [this](const LightIrRecord&) {
            mPendingEvent.u.data[0] = unsignedPayload(gLast.irdata);
            mPendingEvent.u.data[1] = unsignedPayload(gLast.r);
            mPendingEvent.u.data[2] = unsignedPayload(gLast.g);
            mPendingEvent.u.data[3] = unsignedPayload(gLast.b);
            mPendingEvent.u.data[4] = unsignedPayload(gLast.c);
            mPendingEvent.u.data[5] = unsignedPayload(gLast.irAtime);
            mPendingEvent.u.data[6] = unsignedPayload(gLast.irAgain);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
