#include "sensors/light/LightCCT_Sensor.h"

#include <inttypes.h>
#include <log/log.h>

#include <cstring>

#include "sensors/light/LightValues.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kLoggedRecords = 3;

struct __attribute__((packed)) RecordWithRoi {
    int32_t lux;
    int32_t cct;  // K
    int32_t rawLux;
    int16_t roi;
    uint64_t timestamp;  // ns
};
struct __attribute__((packed)) RecordWithoutRoi {
    int32_t lux;
    int32_t cct;  // K
    int32_t rawLux;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(RecordWithRoi) == 22 && sizeof(RecordWithoutRoi) == 20);

// The last record's figures; one set for the process, as there is one such chip.
struct {
    int64_t lux;
    int64_t cct;
    int64_t rawLux;
} gLast;

/** Brings what `count` bytes hold into the newer form. */
RecordWithRoi withRoi(const RecordWithRoi& record, ssize_t count) {
    if (count == static_cast<ssize_t>(sizeof(record))) return record;
    RecordWithoutRoi old;
    memcpy(&old, &record, sizeof(old));
    return {old.lux, old.cct, old.rawLux, 0, old.timestamp};
}

}  // namespace

LightCCT_Sensor::LightCCT_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("light_cct_sensor", "LightCCT_Sensor", "Light CCT", info, callback, false) {
    setType(kPrivateType + 51);
    setStringType("com.tavrine.sensor.light_cct");
}

int LightCCT_Sensor::enable(int handle, bool on) {
    if (on) logCount = 0;
    return SensorBase::enable(handle, on);
}

void LightCCT_Sensor::readEvents() {
    RecordWithRoi read;
    const ssize_t count = readRecord(&read);
    if (count < 0) return;
    const RecordWithRoi record = withRoi(read, count);
    gLast = {record.lux, record.cct, record.rawLux};
    if (logCount < kLoggedRecords) {
        ALOGI("%s: lux = %" PRId64 ", CCT = %" PRId64 ", rawLux = %" PRId64
              ", roi = %d, time = %" PRId64,
              "LightCCT_Sensor", gLast.lux, gLast.cct, gLast.rawLux, record.roi,
              static_cast<int64_t>(record.timestamp));
        logCount = logCount + 1;
    }
    postRecord(
        record, NoTimestamp(), [] { ALOGE("LightCCT_Sensor : Meta event"); },
        [this](const RecordWithRoi& r) {
            mPendingEvent.u.data[0] = unsignedPayload(gLast.lux);
            mPendingEvent.u.data[1] = unsignedPayload(gLast.cct);
            mPendingEvent.u.data[2] = static_cast<float>(r.roi);
            mPendingEvent.u.data[4] = unsignedPayload(gLast.rawLux);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
