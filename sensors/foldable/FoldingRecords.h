#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** An angle by itself. */
struct __attribute__((packed)) AngleRecord {
    int32_t angle;       // degrees
    uint64_t timestamp;  // ns
};
static_assert(sizeof(AngleRecord) == 12);

/** What the fused records begin with; all but mode and angle only reaches the log. */
struct __attribute__((packed)) FusionHead {
    int32_t mode;
    int32_t angle;  // degrees
    uint8_t state;
    uint8_t errorCode;
    float dtime;
};
static_assert(sizeof(FusionHead) == 14);

/** Fills payload words 0 and 1. */
inline void convertFusion(const FusionHead& head, V1_0::Event* event) {
    event->u.data[0] = static_cast<float>(head.mode);
    event->u.data[1] = static_cast<float>(head.angle);
}

/** Acceleration or rotation rate of one half; it only reaches the log. */
struct __attribute__((packed)) HalfMotion {
    float x;
    float y;
    float z;
};
static_assert(sizeof(HalfMotion) == 12);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
