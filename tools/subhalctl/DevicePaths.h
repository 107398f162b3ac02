#pragma once

namespace subhalctl {

// What the hub's kernel driver shows, as far as a user has to hear of it.
constexpr char kSpecPath[] = "/sys/class/sensors/hbx_sensor/sensor_spec";
constexpr char kEnablePath[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlushPath[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kContextListPath[] = "/sys/class/sensors/hbx_sensor/qcontext_list";
constexpr char kFileManagerPath[] = "/sys/class/sensors/hbx_sensor/shub_file";
constexpr char kDumpPath[] = "/sys/class/sensors/hbx_sensor/shub_dump";
constexpr char kBatchPath[] = "/dev/batch_io";
constexpr char kInjectionPath[] = "/dev/shub_data_injection";
constexpr char kOtherInjectionPath[] = "/dev/hbx_data_injection";
constexpr char kMessagePath[] = "/dev/hbx_sensorhub";
constexpr char kOtherMessagePath[] = "/dev/shub_sensorhub";
constexpr char kRearLightDataPath[] = "/sys/class/sensors/als_rear/als_data";
constexpr char kRearLightEnablePath[] = "/sys/class/sensors/als_rear/als_enable";
constexpr char kNfcCoverStatus[] = "/sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";
constexpr char kDumpDirectory[] = "/data/vendor/sensorhub";
constexpr char kIioDirectory[] = "/sys/bus/iio/devices/";
constexpr char kIioPrefix[] = "iio:device";

}  // namespace subhalctl
