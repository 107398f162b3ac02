#include <algorithm>
#include <cmath>

#include "simulator/World.h"
#include "simulator/signals/Signals.h"

namespace simulator::signals {
namespace {

constexpr Vector3 kAccelerationBias = {0.05, -0.03, 0.08};     // m/s²
constexpr Vector3 kRotationRateBias = {0.004, -0.006, 0.002};  // rad/s
constexpr Vector3 kMagneticBias = {12.0, -7.0, 21.0};          // µT
constexpr uint8_t kAccuracyHigh = 3;
constexpr double kUnitsPerOne = 1000000.0;  // of a quaternion's component
constexpr double kGameHeadingZero = 0.7;    // rad; where the hub happened to start counting
constexpr uint8_t kHeadingAccuracy = 1;     // in tenths

int32_t counts(double value, double unitPerCount) {
    const double raw = unitPerCount > 0.0 ? value / unitPerCount : value;
    return static_cast<int32_t>(std::lround(std::clamp(raw, -2147483648.0, 2147483647.0)));
}

int16_t shortCounts(double value, double unitPerCount) {
    return static_cast<int16_t>(std::clamp(counts(value, unitPerCount), -32768, 32767));
}

void putShorts(const Vector3& vector, const SensorSpec& spec, RecordBuilder& record) {
    for (const double value : vector)
        record.i16(shortCounts(value, double{spec.resolution}));
}

void putInts(const Vector3& vector, const SensorSpec& spec, RecordBuilder& record) {
    for (const double value : vector)
        record.i32(counts(value, double{spec.resolution}));
}

void putQuaternion(const Quaternion& quaternion, uint8_t accuracy, RecordBuilder& record) {
    for (const double component : quaternion)
        record.i32(static_cast<int32_t>(std::lround(component * kUnitsPerOne)));
    record.u8(accuracy);
}

/** The measured value of an uncalibrated sensor still contains its bias. */
Vector3 withBias(const Vector3& vector, const Vector3& bias) {
    return {vector[0] + bias[0], vector[1] + bias[1], vector[2] + bias[2]};
}

/** Raw counts per hPa depend on the chip's maker. */
double pressureCountsPerHpa(int vendor) {
    constexpr int kStm = 3;
    constexpr int kBosch = 8;
    if (vendor == kStm) return 4096.0;
    return vendor == kBosch ? 6400.0 : 1.0;
}

}  // namespace

void acceleration(const World& world, const SensorSpec& spec, double seconds,
                  RecordBuilder& record) {
    putShorts(world.acceleration(seconds), spec, record);
}

void rotationRate(const World& world, const SensorSpec& spec, double seconds,
                  RecordBuilder& record) {
    putShorts(world.rotationRate(seconds), spec, record);
}

void magneticField(const World& world, const SensorSpec& spec, double seconds,
                   RecordBuilder& record) {
    putInts(world.magneticField(seconds), spec, record);
    record.u8(kAccuracyHigh);
}

void pressure(const World& world, const SensorSpec& spec, double seconds, RecordBuilder& record) {
    record.i32(counts(world.pressure(seconds) * pressureCountsPerHpa(spec.vendor), 1.0));
    record.u16(static_cast<uint16_t>(shortCounts((world.temperature(seconds) - 42.5) * 480, 1.0)));
    record.i32(0).i32(0);  // pressure offset, reserved
}

void proximity(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u8(world.near(seconds) ? 1 : 0);
}

void uncalMagneticField(const World& world, const SensorSpec& spec, double seconds,
                        RecordBuilder& record) {
    putInts(withBias(world.magneticField(seconds), kMagneticBias), spec, record);
    putInts(kMagneticBias, spec, record);
}

void uncalRotationRate(const World& world, const SensorSpec& spec, double seconds,
                       RecordBuilder& record) {
    putShorts(withBias(world.rotationRate(seconds), kRotationRateBias), spec, record);
    putShorts(kRotationRateBias, spec, record);
}

void uncalAcceleration(const World& world, const SensorSpec& spec, double seconds,
                       RecordBuilder& record) {
    putShorts(withBias(world.acceleration(seconds), kAccelerationBias), spec, record);
    putShorts(kAccelerationBias, spec, record);
}

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
