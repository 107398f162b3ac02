#include <cmath>

#include "simulator/World.h"
#include "simulator/signals/Signals.h"

namespace simulator::signals {
namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kClosedBelow = 10.0;  // degrees
constexpr double kOpenAbove = 170.0;
constexpr double kFusionPeriod = 0.25;  // s
constexpr int32_t kFusionMode = 1;
constexpr uint8_t kNoError = 0;
constexpr uint8_t kFoldable = 1;

bool isClosed(double angle) {
    return angle < kClosedBelow;
}

void putVector(const Vector3& vector, RecordBuilder& record) {
    for (const double value : vector)
        record.f32(static_cast<float>(value));
}

/** What the second half sees of a vector of the first: turned about the hinge, the y axis. */
Vector3 seenBySub(const Vector3& vector, double angle) {
    const double turn = (180.0 - angle) * kRadiansPerDegree;
    const double c = std::cos(turn), s = std::sin(turn);
    return {c * vector[0] - s * vector[2], vector[1], s * vector[0] + c * vector[2]};
}

void putFusionHead(double angle, RecordBuilder& record) {
    const uint8_t state = isClosed(angle) ? 0 : angle > kOpenAbove ? 2 : 1;
    record.i32(kFusionMode).i32(static_cast<int32_t>(std::lround(angle)));
    record.u8(state).u8(kNoError).f32(static_cast<float>(kFusionPeriod));
}

/** The hub fuses in steps and sends nothing new between two of them. */
double fusionStep(double seconds) {
    return std::floor(seconds / kFusionPeriod) * kFusionPeriod;
}

}  // namespace

void hingeAngle(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.i32(static_cast<int32_t>(std::lround(world.hingeAngle(seconds))));
}

void lidAngleFusion(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const double step = fusionStep(seconds);
    const double angle = world.hingeAngle(step);
    const Vector3 acceleration = world.acceleration(step);
    const Vector3 rotationRate = world.rotationRate(step);
    // The second half turns with the first and, about the hinge, against it.
    const double before = world.hingeAngle(step - kFusionPeriod);
    Vector3 subRate = seenBySub(rotationRate, angle);
    subRate[1] += (before - angle) * kRadiansPerDegree / kFusionPeriod;

    putFusionHead(angle, record);
    putVector(acceleration, record);
    putVector(rotationRate, record);
    putVector(seenBySub(acceleration, angle), record);
    putVector(subRate, record);
}

void foldingStateLpm(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const double step = fusionStep(seconds);
    const double angle = world.hingeAngle(step);
    const Vector3 acceleration = world.acceleration(step);
    putFusionHead(angle, record);
    putVector(acceleration, record);
    putVector(seenBySub(acceleration, angle), record);
}

void angleSensorStatus(const World&, const SensorSpec&, double, RecordBuilder& record) {
    record.u8(1);
}

void deviceCommonInfo(const World& world, const SensorSpec&, double seconds,
                      RecordBuilder& record) {
    const double angle = world.hingeAngle(seconds);
    const bool tableMode = angle > 75.0 && angle < 115.0;
    record.u8(kFoldable).u8(tableMode ? 1 : 0).u8(isClosed(angle) ? 1 : 0);
}

void sarFolding(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u8(isClosed(world.hingeAngle(seconds)) ? 1 : 0);
}

}  // namespace simulator::signals
