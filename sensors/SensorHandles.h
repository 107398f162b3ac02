#pragma once

#include <cstdint>

/** Handles that the library itself has to know; all others only the catalogue's table names. */
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The two objects that exist whatever the hub describes.
inline constexpr int32_t kQContextHandle = 32;
inline constexpr int32_t kSensorHubHandle = 33;

// The camera's stabilisation gyroscopes, the only sensors that direct channels carry.
inline constexpr int32_t kVdisGyroHandle = 38;
inline constexpr int32_t kStillwaveGyroHandle = 50;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
