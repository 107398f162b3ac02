#include <cstring>

#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** What hubs with a 16-bit magnetometer send. */
using ShortForm = UncalibratedRecord<int16_t>;

constexpr size_t kFullForm = 21;  // bytes from which a record is taken as the long form

struct UncalMagneticRecord : UncalibratedRecord<int32_t> {
    void expandFrom(size_t count) {
        if (count >= kFullForm) return;
        ShortForm form;
        memcpy(&form, this, sizeof(form));
        *this = {{form.x, form.y, form.z, form.biasX, form.biasY, form.biasZ, form.timestamp}};
    }
};
static_assert(sizeof(UncalMagneticRecord) == 32);

/** Magnetic field in µT before hard-iron correction, with the bias. */
class UncalMagneticSensor : public ScaledSensor<UncalMagneticRecord> {
  public:
    UncalMagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("uncal_geomagnetic_sensor", "UncalMagneticSensor",
                       "Magnetometer Uncalibrated", info, callback) {
        describe(SensorType::MAGNETIC_FIELD_UNCALIBRATED, kContinuous,
                 {ANDROID_LOG_ERROR, "UncalMagneticSensor Sensor : Meta event"});
    }
};

template struct Driver<UncalMagneticSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
