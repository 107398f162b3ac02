#pragma once

#include <cstdint>

#include "sensors/Relaxed.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The light sensor on the device's back, meant for flicker: two raw channels in a text file, and a
 * switch. A reading of (-6, -6) says that it has failed, (-2, -2) that it has nothing new.
 */
class RearLight {
  public:
    /** Returned when there is no lux. */
    static constexpr int32_t kNoFlickerLux = -1;

    /** Looks whether there is one. */
    RearLight();

    /** Follows the sensor that uses it on and off, as long as it has not failed. */
    void enable(bool on);

    /** Whether it is there, on, and has not failed. */
    bool isUsable() const { return flickerEnabled && flickerValid; }

    /** Reads it once; lux, or kNoFlickerLux. Poll thread only. */
    int32_t getFlickerData();

    /** Lux of the channels a and b; kNoFlickerLux for channels out of range. */
    static int32_t toLux(int32_t a, int32_t b);

  private:
    /** Writes the switch. A failure is logged and leaves the known state as it was. */
    void enableFlicker(bool on);

    // Switched on the proxy's threads and read on the poll thread, or the other way round.
    bool flickerSupported = false;         // fixed by the constructor
    Relaxed<bool> flickerEnabled = false;  // as last written
    Relaxed<bool> flickerValid = false;    // falls for good when the sensor fails
    struct {
        Relaxed<int32_t> a = -1;
        Relaxed<int32_t> b = -1;
    } prevAlsData;  // channels of the last accepted reading
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
