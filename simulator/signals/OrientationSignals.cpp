#include <cmath>

#include "simulator/World.h"
#include "simulator/signals/Signals.h"

namespace simulator::signals {
namespace {

constexpr double kUnitsPerOne = 1000000.0;
constexpr double kGameHeadingZero = 0.7;  // rad; where the hub happened to start counting
constexpr uint8_t kHeadingAccuracy = 1;   // in tenths

void putQuaternion(const Quaternion& quaternion, uint8_t accuracy, RecordBuilder& record) {
    for (const double component : quaternion) {
        record.i32(static_cast<int32_t>(std::lround(component * kUnitsPerOne)));
    }
    record.u8(accuracy);
}

}  // namespace

void rotationVector(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    putQuaternion(world.rotation(seconds, 0.0), kHeadingAccuracy, record);
}

void gameRotationVector(const World& world, const SensorSpec&, double seconds,
                        RecordBuilder& record) {
    putQuaternion(world.rotation(seconds, kGameHeadingZero), 0, record);
}

void deviceOrientation(const World& world, const SensorSpec&, double seconds,
                       RecordBuilder& record) {
    const auto [x, y, z, w] = world.rotation(seconds, 0.0);
    // Where up is, in the plane of the screen.
    const double right = 2.0 * (x * z - w * y);
    const double top = 2.0 * (y * z + w * x);
    if (std::abs(right) > std::abs(top)) {
        record.u8(right > 0.0 ? 1 : 3);
    } else {
        record.u8(top > 0.0 ? 0 : 2);
    }
}

void stampOnly(const World&, const SensorSpec&, double, RecordBuilder&) {}

}  // namespace simulator::signals
