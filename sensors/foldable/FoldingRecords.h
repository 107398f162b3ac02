#pragma once

#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** An angle by itself. */
struct __attribute__((packed)) AngleRecord {
    int32_t angle;       // degrees
    uint64_t timestamp;  // ns
};
static_assert(sizeof(AngleRecord) == 12);

/** Acceleration or rotation rate of one half; it only reaches the log. */
struct __attribute__((packed)) HalfMotion {
    float x;
    float y;
    float z;
};
static_assert(sizeof(HalfMotion) == 12);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
