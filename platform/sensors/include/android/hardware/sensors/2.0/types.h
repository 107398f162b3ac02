// Enumerations that the sensors interface 2.0 adds.
#pragma once

#include <cstdint>

#include <android/hardware/sensors/1.0/types.h>

namespace android::hardware::sensors::V2_0 {

enum class SensorTimeout : int32_t {
    WAKE_LOCK_SECONDS = 1,
};

enum class EventQueueFlagBits : uint32_t {
    READ_AND_PROCESS = 1 << 0,
    EVENTS_READ = 1 << 1,
};

enum class WakeLockQueueFlagBits : uint32_t {
    DATA_WRITTEN = 1 << 0,
};

}  // namespace android::hardware::sensors::V2_0
