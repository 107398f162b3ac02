#include <cstring>

#include "sensors/Driver.h"
#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** What hubs with a 16-bit magnetometer send. */
struct __attribute__((packed)) ShortMagneticRecord {
    int16_t x;
    int16_t y;
    int16_t z;
    uint8_t accuracy;
    int64_t timestamp;  // ns
};
static_assert(sizeof(ShortMagneticRecord) == 15);

constexpr size_t kFullForm = 16;  // bytes from which a record is taken as the long form

struct __attribute__((packed)) MagneticRecord {
    int32_t x;
    int32_t y;
    int32_t z;
    uint8_t accuracy;
    int64_t timestamp;  // ns

    bool isFlushMarker() const {
        return timestamp == 0 && x == 0 && y == 0 && z == 0 && accuracy == 0;
    }

    void expandFrom(size_t count) {
        if (count >= kFullForm) return;
        ShortMagneticRecord form;
        memcpy(&form, this, sizeof(form));
        *this = {form.x, form.y, form.z, form.accuracy, form.timestamp};
    }

    void scaleTo(EventPayload& payload, float scale) const {
        payload.vec3.x = scale * static_cast<float>(x);
        payload.vec3.y = scale * static_cast<float>(y);
        payload.vec3.z = scale * static_cast<float>(z);
        payload.vec3.status = static_cast<SensorStatus>(accuracy);
    }
};
static_assert(sizeof(MagneticRecord) == 21);

/** Magnetic field in µT, with the record's accuracy as status. */
class MagneticSensor : public ScaledSensor<MagneticRecord> {
  public:
    MagneticSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : ScaledSensor("geomagnetic_sensor", "MagneticSensor", "Magnetometer", info, callback) {
        describe(SensorType::MAGNETIC_FIELD, kContinuous,
                 {ANDROID_LOG_ERROR, "MagneticSensor : Meta event"});
    }
};

template struct Driver<MagneticSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
