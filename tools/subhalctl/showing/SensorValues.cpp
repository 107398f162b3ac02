#include "tools/subhalctl/showing/SensorValues.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "tools/subhalctl/showing/Json.h"

namespace subhalctl {
namespace {

struct Field {
    const char* name;  // null for a word that says nothing
    const char* unit;
};

constexpr Field kVectorAcceleration[] = {{"x", "m/s²"}, {"y", "m/s²"}, {"z", "m/s²"}};
constexpr Field kVectorRotation[] = {{"x", "rad/s"}, {"y", "rad/s"}, {"z", "rad/s"}};
constexpr Field kVectorMagnetic[] = {{"x", "µT"}, {"y", "µT"}, {"z", "µT"}};
constexpr Field kUncalAcceleration[] = {{"x", "m/s²"},      {"y", "m/s²"},      {"z", "m/s²"},
                                        {"x_bias", "m/s²"}, {"y_bias", "m/s²"}, {"z_bias", "m/s²"}};
constexpr Field kUncalRotation[] = {{"x", "rad/s"},      {"y", "rad/s"},      {"z", "rad/s"},
                                    {"x_bias", "rad/s"}, {"y_bias", "rad/s"}, {"z_bias", "rad/s"}};
constexpr Field kUncalMagnetic[] = {{"x", "µT"},      {"y", "µT"},      {"z", "µT"},
                                    {"x_bias", "µT"}, {"y_bias", "µT"}, {"z_bias", "µT"}};
constexpr Field kQuaternion[] = {{"x", ""}, {"y", ""}, {"z", ""}, {"w", ""}};
constexpr Field kRotationVector[] = {
    {"x", ""}, {"y", ""}, {"z", ""}, {"w", ""}, {"heading_acc", "rad"}};
constexpr Field kPressure[] = {{"pressure", "hPa"}};
constexpr Field kLux[] = {{"lux", "lux"}};
constexpr Field kDistance[] = {{"distance", "cm"}};
constexpr Field kSteps[] = {{"steps", "steps"}};
constexpr Field kAngle[] = {{"angle", "degrees"}};
constexpr Field kEvent[] = {{"event", ""}};
constexpr Field kStatus[] = {{"status", ""}};
constexpr Field kValue[] = {{"value", ""}};
constexpr Field kOrientation[] = {{"orientation", ""}};
constexpr Field kPhysicalProximity[] = {{"distance", "cm"}, {"level", ""}};
constexpr Field kProximityRaw[] = {{"prox", ""},     {"raw", ""},   {"callmin", ""},
                                   {"baseline", ""}, {"psoff", ""}, {"ir", ""}};
constexpr Field kAutoBrightness[] = {{"lux", "lux"}, {"min_flag", ""}};
constexpr Field kLightCct[] = {
    {"lux", "lux"}, {"cct", "K"}, {"roi", ""}, {nullptr, ""}, {"raw_lux", "lux"}};
constexpr Field kLightIr[] = {{"ir", ""}, {"r", ""},     {"g", ""},    {"b", ""},
                              {"c", ""},  {"atime", ""}, {"again", ""}};
constexpr Field kPocketModeLite[] = {{"state", ""}, {"value", ""}};
constexpr Field kPocketMode[] = {{"event", ""},  {"reason", ""}, {"base", ""},   {"current", ""},
                                 {"word2", ""},  {"word3", ""},  {"word4", ""},  {"temp", ""},
                                 {"word6", ""},  {"word7", ""},  {"word8", ""},  {"word9", ""},
                                 {"word10", ""}, {"word11", ""}, {"word12", ""}, {"word13", ""}};
constexpr Field kPocketPosition[] = {{"total_state", ""},   {"position_state", ""},
                                     {"position_case", ""}, {"pedo_state", ""},
                                     {"pedo_case", ""},     {"version", ""}};
constexpr Field kDrop[] = {{"event", ""},  {"value1", ""}, {"value2", ""}, {"value3", ""},
                           {"value4", ""}, {"value5", ""}, {"value6", ""}};
constexpr Field kBackTap[] = {{"event", ""}, {"value1", ""}, {"value2", ""}, {"value3", ""}};
constexpr Field kFlipCover[] = {{"event", ""},  {"second", ""}, {"value1", ""},
                                {"value2", ""}, {"value3", ""}, {"value4", ""},
                                {"value5", ""}, {"value6", ""}, {"value7", ""}};
constexpr Field kLidAngle[] = {{"mode", ""}, {"angle", "degrees"}};
constexpr Field kDeviceInfo[] = {{"device_type", ""}, {"table_mode", ""}, {"active_screen", ""}};
constexpr Field kWords[] = {{"word0", ""},  {"word1", ""},  {"word2", ""},  {"word3", ""},
                            {"word4", ""},  {"word5", ""},  {"word6", ""},  {"word7", ""},
                            {"word8", ""},  {"word9", ""},  {"word10", ""}, {"word11", ""},
                            {"word12", ""}, {"word13", ""}, {"word14", ""}, {"word15", ""}};

struct Kind {
    template <size_t kCount>
    constexpr Kind(int32_t kindType, const char* kindName, const Field (&kindFields)[kCount],
                   bool accuracy = false, Value::Form kindForm = Value::Form::kNumber)
        : type(kindType),
          name(kindName),
          fields(kindFields),
          count(kCount),
          hasAccuracy(accuracy),
          form(kindForm) {}

    int32_t type;
    const char* name;  // null for device-private types, whose string type names them
    const Field* fields;
    size_t count;
    bool hasAccuracy;  // low byte of word 3
    Value::Form form;
};

// Sorted by type.
constexpr Kind kKinds[] = {
    {1, "accelerometer", kVectorAcceleration, true},
    {2, "magnetic_field", kVectorMagnetic, true},
    {4, "gyroscope", kVectorRotation, true},
    {5, "light", kLux},
    {6, "pressure", kPressure},
    {8, "proximity", kDistance},
    {11, "rotation_vector", kRotationVector},
    {14, "magnetic_field_uncalibrated", kUncalMagnetic},
    {15, "game_rotation_vector", kQuaternion},
    {16, "gyroscope_uncalibrated", kUncalRotation},
    {17, "significant_motion", kEvent},
    {18, "step_detector", kEvent},
    {19, "step_counter", kSteps, false, Value::Form::kCount},
    {22, "tilt_detector", kEvent},
    {25, "pick_up_gesture", kEvent},
    {27, "device_orientation", kOrientation, true},
    {35, "accelerometer_uncalibrated", kUncalAcceleration},
    {36, "hinge_angle", kAngle},
    {65578, nullptr, kLightIr},
    {65579, nullptr, kVectorRotation, true},
    {65582, nullptr, kProximityRaw},
    {65587, nullptr, kLightCct},
    {65590, nullptr, kEvent},
    {65592, nullptr, kPhysicalProximity},
    {65594, nullptr, kEvent},
    {65601, nullptr, kAutoBrightness},
    {65605, nullptr, kPocketMode},
    {65606, nullptr, kEvent},
    {65607, nullptr, kVectorRotation, true},
    {65608, nullptr, kPocketModeLite},
    {65613, nullptr, kEvent},
    {65614, nullptr, kEvent},
    {65639, nullptr, kFlipCover},
    {65643, nullptr, kEvent},
    {65644, nullptr, kDrop},
    {65646, nullptr, kVectorRotation, true},
    {65647, nullptr, kValue, true},
    {65649, nullptr, kDeviceInfo},
    {65651, nullptr, kBackTap},
    {65686, nullptr, kAngle},
    {65687, nullptr, kVectorAcceleration, true},
    {65688, nullptr, kUncalAcceleration},
    {65689, nullptr, kVectorRotation, true},
    {65690, nullptr, kUncalRotation},
    {65695, nullptr, kLidAngle},
    {65697, nullptr, kLidAngle},
    {65698, nullptr, kPocketPosition},
    {65700, nullptr, kStatus},
    {65711, nullptr, kStatus},
};

constexpr bool sortedByType() {
    for (size_t i = 1; i < std::size(kKinds); ++i) {
        if (kKinds[i - 1].type >= kKinds[i].type) return false;
    }
    return true;
}
static_assert(sortedByType());

constexpr Kind kUnknown{-1, nullptr, kWords, false, Value::Form::kWord};

struct Meaning {
    int32_t type;
    float from;
    float to;
    const char* name;
};

// Of the first value.
constexpr Meaning kMeanings[] = {
    {8, 0, 0, "near"},
    {8, 8, 8, "far"},
    {27, -1, -1, "unknown"},
    {27, 0, 0, "upright"},
    {27, 1, 1, "turned 90° left"},
    {27, 2, 2, "upside down"},
    {27, 3, 3, "turned 90° right"},
    {65592, 0, 0, "near"},
    {65592, 8, 8, "far"},
    {65601, -1, -1, "camera light on"},
    {65601, -2, -2, "camera light off"},
    {65644, -128, -1, "acceleration trace"},
    {65644, 0, 127, "drop"},
};

const Kind& kindOf(int32_t type) {
    const auto* found =
        std::lower_bound(std::begin(kKinds), std::end(kKinds), type,
                         [](const Kind& kind, int32_t wanted) { return kind.type < wanted; });
    return found != std::end(kKinds) && found->type == type ? *found : kUnknown;
}

const char* meaningOf(int32_t type, float value) {
    for (const Meaning& meaning : kMeanings) {
        if (meaning.type == type && value >= meaning.from && value <= meaning.to) {
            return meaning.name;
        }
    }
    return "";
}

const char* accuracyName(uint32_t word) {
    switch (static_cast<int8_t>(word & 0xFF)) {
        case -1:
            return "no contact";
        case 0:
            return "unreliable";
        case 1:
            return "low";
        case 2:
            return "medium";
        case 3:
            return "high";
        default:
            return "accuracy?";
    }
}

float floatOf(uint32_t word) {
    float number;
    std::memcpy(&number, &word, sizeof(number));
    return number;
}

template <typename... Arguments>
std::string format(const char* pattern, Arguments... arguments) {
    char text[48];
    std::snprintf(text, sizeof(text), pattern, arguments...);
    return text;
}

}  // namespace

Payload payloadOf(const Event& event) {
    Payload payload;
    static_assert(sizeof(payload) == sizeof(event.u));
    std::memcpy(payload.data(), &event.u, sizeof(payload));
    return payload;
}

std::string Value::text() const {
    if (form == Form::kNumber) {
        // Without a unit it is a code or a count, and those are whole.
        const bool whole = unit[0] == '\0' && std::trunc(number) == number;
        if (whole && std::fabs(number) < 1e7F) return format("%.0f", static_cast<double>(number));
        const bool plain = number == 0 || (std::fabs(number) < 1e5F && std::fabs(number) >= 1e-4F);
        return format(plain ? "%.5f" : "%.5g", static_cast<double>(number));
    }
    return form == Form::kCount ? format("%" PRIu64, count) : format("%08" PRIx64, count);
}

std::string Value::exactText() const {
    if (form == Form::kNumber) return format("%.9g", static_cast<double>(number));
    return form == Form::kCount ? format("%" PRIu64, count) : format("0x%08" PRIx64, count);
}

Json Value::json() const {
    if (form == Form::kCount) return count;
    if (form == Form::kWord) return exactText();
    // By way of the short text, or each float would come with the digits of a double.
    return std::isfinite(number) ? Json(std::strtod(exactText().c_str(), nullptr)) : Json(nullptr);
}

Reading decode(int32_t type, const Payload& payload) {
    const Kind& kind = kindOf(type);
    Reading reading{{}, kind.hasAccuracy ? accuracyName(payload[3]) : "", ""};
    reading.values.reserve(kind.count);
    for (size_t i = 0; i < kind.count; ++i) {
        const Field& field = kind.fields[i];
        if (field.name == nullptr) continue;
        uint64_t count = payload[i];
        if (kind.form == Value::Form::kCount) std::memcpy(&count, payload.data(), sizeof(count));
        reading.values.push_back({field.name, field.unit, kind.form, floatOf(payload[i]), count});
    }
    if (kind.form == Value::Form::kNumber) reading.meaning = meaningOf(type, floatOf(payload[0]));
    return reading;
}

const char* standardTypeName(int32_t type) {
    return kindOf(type).name;
}

}  // namespace subhalctl
