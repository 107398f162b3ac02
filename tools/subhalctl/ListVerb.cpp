#include <cinttypes>
#include <cstdio>

#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/Verbs.h"

namespace subhalctl {
namespace {

uint32_t maskOf(SensorFlagBits bits) {
    return static_cast<uint32_t>(bits);
}

const char* modeName(SensorFlagBits mode) {
    switch (mode) {
        case SensorFlagBits::CONTINUOUS_MODE:
            return "continuous";
        case SensorFlagBits::ON_CHANGE_MODE:
            return "on change";
        case SensorFlagBits::ONE_SHOT_MODE:
            return "one-shot";
        case SensorFlagBits::SPECIAL_REPORTING_MODE:
            return "special";
        default:
            return "unknown";
    }
}

std::string otherFlags(uint32_t flags) {
    static constexpr const char* kLevels[] = {"no rate", "normal", "fast", "very fast"};
    std::string text = (flags & maskOf(SensorFlagBits::WAKE_UP)) != 0 ? "wake-up" : "non-wake-up";
    if ((flags & maskOf(SensorFlagBits::DATA_INJECTION)) != 0) text += ", data injection";
    if ((flags & maskOf(SensorFlagBits::DYNAMIC_SENSOR)) != 0) text += ", dynamic";
    if ((flags & maskOf(SensorFlagBits::ADDITIONAL_INFO)) != 0) text += ", additional info";
    if ((flags & maskOf(SensorFlagBits::DIRECT_CHANNEL_ASHMEM)) != 0) text += ", direct in memory";
    if ((flags & maskOf(SensorFlagBits::DIRECT_CHANNEL_GRALLOC)) != 0) {
        text += ", direct in graphics buffers";
    }
    const uint32_t level = (flags & maskOf(SensorFlagBits::MASK_DIRECT_REPORT)) >> 7;
    if (level != 0) text += std::string(" up to ") + kLevels[level < 3 ? level : 3];
    return text;
}

std::string rates(const SensorInfo& sensor) {
    if (sensor.minDelay < 0) return "one event, then off";
    if (sensor.minDelay == 0) return "when there is something to tell";
    char text[64];
    const double fastest = 1e6 / sensor.minDelay;
    if (sensor.maxDelay <= 0) {
        std::snprintf(text, sizeof(text), "up to %.6g Hz", fastest);
    } else {
        std::snprintf(text, sizeof(text), "%.6g to %.6g Hz", 1e6 / sensor.maxDelay, fastest);
    }
    return text;
}

void printNumbers(const SensorInfo& sensor) {
    const auto number = [](float value) { return static_cast<double>(value); };
    std::printf("%6" PRId32 "  %-30s %6" PRId32 " %4" PRId32 " %12.6g %12.6g %8.3f %9" PRId32
                " %9" PRId32 " %6" PRIu32 " %6" PRIu32 "  0x%03" PRIx32 "\n",
                sensor.sensorHandle, typeName(sensor).c_str(), static_cast<int32_t>(sensor.type),
                sensor.version, number(sensor.maxRange), number(sensor.resolution),
                number(sensor.power), sensor.minDelay, sensor.maxDelay, sensor.fifoMaxEventCount,
                sensor.fifoReservedEventCount, sensor.flags);
}

void printWords(const SensorInfo& sensor) {
    const auto orNone = [](const auto& text) { return text.empty() ? "-" : text.c_str(); };
    std::printf("%8sname        %s\n", "", orNone(sensor.name));
    std::printf("%8svendor      %s\n", "", orNone(sensor.vendor));
    std::printf("%8sstring type %s\n", "", orNone(sensor.typeAsString));
    std::printf("%8spermission  %s\n", "", orNone(sensor.requiredPermission));
    std::printf("%8sreporting   %s; %s; %s\n", "", modeName(reportingMode(sensor)),
                rates(sensor).c_str(), otherFlags(sensor.flags).c_str());
}

}  // namespace

ExitCode runList(Proxy& proxy) {
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    if (!proxy.options().quiet) {
        std::printf("%6s  %-30s %6s %4s %12s %12s %8s %9s %9s %6s %6s  %s\n", "handle", "sensor",
                    "type", "ver", "range", "resolution", "power/mA", "minDelay", "maxDelay",
                    "fifo", "resvd", "flags");
    }
    for (const SensorInfo& sensor : proxy.sensors()) {
        printNumbers(sensor);
        if (!proxy.options().quiet) printWords(sensor);
    }
    if (proxy.sensors().empty()) std::fprintf(stderr, "subhalctl: the library has no sensors\n");
    return kOk;
}

}  // namespace subhalctl
