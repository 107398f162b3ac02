#include "tools/subhalctl/showing/SensorValues.h"

#include <cinttypes>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <sstream>

#include "simulator/KnownSensors.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

struct Field {
    std::string name;  // "-" for a word that says nothing
    std::string unit;
};

/** What the payload of a type's events holds. */
struct Kind {
    std::vector<Field> fields;
    Value::Form form = Value::Form::kNumber;
    bool hasAccuracy = false;  // low byte of word 3
};

/** The kind that a row of the sensors' table describes. */
Kind kindOf(const char* values) {
    Kind kind;
    size_t group = 0;
    std::istringstream words(values);
    for (std::string word; words >> word;) {
        const bool ends = word.back() == ',';
        if (ends) word.pop_back();
        if (word == "accuracy") {
            kind.hasAccuracy = true;
        } else if (word[0] == '[') {
            for (; group < kind.fields.size(); ++group)
                kind.fields[group].unit = word.substr(1, word.size() - 2);
        } else {
            if (word[0] == '#') kind.form = Value::Form::kCount;
            kind.fields.push_back({word.substr(word[0] == '#' ? 1 : 0), ""});
        }
        if (ends) group = kind.fields.size();
    }
    return kind;
}

const Kind& kindOf(int32_t type) {
    static const std::map<int32_t, Kind> kinds = [] {
        std::map<int32_t, Kind> made;
        for (const auto& sensor : simulator::knownSensors()) {
            if (sensor.values[0] != '\0') made.emplace(sensor.type, kindOf(sensor.values));
        }
        return made;
    }();
    static const Kind unknown = [] {
        Kind words{{}, Value::Form::kWord, false};
        for (size_t i = 0; i < Payload().size(); ++i)
            words.fields.push_back({"word" + std::to_string(i), ""});
        return words;
    }();
    const auto found = kinds.find(type);
    return found != kinds.end() ? found->second : unknown;
}

struct Meaning {
    int32_t type;
    float from;
    float to;
    const char* name;
};

// Of the first value.
constexpr Meaning kMeanings[] = {
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

const char* meaningOf(int32_t type, float value) {
    for (const Meaning& meaning : kMeanings) {
        if (meaning.type == type && value >= meaning.from && value <= meaning.to) {
            return meaning.name;
        }
    }
    return "";
}

const char* accuracyName(uint32_t word) {
    constexpr const char* kNames[] = {"no contact", "unreliable", "low", "medium", "high"};
    const unsigned level = (word + 1) & 0xFF;  // the low byte is signed, from -1
    return level < std::size(kNames) ? kNames[level] : "accuracy?";
}

float floatOf(uint32_t word) {
    float number;
    std::memcpy(&number, &word, sizeof(number));
    return number;
}

}  // namespace

Payload payloadOf(const Event& event) {
    Payload payload;
    static_assert(sizeof(payload) == sizeof(event.u));
    std::memcpy(payload.data(), &event.u, sizeof(payload));
    return payload;
}

std::string payloadBytes(const Event& event) {
    return {reinterpret_cast<const char*>(&event.u), sizeof(event.u)};
}

std::string Value::text() const {
    if (form == Form::kNumber) {
        // Without a unit it is a code or a count, and those are whole.
        const bool whole = unit[0] == '\0' && std::trunc(number) == number;
        if (whole && std::fabs(number) < 1e7F)
            return formatted("%.0f", static_cast<double>(number));
        const bool plain = number == 0 || (std::fabs(number) < 1e5F && std::fabs(number) >= 1e-4F);
        return formatted(plain ? "%.5f" : "%.5g", static_cast<double>(number));
    }
    return form == Form::kCount ? formatted("%" PRIu64, count) : formatted("%08" PRIx64, count);
}

std::string Value::exactText() const {
    if (form != Form::kNumber) return (form == Form::kWord ? "0x" : "") + text();
    // Nine digits are enough for any float.
    for (int digits = 6;; ++digits) {
        std::string text = formatted("%.*g", digits, static_cast<double>(number));
        if (digits == 9 || std::strtof(text.c_str(), nullptr) == number) return text;
    }
}

Json Value::json() const {
    if (form == Form::kCount) return count;
    if (form == Form::kWord) return exactText();
    if (!std::isfinite(number)) return nullptr;
    Json json = std::strtod(exactText().c_str(), nullptr);
    // The JSON library gives a few doubles all their digits; not the next text of the same float.
    const std::string longest = formatted("%.9g", static_cast<double>(number));
    if (json.dump().size() > longest.size() + 2) json = std::strtod(longest.c_str(), nullptr);
    return json;
}

Reading decode(int32_t type, const Payload& payload) {
    const Kind& kind = kindOf(type);
    Reading reading{{}, kind.hasAccuracy ? accuracyName(payload[3]) : "", ""};
    reading.values.reserve(kind.fields.size());
    for (size_t i = 0; i < kind.fields.size(); ++i) {
        const Field& field = kind.fields[i];
        if (field.name == "-") continue;
        uint64_t count = payload[i];
        if (kind.form == Value::Form::kCount) std::memcpy(&count, payload.data(), sizeof(count));
        reading.values.push_back(
            {field.name.c_str(), field.unit.c_str(), kind.form, floatOf(payload[i]), count});
    }
    if (kind.form == Value::Form::kNumber) reading.meaning = meaningOf(type, floatOf(payload[0]));
    return reading;
}

std::vector<std::vector<size_t>> groupsOf(const std::vector<Value>& values) {
    std::vector<std::vector<size_t>> groups;
    std::string last;
    for (size_t i = 0; i < values.size(); ++i) {
        const std::string name = values[i].name;
        const bool isPart = name[0] >= 'w' && (name.size() == 1 || name[1] == '_');
        const std::string what = (isPart ? name.substr(1) : name) + ' ' + values[i].unit;
        if (groups.empty() || what != last) groups.emplace_back();
        groups.back().push_back(i);
        last = what;
    }
    return groups;
}

}  // namespace subhalctl
