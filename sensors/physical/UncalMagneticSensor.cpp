#include <cstring>

#include "sensors/Drivers.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

/** What hubs with a 16-bit magnetometer send. */
using ShortRecord = UncalibratedRecord<int16_t>;

constexpr size_t kFullForm = 21;  // bytes from which a record is taken as the long form

struct Record : UncalibratedRecord<int32_t> {
    void expandFrom(size_t count) {
        if (count >= kFullForm) return;
        ShortRecord form;
        memcpy(&form, this, sizeof(form));
        *this = {{form.x, form.y, form.z, form.biasX, form.biasY, form.biasZ, form.timestamp}};
    }
};
static_assert(sizeof(Record) == 32);

/** Magnetic field in µT before hard-iron correction, with the bias. */
class UncalMagneticSensor : public ScaledSensor<Record> {
  public:
    UncalMagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("uncal_geomagnetic_sensor", "UncalMagneticSensor",
                       "Magnetometer Uncalibrated", info, callback) {
        describe(SensorType::MAGNETIC_FIELD_UNCALIBRATED, kContinuous,
                 {ANDROID_LOG_ERROR, "UncalMagneticSensor Sensor : Meta event"});
    }
};

}  // namespace

std::unique_ptr<SensorBase> makeUncalMagneticSensor(const SensorInfo& info,
                                                    ISensorsEventCallback* callback) {
    return std::make_unique<UncalMagneticSensor>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
