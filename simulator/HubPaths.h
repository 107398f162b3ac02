#pragma once

#include <string>

namespace simulator {

constexpr char kSpecPath[] = "/sys/class/sensors/hbx_sensor/sensor_spec";
constexpr char kEnablePath[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlushPath[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kBatchPath[] = "/dev/batch_io";
constexpr char kShubInjectionPath[] = "/dev/shub_data_injection";
constexpr char kHbxInjectionPath[] = "/dev/hbx_data_injection";
constexpr char kIioDirectory[] = "/sys/bus/iio/devices/";

/**
 * The path in absolute form when it is one of the hub's, else empty. One path of the hub is also
 * used relative to the root directory, "sys/class/sensors/...".
 */
std::string hubPath(const char* path);

}  // namespace simulator
