#pragma once

#include <V2_0/SubHal.h>

#include <array>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace subhalctl {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::SensorInfo;

/** An event's 64 payload bytes as words. */
using Payload = std::array<uint32_t, 16>;

Payload payloadOf(const Event& event);
std::string payloadBytes(const Event& event);

/** One value of a payload, in the unit of the sensor's type. */
struct Value {
    enum class Form { kNumber, kCount, kWord };

    const char* name;  ///< as in "x" or "lux"
    const char* unit;  ///< empty when there is none, or none is known
    Form form;
    float number;    ///< kNumber
    uint64_t count;  ///< kCount, and the raw word of kWord

    /** Short form for columns. */
    std::string text() const;
    /** As many digits as the value has, for other programs; never a comma. */
    std::string exactText() const;
    nlohmann::ordered_json json() const;
};

/** What a data event says. */
struct Reading {
    std::vector<Value> values;
    const char* accuracy;  ///< "high" and so on, empty for a type without one
    const char* meaning;   ///< of the first value, empty when it has no name
};

/** Decodes by the sensor's type; a type that is not known gives its payload words. */
Reading decode(int32_t type, const Payload& payload);
inline Reading decode(const SensorInfo& sensor, const Payload& payload = {}) {
    return decode(static_cast<int32_t>(sensor.type), payload);
}

/** Columns of values that are comparable: one, or the parts of a vector. */
std::vector<std::vector<size_t>> groupsOf(const std::vector<Value>& values);

}  // namespace subhalctl
