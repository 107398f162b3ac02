#pragma once

#include <cstdint>

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** An angle by itself. */
struct __attribute__((packed)) AngleRecord {
    int32_t angle;      // degrees
    int64_t timestamp;  // ns

    bool isFlushMarker() const { return timestamp == 0; }
};
static_assert(sizeof(AngleRecord) == 12);

/** What the fused records begin with; all but mode and angle only reaches the log. */
struct __attribute__((packed)) FusionHead {
    int32_t mode;
    int32_t angle;  // degrees
    uint8_t state;
    uint8_t errorCode;
    float dtime;

    /** Fills payload words 0 and 1. */
    void convertTo(EventPayload& payload) const {
        payload.data[0] = static_cast<float>(mode);
        payload.data[1] = static_cast<float>(angle);
    }
};
static_assert(sizeof(FusionHead) == 14);

/** A half's accelerometer or gyroscope; it only reaches the log. */
struct __attribute__((packed)) HalfMotion {
    float x;
    float y;
    float z;
};
static_assert(sizeof(HalfMotion) == 12);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
