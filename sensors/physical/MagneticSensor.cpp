#include "sensors/physical/MagneticSensor.h"

#include <log/log.h>

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
    readEitherForm<LongRecord, ShortRecord>(kLongForm, [this](const auto& record) {
        postRecord(
            record, [](const auto& r) { return IsZeroVector()(r) && r.accuracy == 0; },
            [] { ALOGE("MagneticSensor : Meta event"); },
            [this](const auto& r) {
                convertVector(r, mScale, &mPendingEvent);
                mPendingEvent.u.vec3.status = static_cast<V1_0::SensorStatus>(r.accuracy);
            });
    });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
