#pragma once

#include <V2_0/SubHal.h>

#include <optional>
#include <string>
#include <vector>

namespace subhalctl {

using android::hardware::sensors::V1_0::SensorFlagBits;
using android::hardware::sensors::V1_0::SensorInfo;

/** Short name of a sensor's type: "accelerometer", "back_tap", or "type 4711". */
std::string typeName(const SensorInfo& sensor);

/** CONTINUOUS_MODE and so on. */
SensorFlagBits reportingMode(uint32_t flags);
inline SensorFlagBits reportingMode(const SensorInfo& sensor) {
    return reportingMode(sensor.flags);
}

/** Of the sensor's flags. */
bool isWakeUp(const SensorInfo& sensor);
bool canReportDirectly(const SensorInfo& sensor);

/** The rule of the platform that delays in µs break, null for none. */
const char* brokenDelayRule(uint32_t flags, int32_t minUs, int32_t maxUs);

/** The period that the sensor grants, 0 for one without a period. */
int64_t grantedPeriodNs(const SensorInfo& sensor, int64_t askedNs);

/** Has a rate, or reports its state when it is switched on. */
bool reportsByItself(const SensorInfo& sensor);

/**
 * Sensors that the user may mean, from the first of these that finds any: the handle; the whole
 * display name; the whole type name, short or long; a part of the sensor's or the type's name. Case
 * does not matter. More than one: the text is ambiguous. The pointers point into `sensors`.
 */
std::vector<const SensorInfo*> findSensors(const std::vector<SensorInfo>& sensors,
                                           const std::string& text);

/** A sensor as the command line names it, "SENSOR" or "SENSOR@HZ". */
struct SensorSelector {
    std::string sensor;
    std::optional<double> rateHz;
};

/** In Hz; the bounds keep the period within what a clock of nanoseconds can count. */
constexpr double kLowestRateHz = 1e-6;
constexpr double kHighestRateHz = 1e9;

int64_t periodOfRate(double hertz);

/** Splits at the last "@"; nothing when no rate follows it. */
std::optional<SensorSelector> parseSelector(const std::string& text);

}  // namespace subhalctl
