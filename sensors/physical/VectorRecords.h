#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Three raw axis counts: what the accelerometers send. */
struct __attribute__((packed)) VectorRecord {
    int16_t x;
    int16_t y;
    int16_t z;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(VectorRecord) == 14);

/** The gyroscopes' buffers hand out 18 bytes, of which the last four mean nothing. */
struct __attribute__((packed)) PaddedVectorRecord {
    int16_t x;
    int16_t y;
    int16_t z;
    uint64_t timestamp;  // ns
    uint8_t ignored[4];
};
static_assert(sizeof(PaddedVectorRecord) == 18);

/** Three uncalibrated counts and their biases. */
template <typename Count>
struct __attribute__((packed)) UncalibratedRecord {
    Count x;
    Count y;
    Count z;
    Count biasX;
    Count biasY;
    Count biasZ;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(UncalibratedRecord<int16_t>) == 20);
static_assert(sizeof(UncalibratedRecord<int32_t>) == 32);

/** A counts-and-timestamp record that is zero throughout marks a completed flush. */
struct IsZeroVector {
    template <typename Record>
    bool operator()(const Record& record) const {
        return record.timestamp == 0 && record.x == 0 && record.y == 0 && record.z == 0;
    }
};

struct IsZeroUncalibrated {
    template <typename Record>
    bool operator()(const Record& record) const {
        return IsZeroVector()(record) && record.biasX == 0 && record.biasY == 0 &&
               record.biasZ == 0;
    }
};

/** Scales raw counts into payload words 0 to 2; the status word stays. */
template <typename Record>
void convertVector(const Record& record, float scale, V1_0::Event* event) {
    event->u.vec3.x = scale * static_cast<float>(record.x);
    event->u.vec3.y = scale * static_cast<float>(record.y);
    event->u.vec3.z = scale * static_cast<float>(record.z);
}

/** Scales raw counts into payload words 0 to 5. */
template <typename Record>
void convertUncalibrated(const Record& record, float scale, V1_0::Event* event) {
    event->u.uncal.x = scale * static_cast<float>(record.x);
    event->u.uncal.y = scale * static_cast<float>(record.y);
    event->u.uncal.z = scale * static_cast<float>(record.z);
    event->u.uncal.x_bias = scale * static_cast<float>(record.biasX);
    event->u.uncal.y_bias = scale * static_cast<float>(record.biasY);
    event->u.uncal.z_bias = scale * static_cast<float>(record.biasZ);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
