#pragma once

namespace subhalctl {

// What the hub's kernel driver shows, as far as a user has to hear of it.
constexpr char kSpecPath[] = "/sys/class/sensors/hbx_sensor/sensor_spec";
constexpr char kNfcCoverStatus[] = "/sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";
constexpr char kDumpDirectory[] = "/data/vendor/sensorhub";

}  // namespace subhalctl
