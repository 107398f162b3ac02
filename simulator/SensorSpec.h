#pragma once

#include <cstdint>
#include <string>

namespace simulator {

/** What the hub's sensor specification file says about one sensor. */
struct SensorSpec {
    int handle = 0;
    std::string chipName = "";  ///< at most 14 characters reach the file
    int vendor = 0;             ///< index into the vendor table, 3 is "STM"
    int32_t version = 1;
    bool wakeUp = false;
    int32_t minDelayUs = 0;  ///< 0: on-change; negative: one-shot or special
    int32_t maxDelayUs = 0;
    uint16_t fifoMax = 0;
    uint16_t fifoReserved = 0;
    float resolution = 1.0F;  ///< physical unit per raw count
    float range = 0.0F;
    float powerMa = 0.0F;
};

/** The 46-byte record of a sensor in the hub's specification file. */
std::string encodeSpec(const SensorSpec& spec);

}  // namespace simulator
