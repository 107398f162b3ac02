#include <algorithm>
#include <cinttypes>
#include <iterator>
#include <utility>

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
    constexpr const char* kNames[] = {"continuous", "on change", "one-shot", "special"};
    const uint32_t index = maskOf(mode) >> 1;  // bits 1 to 3
    return index < std::size(kNames) ? kNames[index] : "unknown";
}

std::string otherFlags(uint32_t flags) {
    constexpr std::pair<SensorFlagBits, const char*> kNames[] = {
        {SensorFlagBits::DATA_INJECTION, ", data injection"},
        {SensorFlagBits::DYNAMIC_SENSOR, ", dynamic"},
        {SensorFlagBits::ADDITIONAL_INFO, ", additional info"},
        {SensorFlagBits::DIRECT_CHANNEL_ASHMEM, ", direct in memory"},
        {SensorFlagBits::DIRECT_CHANNEL_GRALLOC, ", direct in graphics buffers"}};
    constexpr const char* kLevels[] = {"", " up to normal", " up to fast", " up to very fast"};
    std::string text = (flags & maskOf(SensorFlagBits::WAKE_UP)) != 0 ? "wake-up" : "non-wake-up";
    for (const auto& [bit, name] : kNames) {
        if ((flags & maskOf(bit)) != 0) text += name;
    }
    const uint32_t level = (flags & maskOf(SensorFlagBits::MASK_DIRECT_REPORT)) >> 7;
    return text + kLevels[std::min(level, 3U)];
}

std::string rates(const SensorInfo& sensor) {
    const SensorFlagBits mode = reportingMode(sensor);
    const double slowest = sensor.maxDelay > 0 ? 1e6 / sensor.maxDelay : 0;
    if (sensor.minDelay > 0) {
        const double fastest = 1e6 / sensor.minDelay;
        if (sensor.maxDelay == sensor.minDelay) return formatted("%.6g Hz", fastest);
        if (slowest == 0) return formatted("up to %.6g Hz", fastest);
        return formatted("%.6g to %.6g Hz", slowest, fastest);
    }
    if (mode == SensorFlagBits::ONE_SHOT_MODE) return "one event, then off";
    if (mode != SensorFlagBits::CONTINUOUS_MODE) return "when it has news";
    return slowest > 0 ? formatted("from %.6g Hz", slowest) : "any";
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
        table.add({std::to_string(sensor->sensorHandle), typeName(*sensor),
                   modeName(reportingMode(*sensor)), isWakeUp(*sensor) ? "wake-up" : "",
                   rates(*sensor), std::to_string(sensor->fifoMaxEventCount), orNone(sensor->name)},
                  options.details ? detailsOf(*sensor) : "");
    }
    print("%s", table.text(!proxy.options().quiet).c_str());
    return kOk;
}

}  // namespace subhalctl
