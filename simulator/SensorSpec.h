#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

constexpr size_t kSpecSize = 46;      ///< bytes of a record in the hub's specification file
constexpr size_t kSpecNameSize = 15;  ///< of its name, NUL included

/** What the hub's sensor specification file says about one sensor. */
struct SensorSpec {
    int handle = 0;          ///< 0: an empty slot
    std::string chipName{};  ///< cut after 15 characters, which leave no room for a NUL
    int vendor = 0;          ///< index into the vendor table, 3 is "STM"
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

/** The record of a sensor in the specification file. */
std::string encodeSpec(const SensorSpec& spec);

/** All whole records of a specification file. */
std::vector<SensorSpec> decodeSpecs(const std::string& file);

}  // namespace simulator
