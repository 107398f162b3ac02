#pragma once

#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A light figure as payload word. Clients know these figures as unsigned 64-bit numbers, so a
 * negative one arrives sign-extended and very large.
 */
inline float unsignedPayload(int64_t value) {
    return static_cast<float>(static_cast<uint64_t>(value));
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
