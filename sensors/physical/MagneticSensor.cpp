#include "sensors/physical/MagneticSensor.h"

#include <log/log.h>

#include <cstring>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

template <typename Count>
struct __attribute__((packed)) MagneticRecord {
    Count x;
    Count y;
    Count z;
    uint8_t accuracy;
    uint64_t timestamp;  // ns
};
using ShortRecord = MagneticRecord<int16_t>;
using LongRecord = MagneticRecord<int32_t>;
static_assert(sizeof(ShortRecord) == 15 && sizeof(LongRecord) == 21);

constexpr ssize_t kLongForm = 16;  // bytes from which a record is taken as the long form

}  // namespace

MagneticSensor::MagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("geomagnetic_sensor", "MagneticSensor", "Magnetometer", info, callback, false),
      mScale(info.resolution) {
    setType(2);
}

void MagneticSensor::readEvents() {
    LongRecord record;
    const ssize_t count = readRecord(&record);
    if (count < 0) return;
    if (count >= kLongForm) {
        post(record);
        return;
    }
    ShortRecord shortRecord;
    memcpy(&shortRecord, &record, sizeof(shortRecord));
    post(shortRecord);
}

template <typename Record>
void MagneticSensor::post(const Record& record) {
    postRecord(
        record, [](const Record& r) { return IsZeroVector()(r) && r.accuracy == 0; },
        [] { ALOGE("MagneticSensor : Meta event"); },
        [this](const Record& r) {
            convertVector(r, mScale, &mPendingEvent);
            mPendingEvent.u.vec3.status = static_cast<V1_0::SensorStatus>(r.accuracy);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
