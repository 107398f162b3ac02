#include "simulator/World.h"

#include <algorithm>
#include <cmath>

namespace simulator {
namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr double kGravity = 9.80665;
constexpr Vector3 kEarthField = {0.0, 22.0, -42.0};  // north and down, mid latitude

uint64_t mix(uint64_t value) {
    value += 0x9E3779B97F4A7C15ULL;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
    return value ^ (value >> 31);
}

double unit(uint64_t value) {
    return static_cast<double>(mix(value) >> 11) / 9007199254740992.0;
}

}  // namespace

World::World(uint64_t seed, bool still) : mSeed(mix(seed)), mStill(still) {}

double World::phase(uint32_t channel) const {
    return kTwoPi * unit(mSeed ^ channel);
}

double World::noise(uint32_t channel, double seconds) const {
    const auto tick = static_cast<uint64_t>(std::llround(seconds * 1e6));
    return 2.0 * unit(mSeed ^ mix(tick) ^ (static_cast<uint64_t>(channel) << 48)) - 1.0;
}

World::Attitude World::attitude(double seconds) const {
    if (mStill) return {};
    const auto swing = [&](double amplitude, double hertz, uint32_t channel) {
        const double omega = kTwoPi * hertz;
        const double angle = omega * seconds + phase(channel);
        return Angle{amplitude * std::sin(angle), amplitude * omega * std::cos(angle)};
    };
    return {swing(0.5, 0.23, 1), swing(0.35, 0.17, 2), swing(1.2, 0.05, 3)};
}

Vector3 World::toDevice(const Vector3& world, double seconds) const {
    const Attitude a = attitude(seconds);
    const double cy = std::cos(a.yaw.value), sy = std::sin(a.yaw.value);
    const double cp = std::cos(a.pitch.value), sp = std::sin(a.pitch.value);
    const double cr = std::cos(a.roll.value), sr = std::sin(a.roll.value);
    // Undo yaw about z, then pitch about y, then roll about x.
    const double x1 = cy * world[0] + sy * world[1];
    const double y1 = -sy * world[0] + cy * world[1];
    const double x2 = cp * x1 - sp * world[2];
    const double z2 = sp * x1 + cp * world[2];
    return {x2, cr * y1 + sr * z2, -sr * y1 + cr * z2};
}

Vector3 World::acceleration(double seconds) const {
    Vector3 result = toDevice({0.0, 0.0, kGravity}, seconds);
    for (uint32_t axis = 0; axis < 3; ++axis) {
        const double shake = std::sin(kTwoPi * 1.8 * seconds + phase(10 + axis));
        result[axis] += (mStill ? 0.0 : 0.2 * shake) + 0.02 * noise(10 + axis, seconds);
    }
    return result;
}

Vector3 World::rotationRate(double seconds) const {
    const Attitude a = attitude(seconds);
    const double cp = std::cos(a.pitch.value), sp = std::sin(a.pitch.value);
    const double cr = std::cos(a.roll.value), sr = std::sin(a.roll.value);
    return {a.roll.rate - a.yaw.rate * sp + 0.002 * noise(20, seconds),
            a.pitch.rate * cr + a.yaw.rate * sr * cp + 0.002 * noise(21, seconds),
            -a.pitch.rate * sr + a.yaw.rate * cr * cp + 0.002 * noise(22, seconds)};
}

Vector3 World::magneticField(double seconds) const {
    Vector3 result = toDevice(kEarthField, seconds);
    for (uint32_t axis = 0; axis < 3; ++axis)
        result[axis] += 0.3 * noise(30 + axis, seconds);
    return result;
}

Quaternion World::rotation(double seconds, double headingZero) const {
    const Attitude a = attitude(seconds);
    const double yaw = a.yaw.value - headingZero;
    const double cy = std::cos(yaw / 2), sy = std::sin(yaw / 2);
    const double cp = std::cos(a.pitch.value / 2), sp = std::sin(a.pitch.value / 2);
    const double cr = std::cos(a.roll.value / 2), sr = std::sin(a.roll.value / 2);
    return {sr * cp * cy - cr * sp * sy, cr * sp * cy + sr * cp * sy, cr * cp * sy - sr * sp * cy,
            cr * cp * cy + sr * sp * sy};
}

double World::hingeAngle(double seconds) const {
    // Overshoots on purpose, so that the hinge rests at both ends.
    return std::clamp(90.0 + 130.0 * std::sin(kTwoPi * handled(seconds) / 12.0 + phase(60)), 0.0,
                      180.0);
}

double World::pressure(double seconds) const {
    return 1009.0 + 4.0 * std::sin(kTwoPi * seconds / 1800.0 + phase(40)) +
           0.02 * noise(40, seconds);
}

double World::temperature(double seconds) const {
    return 27.0 + 2.0 * std::sin(kTwoPi * seconds / 900.0 + phase(41));
}

bool World::near(double seconds) const {
    const double slot = 2.5 + 2.0 * unit(mSeed ^ 50);
    return static_cast<int64_t>(handled(seconds) / slot) % 2 != 0;
}

}  // namespace simulator
