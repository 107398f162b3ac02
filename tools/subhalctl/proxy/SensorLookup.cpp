#include "tools/subhalctl/proxy/SensorLookup.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "simulator/KnownSensors.h"

namespace subhalctl {

std::string typeName(const SensorInfo& sensor) {
    const std::string longName = sensor.typeAsString;
    if (!longName.empty()) return longName.substr(longName.rfind('.') + 1);
    const auto type = static_cast<int32_t>(sensor.type);
    const bool standard = type > 0 && type < simulator::kFirstPrivateType;
    for (const simulator::KnownSensor& known : simulator::knownSensors()) {
        if (standard && known.type == type) return known.shortType;
    }
    return "type " + std::to_string(type);
}

SensorFlagBits reportingMode(uint32_t flags) {
    return SensorFlagBits{flags & static_cast<uint32_t>(SensorFlagBits::MASK_REPORTING_MODE)};
}

bool isWakeUp(const SensorInfo& sensor) {
    return (sensor.flags & static_cast<uint32_t>(SensorFlagBits::WAKE_UP)) != 0;
}

bool canReportDirectly(const SensorInfo& sensor) {
    constexpr auto kMemory = static_cast<uint32_t>(SensorFlagBits::DIRECT_CHANNEL_ASHMEM) |
                             static_cast<uint32_t>(SensorFlagBits::DIRECT_CHANNEL_GRALLOC);
    return (sensor.flags & kMemory) != 0;
}

const char* brokenDelayRule(uint32_t flags, int32_t minUs, int32_t maxUs) {
    const SensorFlagBits mode = reportingMode(flags);
    if (mode == SensorFlagBits::CONTINUOUS_MODE && minUs <= 0) {
        return "a continuous sensor has a shortest period";
    }
    if (mode == SensorFlagBits::ONE_SHOT_MODE && (minUs != -1 || maxUs != 0)) {
        return "a one-shot sensor has -1 and 0";
    }
    if (mode == SensorFlagBits::ON_CHANGE_MODE && (minUs < 0 || maxUs < 0)) {
        return "those of an on-change sensor are not below 0";
    }
    return minUs > 0 && maxUs < minUs ? "the maximum is no shorter than the minimum" : nullptr;
}

int64_t grantedPeriodNs(const SensorInfo& sensor, int64_t askedNs) {
    // What a channel carries has a rate, whatever its mode is called.
    const SensorFlagBits mode = reportingMode(sensor);
    if (mode != SensorFlagBits::CONTINUOUS_MODE && !canReportDirectly(sensor)) return 0;
    const int64_t shortestNs = std::max(sensor.minDelay, 0) * int64_t{1000};
    const int64_t longestNs = sensor.maxDelay > 0 ? sensor.maxDelay * int64_t{1000} : INT64_MAX;
    return std::clamp(askedNs, shortestNs, std::max(shortestNs, longestNs));
}

bool reportsByItself(const SensorInfo& sensor) {
    // The hub's own kinds of on-change sensors may have nothing to report before something happens.
    const bool isPrivate = static_cast<int32_t>(sensor.type) >= simulator::kFirstPrivateType;
    const bool onChange = reportingMode(sensor) == SensorFlagBits::ON_CHANGE_MODE;
    return grantedPeriodNs(sensor, 1) > 0 || (onChange && !isPrivate);
}

std::vector<const SensorInfo*> findSensors(const std::vector<SensorInfo>& sensors,
                                           const std::string& text) {
    if (text.empty()) return {};
    const auto is = [&text](const std::string& name) {
        return strcasecmp(name.c_str(), text.c_str()) == 0;
    };
    const auto has = [&text](const std::string& name) {
        return strcasestr(name.c_str(), text.c_str()) != nullptr;
    };
    const std::function<bool(const SensorInfo&)> ways[] = {
        [&](const SensorInfo& one) { return std::to_string(one.sensorHandle) == text; },
        [&](const SensorInfo& one) { return is(one.name); },
        [&](const SensorInfo& one) { return is(typeName(one)) || is(one.typeAsString); },
        [&](const SensorInfo& one) { return has(one.name) || has(typeName(one)); }};
    const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
    std::vector<const SensorInfo*> found;
    for (const auto& fits : ways) {
        for (const SensorInfo& sensor : sensors) {
            if (fits(sensor)) found.push_back(&sensor);
        }
        if (isNumber || !found.empty()) break;
    }
    return found;
}

int64_t periodOfRate(double hertz) {
    return std::max<int64_t>(1, std::llround(1e9 / hertz));
}

std::optional<SensorSelector> parseSelector(const std::string& text) {
    const size_t at = text.rfind('@');
    if (at == std::string::npos) return SensorSelector{text, {}};
    const std::string rate = text.substr(at + 1);
    char* end = nullptr;
    const double hertz = std::strtod(rate.c_str(), &end);
    if (rate.empty() || std::isspace(static_cast<unsigned char>(rate[0])) || *end != '\0' ||
        !std::isfinite(hertz) || hertz < kLowestRateHz || hertz > kHighestRateHz) {
        return {};
    }
    return SensorSelector{text.substr(0, at), hertz};
}

}  // namespace subhalctl
