#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace subhalctl {

/** What this hub's sensors are, by their handles: the hub's own numbers. */
struct KnownSensor {
    int32_t handle;
    const char* iioName;     ///< of the plain twin
    bool plainNameIsWakeUp;  ///< what the plain twin is; the other one has a suffix
    size_t recordSize;       ///< bytes of one record of its IIO device
    const char* displayName;
    int32_t type;
    const char* stringType;
    bool needsPermission;
    uint32_t flags;  ///< without the wake-up bit, which the specification file tells
};

/** Null when the hub has no such sensor. */
const KnownSensor* findKnownSensor(int32_t handle);
const std::vector<KnownSensor>& knownSensors();

/** Name of the IIO device that the library looks for. */
std::string iioNameOf(const KnownSensor& sensor, bool wakeUp);

constexpr char kSensorPermission[] = "com.tavrine.permission.QSENSOR";
constexpr int32_t kContextHandle = 32;       ///< in no specification file
constexpr int32_t kHousekeepingHandle = 33;  ///< nor this, and not listed either
constexpr int32_t kDebuggerHandle = 53;      ///< never listed
constexpr int32_t kFlipCoverHandle = 42;     ///< listed only with its status file

}  // namespace subhalctl
