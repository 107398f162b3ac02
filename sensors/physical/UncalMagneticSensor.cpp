#include "sensors/physical/UncalMagneticSensor.h"

#include <log/log.h>

#include "sensors/physical/VectorRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

using ShortRecord = UncalibratedRecord<int16_t>;
using LongRecord = UncalibratedRecord<int32_t>;

constexpr ssize_t kLongForm = 21;  // bytes from which a record is taken as the long form

}  // namespace

UncalMagneticSensor::UncalMagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("uncal_geomagnetic_sensor", "UncalMagneticSensor", "Magnetometer Uncalibrated",
                 info, callback, false),
      mScale(info.resolution) {
    setType(14);
}

void UncalMagneticSensor::readEvents() {
    readEitherForm<LongRecord, ShortRecord>(kLongForm, [this](const auto& record) {
        postRecord(
            record, IsZeroUncalibrated(), [] { ALOGE("UncalMagneticSensor Sensor : Meta event"); },
            [this](const auto& r) { convertUncalibrated(r, mScale, &mPendingEvent); });
    });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
