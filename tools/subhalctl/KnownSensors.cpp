#include "tools/subhalctl/KnownSensors.h"

#include <algorithm>

namespace subhalctl {
const std::vector<KnownSensor>& knownSensors() {
    // Handle, IIO name, plain name is wake-up, record bytes, display name, type, string type,
    // permission, flags.
    static const std::vector<KnownSensor> sensors = {
        {1, "accelerometer_sensor", false, 14, "Accelerometer", 1, "", false, 0},
        {2, "geomagnetic_sensor", false, 21, "Magnetometer", 2, "", false, 0},
        {4, "gyro_sensor", false, 14, "Gyroscope", 4, "", false, 0},
        {5, "light_sensor", false, 12, "Light", 5, "", false, 2},
        {6, "pressure_sensor", false, 22, "Barometer", 6, "", false, 0},
        {8, "proximity_sensor", true, 9, "Proximity", 65592,
         "com.tavrine.sensor.physical_proximity", true, 2},
        {11, "rotation_vector_sensor", false, 25, "Tavrine Rotation Vector", 11, "", false, 0},
        {14, "uncal_geomagnetic_sensor", false, 32, "Magnetometer Uncalibrated", 14, "", false, 0},
        {15, "game_rotation_vector_sensor", false, 25, "Tavrine Game Rotation Vector", 15, "",
         false, 0},
        {16, "uncal_gyro_sensor", false, 20, "Gyroscope Uncalibrated", 16, "", false, 0},
        {17, "sig_motion_sensor", true, 9, "Significant Motion", 17, "", false, 4},
        {18, "step_det_sensor", false, 9, "Step Detector", 18, "", false, 6},
        {19, "step_cnt_sensor", false, 20, "Step Counter", 19, "", false, 2},
        {22, "tilt_detector", true, 9, "Tilt Detector", 22, "", false, 6},
        {25, "pickup_gesture", true, 9, "Pick Up Gesture", 25, "", false, 4},
        {27, "device_orientation", false, 9, "Device Orientataion", 27, "", false, 2},
        {29, "proximity_raw", false, 20, "Proximity Raw Sensor", 65582,
         "com.tavrine.sensor.proximity_alert", true, 2},
        {31, "interrupt_gyro_sensor", false, 14, "Interrupt Gyroscope", 65579,
         "com.tavrine.sensor.interrupt_gyro", false, 2},
        {34, "light_cct_sensor", false, 22, "Light CCT", 65587, "com.tavrine.sensor.light_cct",
         false, 0},
        {35, "call_gesture", true, 9, "Call Gesture", 65594, "com.tavrine.sensor.call_gesture",
         true, 2},
        {36, "wake_up_motion", true, 9, "Wake Up Motion", 65590,
         "com.tavrine.sensor.wake_up_motion", false, 7},
        {37, "auto_brightness", false, 18, "Auto Brightness Sensor", 65601,
         "com.tavrine.sensor.autobrightness", true, 2},
        {38, "vdis_gyro_sensor", false, 14, "VDIS Gyroscope", 65607, "com.tavrine.sensor.vdis_gyro",
         true, 0x786},
        {39, "pocket_mode_lite", false, 13, "Pocket Mode Lite", 65608,
         "com.tavrine.sensor.pocket_mode", false, 2},
        {41, "protos_motion", true, 9, "Pro Tos Motion", 65613, "com.tavrine.sensor.protos_motion",
         true, 6},
        {42, "flip_cover_detector", true, 32, "Flip Cover Detector", 65639,
         "com.tavrine.sensor.flip_cover_detector", true, 2},
        {43, "uncal_accel_sensor", false, 20, "Accelerometer Uncalibrated", 35, "", false, 0},
        {45, "pocket_mode", false, 66, "Pocket Mode", 65605, "com.tavrine.sensor.pocket_mode", true,
         2},
        {46, "pocket_pos_mode", false, 23, "Pocket Position Mode", 65698,
         "com.tavrine.sensor.pocket_pos_mode", true, 2},
        {47, "sequential_step", false, 12, "Sequential Step", 65647, "com.tavrine.sensor.seq_step",
         true, 2},
        {48, "light_ir_sensor", false, 32, "Light IR", 65578, "com.tavrine.sensor.light_ir", false,
         2},
        {49, "aois_sensor", false, 8, "Aois Sensor", 65699, "com.tavrine.sensor.gyroscope_aois",
         true, 6},
        {50, "stillwave_gyro_sensor", false, 14, "Stillwave Gyroscope", 65646,
         "com.tavrine.sensor.stillwave_gyro", true, 0x786},
        {52, "device_orientation", false, 9, "Device Orientataion", 27, "", false, 2},
        {53, "hub_debugger", false, 264, "Hub Debugger", 65642, "com.tavrine.sensor.hub_debugger",
         false, 0},
        {54, "sar_backoff_motion", true, 9, "SBM", 65643, "com.tavrine.sensor.sar_backoff_motion",
         true, 4},
        {55, "light_seamless_sensor", false, 12, "Light Seamless Sensor", 65614,
         "com.tavrine.sensor.light_seamless", true, 2},
        {56, "led_cover_event_sensor", true, 9, "Led Cover Event Sensor", 65606,
         "com.tavrine.sensor.led_cover_event", true, 2},
        {57, "drop_classifier", true, 33, "Drop Classifier", 65644,
         "com.tavrine.sensor.drop_classifier", true, 2},
        {58, "accelerometer_sub_sensor", false, 14, "Accelerometer-Sub", 65687,
         "com.tavrine.sensor.accelerometer_sub", true, 0},
        {59, "uncal_accel_sub_sensor", false, 20, "Accelerometer Uncalibrated Sub", 65688,
         "com.tavrine.sensor.accelerometer_uncalibrated_sub", true, 0},
        {60, "gyro_sub_sensor", false, 14, "Gyroscope-Sub", 65689,
         "com.tavrine.sensor.gyroscope_sub", true, 0},
        {61, "uncal_gyro_sub_sensor", false, 20, "Gyroscope Uncalibrated Sub", 65690,
         "com.tavrine.sensor.gyroscope_uncalibrated_sub", true, 0},
        {62, "folding_angle", false, 12, "Folding Angle", 65686, "com.tavrine.sensor.foling_angle",
         true, 2},
        {63, "lid_angle_fusion", true, 70, "Lid Angle Fusion", 65695,
         "com.tavrine.sensor.lid_angle_fusion", true, 2},
        {64, "hinge_angle", true, 12, "Hinge Angle", 36, "", false, 2},
        {65, "folding_state_lpm", true, 46, "Folding State Lpm", 65697,
         "com.tavrine.sensor.folding_state_lpm", true, 2},
        {68, "angle_sensor_status", true, 9, "Angle Sensor Status", 65700,
         "com.tavrine.sensor.angle_sensor_status_check", true, 3},
        {69, "device_common_info", true, 11, "Device Common Info", 65649,
         "com.tavrine.sensor.device_common_info", false, 2},
        {70, "sar_folding", false, 9, "Sar Folding", 65711, "com.tavrine.sensor.sar_folding", true,
         2},
        {71, "back_tap", true, 33, "Back Tap", 65651, "com.tavrine.sensor.back_tap", true, 2},
    };
    return sensors;
}

const KnownSensor* findKnownSensor(int32_t handle) {
    const auto& sensors = knownSensors();
    const auto found = std::find_if(sensors.begin(), sensors.end(), [&](const KnownSensor& sensor) {
        return sensor.handle == handle;
    });
    return found != sensors.end() ? &*found : nullptr;
}

std::string iioNameOf(const KnownSensor& sensor, bool wakeUp) {
    if (wakeUp == sensor.plainNameIsWakeUp) return sensor.iioName;
    return std::string(sensor.iioName) + (wakeUp ? "_wu" : "_nwu");
}

}  // namespace subhalctl
