#include <cinttypes>
#include <cstdio>

#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/EventWriter.h"
#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"
#include "tools/subhalctl/verbs/Verbs.h"

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
    if (sensor.minDelay == 0) return "when it has news";
    char text[64];
    const double fastest = 1e6 / sensor.minDelay;
    if (sensor.maxDelay <= 0) {
        std::snprintf(text, sizeof(text), "up to %.6g Hz", fastest);
    } else {
        std::snprintf(text, sizeof(text), "%.6g to %.6g Hz", 1e6 / sensor.maxDelay, fastest);
    }
    return text;
}

double numberOf(float value) {
    return static_cast<double>(value);
}

std::string orNone(const android::hardware::hidl_string& text) {
    return text.empty() ? "-" : printable(text);
}

std::string detailsOf(const SensorInfo& sensor) {
    const std::string lines[] = {
        "vendor      " + orNone(sensor.vendor),
        formatted("type        %" PRId32 ", %s, version %" PRId32,
                  static_cast<int32_t>(sensor.type), orNone(sensor.typeAsString).c_str(),
                  sensor.version),
        "permission  " + orNone(sensor.requiredPermission),
        formatted("flags       0x%03" PRIx32 ": %s; %s", sensor.flags,
                  modeName(reportingMode(sensor)), otherFlags(sensor.flags).c_str()),
        formatted("range       %.6g in steps of %.6g, %.3f mA", numberOf(sensor.maxRange),
                  numberOf(sensor.resolution), numberOf(sensor.power)),
        formatted("delays      %" PRId32 " to %" PRId32 " µs; FIFO %" PRIu32 ", reserved %" PRIu32,
                  sensor.minDelay, sensor.maxDelay, sensor.fifoMaxEventCount,
                  sensor.fifoReservedEventCount),
        "values      " + valueLegend(sensor)};
    std::string text;
    for (const std::string& line : lines) {
        text += wrapped("        " + line, 20) + '\n';
    }
    return text;
}

void addLine(const SensorInfo& sensor, bool details, Table* table) {
    table->add({std::to_string(sensor.sensorHandle), typeName(sensor),
                modeName(reportingMode(sensor)), isWakeUp(sensor) ? "wake-up" : "", rates(sensor),
                std::to_string(sensor.fifoMaxEventCount), orNone(sensor.name)},
               details ? detailsOf(sensor) : "");
}

Json jsonOf(const SensorInfo& sensor) {
    return {{"handle", sensor.sensorHandle},
            {"sensor", typeName(sensor)},
            {"name", sensor.name},
            {"vendor", sensor.vendor},
            {"version", sensor.version},
            {"type", static_cast<int32_t>(sensor.type)},
            {"string_type", sensor.typeAsString},
            {"permission", sensor.requiredPermission},
            {"mode", modeName(reportingMode(sensor))},
            {"wakeup", isWakeUp(sensor)},
            {"direct", canReportDirectly(sensor)},
            {"flags", sensor.flags},
            {"min_delay_us", sensor.minDelay},
            {"max_delay_us", sensor.maxDelay},
            {"fifo_max", sensor.fifoMaxEventCount},
            {"fifo_reserved", sensor.fifoReservedEventCount},
            {"range", numberOf(sensor.maxRange)},
            {"resolution", numberOf(sensor.resolution)},
            {"power_ma", numberOf(sensor.power)}};
}

}  // namespace

ExitCode runList(Proxy& proxy, const ListOptions& options) {
    const ExitCode opened = proxy.open();
    if (opened != kOk) return opened;
    std::vector<const SensorInfo*> sensors;
    for (const std::string& text : options.sensors) {
        sensors.push_back(proxy.find(text));
        if (sensors.back() == nullptr) return kNoSuchSensor;
    }
    for (const SensorInfo& sensor : proxy.sensors()) {
        if (options.sensors.empty()) sensors.push_back(&sensor);
    }
    if (options.format == "json") {
        Json list = Json::array();
        for (const SensorInfo* sensor : sensors) {
            list.push_back(jsonOf(*sensor));
        }
        printText(list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
        return kOk;
    }
    Table table({{"handle", 0},
                 {"sensor", 0, true, true},
                 {"mode", 1, true, true},
                 {"", 3, true, true},
                 {"rates", 2, true, true},
                 {"FIFO", 4, false},
                 {"name", 5, true, true}});
    for (const SensorInfo* sensor : sensors) {
        addLine(*sensor, options.details, &table);
    }
    print("%s", table.text(!proxy.options().quiet).c_str());
    return kOk;
}

}  // namespace subhalctl
