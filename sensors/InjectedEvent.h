#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

/** What a client's injected event carries: a sub-command in word 0 and float arguments. */
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// Sub-commands, compared as raw bits of payload word 0; below kFirstSubCommand nothing is injected.
inline constexpr uint32_t kFirstSubCommand = 2;
inline constexpr uint32_t kSubCommand0 = 0x10000000;
inline constexpr uint32_t kSubCommand1 = 0x10000001;
inline constexpr uint32_t kSubCommand2 = 0x10000002;

/** Byte 0 of every packet for the injection device. */
inline constexpr uint8_t kInjectionPacketKind = 1;

inline uint32_t injectedSubCommand(const V1_0::Event& event) {
    uint32_t code = 0;
    std::memcpy(&code, &event.u, sizeof(code));
    return code;
}

/** Truncates toward zero; what int32 cannot hold saturates and NaN gives 0. */
inline int32_t truncateToInt32(float value) {
    constexpr float kBeyondMax = 2147483648.0f;
    if (value != value) return 0;
    if (value >= kBeyondMax) return std::numeric_limits<int32_t>::max();
    if (value <= -kBeyondMax) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

/** Argument in payload word `word` (0 to 15), a float, as an integer. */
inline int32_t injectedArgument(const V1_0::Event& event, size_t word) {
    return truncateToInt32(event.u.data[word]);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
