#pragma once

#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** One event code: what most of the hub's detectors send. */
struct __attribute__((packed)) EventCodeRecord {
    uint8_t event;
    int64_t timestamp;  // ns

    bool isFlushMarker() const { return timestamp == 0; }
};
static_assert(sizeof(EventCodeRecord) == 9);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
