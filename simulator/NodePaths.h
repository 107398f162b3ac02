#pragma once

#include <sys/types.h>

#include <string>

namespace simulator {

/** Every fixed path of the hub and its driver; not taken from the library. */
inline namespace paths {
constexpr char kSpecPath[] = "/sys/class/sensors/hbx_sensor/sensor_spec";
constexpr char kEnablePath[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlushPath[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kFileManagerPath[] = "/sys/class/sensors/hbx_sensor/shub_file";
constexpr char kDumpPath[] = "/sys/class/sensors/hbx_sensor/shub_dump";
constexpr char kContextListPath[] = "/sys/class/sensors/hbx_sensor/qcontext_list";
constexpr char kNfcCoverPath[] = "/sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";
constexpr char kRearEnablePath[] = "/sys/class/sensors/als_rear/als_enable";
constexpr char kRearDataPath[] = "/sys/class/sensors/als_rear/als_data";
constexpr char kBatchPath[] = "/dev/batch_io";
constexpr char kMessagePath[] = "/dev/hbx_sensorhub";
constexpr char kShubInjectionPath[] = "/dev/shub_data_injection";
constexpr char kHbxInjectionPath[] = "/dev/hbx_data_injection";
constexpr char kIioDirectory[] = "/sys/bus/iio/devices/";
constexpr char kDataDirectory[] = "/data/vendor/sensorhub";
}  // namespace paths

/** Whether this is an attribute below /sys, where the mode binds even root. */
bool isAttribute(const std::string& path);
/** Whether this is a node of the kernel, which can be neither created nor truncated. */
bool isKernelNode(const std::string& path);
/** The mode of an attribute: read-only, write-only, or both. */
mode_t attributeMode(const std::string& path);

/**
 * The path in absolute form if it is one of the hub's, else empty. One path of the hub is also used
 * relative to the root directory, "sys/class/sensors/...".
 */
std::string hubPath(const char* path);

}  // namespace simulator
