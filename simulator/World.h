#pragma once

#include <time.h>

#include <array>
#include <cstdint>

namespace simulator {

using Vector3 = std::array<double, 3>;
using Quaternion = std::array<double, 4>;  ///< x, y, z, w

/** The hub stamps its records with the time since boot, sleep included. */
inline int64_t bootTimeNs() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

/**
 * The device's surroundings and motion as functions of time. One seed gives one history, whatever
 * the order of the calls. The motion sensors are consistent with each other, since all follow the
 * same attitude. Axes are the device's; times are seconds.
 */
class World {
  public:
    /** @param still nobody touches the device, which lies flat on its back */
    explicit World(uint64_t seed, bool still = false);

    /** For how long the device has been handled: 0 if it lies still. */
    double handled(double seconds) const { return mStill ? 0.0 : seconds; }

    Vector3 acceleration(double seconds) const;   ///< m/s², gravity included
    Vector3 rotationRate(double seconds) const;   ///< rad/s
    Vector3 magneticField(double seconds) const;  ///< µT
    /** From the device's axes to the world's, whose heading counts from `headingZero`. */
    Quaternion rotation(double seconds, double headingZero) const;
    double hingeAngle(double seconds) const;   ///< degrees, 0 closed and 180 flat
    double pressure(double seconds) const;     ///< hPa
    double temperature(double seconds) const;  ///< °C
    bool near(double seconds) const;           ///< something covers the proximity sensor

    /** A value in [-1, 1] that differs for every channel and moment. */
    double noise(uint32_t channel, double seconds) const;

  private:
    struct Angle {
        double value = 0.0;
        double rate = 0.0;
    };

    struct Attitude {
        Angle roll;
        Angle pitch;
        Angle yaw;
    };

    Attitude attitude(double seconds) const;
    Vector3 toDevice(const Vector3& world, double seconds) const;
    double phase(uint32_t channel) const;

    const uint64_t mSeed;
    const bool mStill;
};

}  // namespace simulator
