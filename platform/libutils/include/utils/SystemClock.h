// Clocks since boot.
#pragma once

#include <cstdint>

namespace android {

/// Milliseconds since boot, without time spent asleep.
int64_t uptimeMillis();

/// Milliseconds since boot, time spent asleep included.
int64_t elapsedRealtime();

/// Nanoseconds since boot, time spent asleep included: the clock of sensor events.
int64_t elapsedRealtimeNano();

}  // namespace android
