#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstddef>
#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A fused attitude: what the rotation vectors send. */
struct __attribute__((packed)) QuaternionRecord {
    int32_t components[4];  // x, y, z, w in 1/1000000
    int8_t accuracy;        // in tenths
    uint64_t timestamp;     // ns
};
static_assert(sizeof(QuaternionRecord) == 25);

/** Only a record that is zero throughout marks a completed flush. */
struct IsZeroQuaternion {
    bool operator()(const QuaternionRecord& record) const {
        for (size_t i = 0; i < 4; ++i) {
            if (record.components[i] != 0) return false;
        }
        return record.timestamp == 0 && record.accuracy == 0;
    }
};

/** Fills payload words 0 to 4. */
inline void convertQuaternion(const QuaternionRecord& record, V1_0::Event* event) {
    constexpr float kUnitsPerOne = 1000000.0f;
    for (size_t i = 0; i < 4; ++i) {
        event->u.data[i] = static_cast<float>(record.components[i]) / kUnitsPerOne;
    }
    event->u.data[4] = static_cast<float>(record.accuracy / 10.0);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
