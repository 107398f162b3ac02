#pragma once

#include <cstdint>

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A fused attitude: what the rotation vectors send. */
struct __attribute__((packed)) QuaternionRecord {
    int32_t x;  // components in 1/1000000
    int32_t y;
    int32_t z;
    int32_t w;
    int8_t accuracy;    // in tenths
    int64_t timestamp;  // ns

    bool isFlushMarker() const {
        return timestamp == 0 && x == 0 && y == 0 && z == 0 && w == 0 && accuracy == 0;
    }

    /** Fills payload words 0 to 4. */
    void convertTo(EventPayload& payload) const {
        payload.data[0] = static_cast<float>(x) / 1000000.0f;
        payload.data[1] = static_cast<float>(y) / 1000000.0f;
        payload.data[2] = static_cast<float>(z) / 1000000.0f;
        payload.data[3] = static_cast<float>(w) / 1000000.0f;
        payload.data[4] = static_cast<float>(accuracy / 10.0);
    }
};
static_assert(sizeof(QuaternionRecord) == 25);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
