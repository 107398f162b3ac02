#pragma once

/** Every fixed path of the hub's kernel driver, and of the files kept for the hub. */
namespace android::hardware::sensors::V2_0::zelva_sensorhub::paths {

// The hub's class directory: what sensors there are, and switching them.
inline constexpr char kSensorSpec[] = "/sys/class/sensors/hbx_sensor/sensor_spec";
inline constexpr char kEnable[] = "/sys/class/sensors/hbx_sensor/enable";
inline constexpr char kFlush[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
inline constexpr char kBatch[] = "/dev/batch_io";

// Industrial I/O: one device per sensor. Its number follows the prefix in the directory, and its
// record device's path; the attributes lie in the device's own directory.
inline constexpr char kIioDirectory[] = "/sys/bus/iio/devices/";
inline constexpr char kIioPrefix[] = "iio:device";
inline constexpr char kIioName[] = "name";
inline constexpr char kIioBufferLength[] = "buffer/length";
inline constexpr char kIioBufferEnable[] = "buffer/enable";
inline constexpr char kIioDataAvailable[] = "buffer/data_available";
inline constexpr char kIioDevice[] = "/dev/iio:device";

// Data injection; the first that opens is used.
inline constexpr char kInjection[] = "/dev/shub_data_injection";
inline constexpr char kInjectionFallback[] = "/dev/hbx_data_injection";

// Rear light sensor, read for flicker.
inline constexpr char kRearLightEnable[] = "/sys/class/sensors/als_rear/als_enable";
inline constexpr char kRearLightData[] = "/sys/class/sensors/als_rear/als_data";

// Relative on purpose: it resolves against the working directory of the proxy's process.
inline constexpr char kNfcCoverStatus[] =
    "sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";

// Context facility: capability words, and the device that takes byte messages.
inline constexpr char kContextList[] = "/sys/class/sensors/hbx_sensor/qcontext_list";
inline constexpr char kHubMessage[] = "/dev/hbx_sensorhub";
inline constexpr char kHubMessageFallback[] = "/dev/shub_sensorhub";

// Housekeeping: the file manager's control file, the dump's source and where dumps are kept.
inline constexpr char kFileManager[] = "/sys/class/sensors/hbx_sensor/shub_file";
inline constexpr char kDumpSourceDirectory[] = "/sys/class/sensors/hbx_sensor/";
inline constexpr char kDumpName[] = "shub_dump";
inline constexpr char kDumpDirectory[] = "/data/vendor/sensorhub/";

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub::paths
