#pragma once

#include <cstdint>

/** Handles that the library itself has to know; all others only the catalogue's table names. */
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The two objects that exist whatever the hub describes.
inline constexpr int32_t kQContextHandle = 32;
inline constexpr int32_t kSensorHubHandle = 33;

// The camera's stabilisation gyroscopes, the only sensors that direct channels carry; their flags
// follow from this.
inline constexpr int32_t kDirectReportHandles[] = {38, 50};

constexpr bool reportsDirectly(int32_t handle) {
    for (const int32_t candidate : kDirectReportHandles) {
        if (handle == candidate) return true;
    }
    return false;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
