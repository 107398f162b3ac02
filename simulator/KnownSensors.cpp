#include "simulator/KnownSensors.h"

#include <algorithm>

namespace simulator {
namespace {

using R = Reporting;

constexpr float kAccResolution = 0.0023942017F;   // 8 g over 15 bits
constexpr float kGyroResolution = 0.0012217305F;  // 70 mdps
constexpr float kMagResolution = 0.06F;

constexpr bool kWu = true;  // what the plain name means
constexpr bool kNwu = false;
constexpr bool kGuarded = true;  // by the hub's permission
constexpr bool kFree = false;

constexpr char kAcceleration[] = "x y z [m/s²], accuracy";
constexpr char kRotation[] = "x y z [rad/s], accuracy";
constexpr char kUncalAcceleration[] = "x y z x_bias y_bias z_bias [m/s²]";
constexpr char kUncalRotation[] = "x y z x_bias y_bias z_bias [rad/s]";

}  // namespace

const std::vector<KnownSensor>& knownSensors() {
    // One row per sensor, sorted by handle:
    // {handle, chip, vendor, version, wake-up, min and max delay (µs), FIFO max and reserved,
    //  resolution, range, power (mA)},
    // IIO name, record bytes, plain twin, type, its short name, display name, permission, flags,
    // values, reporting, signal
    // clang-format off
    static const std::vector<KnownSensor> sensors = {
    {{1, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 3000, kAccResolution, 78.4532F, 0.15F},
     "accelerometer_sensor", 14, kNwu, 1, "accelerometer", "Accelerometer", kFree, 0,
     kAcceleration, R::kContinuous, signals::acceleration},
    {{2, "AK09918", 1, 1, false, 10000, 200000, 600, 600, kMagResolution, 4911.9F, 1.1F},
     "geomagnetic_sensor", 21, kNwu, 2, "magnetic_field", "Magnetometer", kFree, 0,
     "x y z [µT], accuracy", R::kContinuous, signals::magneticField},
    {{4, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "gyro_sensor", 14, kNwu, 4, "gyroscope", "Gyroscope", kFree, 0,
     kRotation, R::kContinuous, signals::rotationRate},
    {{5, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 60000.0F, 0.75F},
     "light_sensor", 12, kNwu, 5, "light", "Light", kFree, 2,
     "lux [lux]", R::kOnChange, signals::light},
    {{6, "LPS22HH", 3, 1, false, 40000, 1000000, 300, 300, 0.000244140625F, 1260.0F, 1.0F},
     "pressure_sensor", 22, kNwu, 6, "pressure", "Barometer", kFree, 0,
     "pressure [hPa]", R::kContinuous, signals::pressure},
    {{8, "CM36672P", 6, 1, true, 0, 0, 100, 100, 8.0F, 8.0F, 0.75F},
     "proximity_sensor", 9, kWu, 65592, "physical_proximity", "Proximity", kGuarded, 2,
     "distance [cm], level", R::kOnChange, signals::proximity},
    {{11, "LSM6DSO_AK", 0, 1, false, 5000, 200000, 300, 0, 0.000001F, 1.0F, 7.35F},
     "rotation_vector_sensor", 25, kNwu, 11, "rotation_vector", "Tavrine Rotation Vector", kFree, 0,
     "x y z w, heading_acc [rad]", R::kContinuous, signals::rotationVector},
    {{14, "AK09918", 1, 1, false, 10000, 200000, 600, 0, kMagResolution, 4911.9F, 1.1F},
     "uncal_geomagnetic_sensor", 32, kNwu, 14, "magnetic_field_uncalibrated",
     "Magnetometer Uncalibrated", kFree, 0,
     "x y z x_bias y_bias z_bias [µT]", R::kContinuous, signals::uncalMagneticField},
    {{15, "LSM6DSO", 0, 1, false, 5000, 200000, 300, 300, 0.000001F, 1.0F, 6.25F},
     "game_rotation_vector_sensor", 25, kNwu, 15, "game_rotation_vector",
     "Tavrine Game Rotation Vector", kFree, 0,
     "x y z w", R::kContinuous, signals::gameRotationVector},
    {{16, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "uncal_gyro_sensor", 20, kNwu, 16, "gyroscope_uncalibrated", "Gyroscope Uncalibrated",
     kFree, 0, kUncalRotation, R::kContinuous, signals::uncalRotationRate},
    {{17, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "sig_motion_sensor", 9, kWu, 17, "significant_motion", "Significant Motion", kFree, 4,
     "event", R::kOneShot, signals::gesture},
    {{18, "LSM6DSO", 3, 1, false, 0, 0, 100, 100, 1.0F, 2.0F, 0.15F},
     "step_det_sensor", 9, kNwu, 18, "step_detector", "Step Detector", kFree, 6,
     "event", R::kOnEvent, signals::step},
    {{19, "LSM6DSO", 3, 1, false, 0, 0, 0, 0, 1.0F, 4294967296.0F, 0.15F},
     "step_cnt_sensor", 20, kNwu, 19, "step_counter", "Step Counter", kFree, 2,
     "#steps [steps]", R::kOnChange, signals::stepCount},
    {{22, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "tilt_detector", 9, kWu, 22, "tilt_detector", "Tilt Detector", kFree, 6,
     "event", R::kOnEvent, signals::gesture},
    {{25, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "pickup_gesture", 9, kWu, 25, "pick_up_gesture", "Pick Up Gesture", kFree, 4,
     "event", R::kOneShot, signals::gesture},
    {{27, "LSM6DSO", 0, 1, false, 0, 0, 0, 0, 1.0F, 3.0F, 0.15F},
     "device_orientation", 9, kNwu, 27, "device_orientation", "Device Orientataion", kFree, 2,
     "orientation, accuracy", R::kOnChange, signals::deviceOrientation},
    {{29, "CM36672P", 6, 1, false, 0, 0, 0, 0, 1.0F, 65535.0F, 0.75F},
     "proximity_raw", 20, kNwu, 65582, "proximity_alert", "Proximity Raw Sensor", kGuarded, 2,
     "prox raw callmin baseline psoff ir", R::kOnChange, signals::proximityRaw},
    {{31, "LSM6DSO", 3, 1, false, 5000, 160000, 0, 0, kGyroResolution, 34.906586F, 6.1F},
     "interrupt_gyro_sensor", 14, kNwu, 65579, "interrupt_gyro", "Interrupt Gyroscope", kFree, 2,
     kRotation, R::kContinuous, signals::rotationRate},
    {{32}, "qcontext_iio", 72, kNwu, 65586, "sensorhubs", "Qcontext", kGuarded, 6,
     "", R::kNone, nullptr},
    {{33}, "sensorhub_sensor", 11, kNwu, 0, "", "SensorHub", kFree, 0,
     "", R::kNone, nullptr},
    {{34, "TCS3407", 5, 1, false, 200000, 1000000, 0, 0, 1.0F, 60000.0F, 0.75F},
     "light_cct_sensor", 22, kNwu, 65587, "light_cct", "Light CCT", kFree, 0,
     "lux [lux], cct [K], roi, -, raw_lux [lux]", R::kContinuous, signals::lightCct},
    {{35, "HUB_GESTURE", 0, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "call_gesture", 9, kWu, 65594, "call_gesture", "Call Gesture", kGuarded, 2,
     "event", R::kOnEvent, signals::gesture},
    {{36, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "wake_up_motion", 9, kWu, 65590, "wake_up_motion", "Wake Up Motion", kFree, 7,
     "event", R::kOnEvent, signals::gesture},
    {{37, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 60000.0F, 0.75F},
     "auto_brightness", 18, kNwu, 65601, "autobrightness", "Auto Brightness Sensor", kGuarded, 2,
     "lux [lux], min_flag", R::kOnChange, signals::autoBrightness},
    {{38, "LSM6DSO", 3, 1, false, 2000, 20000, 1000, 0, kGyroResolution, 34.906586F, 6.1F},
     "vdis_gyro_sensor", 14, kNwu, 65607, "vdis_gyro", "VDIS Gyroscope", kGuarded, 0x786,
     kRotation, R::kContinuous, signals::rotationRate},
    {{39, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_mode_lite", 13, kNwu, 65608, "pocket_mode", "Pocket Mode Lite", kFree, 2,
     "state value", R::kOnChange, signals::pocketModeLite},
    {{41, "HUB_GESTURE", 0, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "protos_motion", 9, kWu, 65613, "protos_motion", "Pro Tos Motion", kGuarded, 6,
     "event", R::kOnEvent, signals::gesture},
    {{42, "AK09918", 1, 1, true, 0, 0, 0, 0, 1.0F, 10.0F, 1.1F},
     "flip_cover_detector", 32, kWu, 65639, "flip_cover_detector", "Flip Cover Detector",
     kGuarded, 2, "event second value1 value2 value3 value4 value5 value6 value7",
     R::kOnChange, signals::flipCover},
    {{43, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "uncal_accel_sensor", 20, kNwu, 35, "accelerometer_uncalibrated", "Accelerometer Uncalibrated",
     kFree, 0, kUncalAcceleration, R::kContinuous, signals::uncalAcceleration},
    {{45, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_mode", 66, kNwu, 65605, "pocket_mode", "Pocket Mode", kGuarded, 2,
     "event reason base current word2 word3 word4 temp word6 word7 "
     "word8 word9 word10 word11 word12 word13", R::kOnChange, signals::pocketMode},
    {{46, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_pos_mode", 23, kNwu, 65698, "pocket_pos_mode", "Pocket Position Mode", kGuarded, 2,
     "total_state position_state position_case pedo_state pedo_case version",
     R::kOnChange, signals::pocketPosMode},
    {{47, "LSM6DSO", 3, 1, false, 0, 0, 0, 0, 1.0F, 1000.0F, 0.15F},
     "sequential_step", 12, kNwu, 65647, "seq_step", "Sequential Step", kGuarded, 2,
     "value, accuracy", R::kOnChange, signals::sequentialStep},
    {{48, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 65535.0F, 0.75F},
     "light_ir_sensor", 32, kNwu, 65578, "light_ir", "Light IR", kFree, 2,
     "ir r g b c atime again", R::kOnChange, signals::lightIr},
    {{49, "LSM6DSO", 3, 1, false, 1000000, 1000000, 0, 0, 1.0F, 1.0F, 6.1F},
     "aois_sensor", 8, kNwu, 65699, "gyroscope_aois", "Aois Sensor", kGuarded, 6,
     "", R::kContinuous, signals::stampOnly},
    {{50, "LSM6DSO", 3, 1, false, 2000, 20000, 1000, 0, kGyroResolution, 34.906586F, 6.1F},
     "stillwave_gyro_sensor", 14, kNwu, 65646, "stillwave_gyro", "Stillwave Gyroscope",
     kGuarded, 0x786, kRotation, R::kContinuous, signals::rotationRate},
    {{52, "LSM6DSO", 0, 1, true, 0, 0, 0, 0, 1.0F, 3.0F, 0.15F},
     "device_orientation", 9, kNwu, 27, "device_orientation", "Device Orientataion", kFree, 2,
     "orientation, accuracy", R::kOnChange, signals::deviceOrientation},
    {{53, "HUB_DEBUG", 0, 1, false, 0, 0, 0, 0, 1.0F, 2.0F, 0.001F},
     "hub_debugger", 264, kNwu, 65642, "hub_debugger", "Hub Debugger", kFree, 0,
     "", R::kOnEvent, signals::hubDebugger},
    {{54, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "sar_backoff_motion", 9, kWu, 65643, "sar_backoff_motion", "SBM", kGuarded, 4,
     "event", R::kOneShot, signals::gesture},
    {{55, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 1.0F, 0.75F},
     "light_seamless_sensor", 12, kNwu, 65614, "light_seamless", "Light Seamless Sensor",
     kGuarded, 2, "event", R::kOnChange, signals::lightSeamless},
    {{56, "HUB_COVER", 0, 1, true, 0, 0, 0, 0, 1.0F, 255.0F, 0.001F},
     "led_cover_event_sensor", 9, kWu, 65606, "led_cover_event", "Led Cover Event Sensor",
     kGuarded, 2, "event", R::kOnChange, signals::ledCover},
    {{57, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 100.0F, 0.15F},
     "drop_classifier", 33, kWu, 65644, "drop_classifier", "Drop Classifier", kGuarded, 2,
     "event value1 value2 value3 value4 value5 value6", R::kOnEvent, signals::drop},
    {{58, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "accelerometer_sub_sensor", 14, kNwu, 65687, "accelerometer_sub", "Accelerometer-Sub",
     kGuarded, 0, kAcceleration, R::kContinuous, signals::acceleration},
    {{59, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "uncal_accel_sub_sensor", 20, kNwu, 65688, "accelerometer_uncalibrated_sub",
     "Accelerometer Uncalibrated Sub", kGuarded, 0,
     kUncalAcceleration, R::kContinuous, signals::uncalAcceleration},
    {{60, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "gyro_sub_sensor", 14, kNwu, 65689, "gyroscope_sub", "Gyroscope-Sub", kGuarded, 0,
     kRotation, R::kContinuous, signals::rotationRate},
    {{61, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "uncal_gyro_sub_sensor", 20, kNwu, 65690, "gyroscope_uncalibrated_sub",
     "Gyroscope Uncalibrated Sub", kGuarded, 0,
     kUncalRotation, R::kContinuous, signals::uncalRotationRate},
    {{62, "AK09973", 1, 1, false, 0, 0, 0, 0, 1.0F, 180.0F, 0.1F},
     "folding_angle", 12, kNwu, 65686, "foling_angle", "Folding Angle", kGuarded, 2,
     "angle [degrees]", R::kOnChange, signals::hingeAngle},
    {{63, "LSM6DSO_LID", 0, 1, true, 0, 0, 0, 0, 1.0F, 360.0F, 0.3F},
     "lid_angle_fusion", 70, kWu, 65695, "lid_angle_fusion", "Lid Angle Fusion", kGuarded, 2,
     "mode, angle [degrees]", R::kOnChange, signals::lidAngleFusion},
    {{64, "AK09973", 1, 1, true, 0, 0, 100, 0, 1.0F, 360.0F, 0.1F},
     "hinge_angle", 12, kWu, 36, "hinge_angle", "Hinge Angle", kFree, 2,
     "angle [degrees]", R::kOnChange, signals::hingeAngle},
    {{65, "LSM6DSO_LID", 0, 1, true, 0, 0, 0, 0, 1.0F, 360.0F, 0.3F},
     "folding_state_lpm", 46, kWu, 65697, "folding_state_lpm", "Folding State Lpm", kGuarded, 2,
     "mode, angle [degrees]", R::kOnChange, signals::foldingStateLpm},
    {{68, "AK09973", 1, 1, true, 0, 0, 0, 0, 1.0F, 1.0F, 0.1F},
     "angle_sensor_status", 9, kWu, 65700, "angle_sensor_status_check", "Angle Sensor Status",
     kGuarded, 3, "status", R::kOnChange, signals::angleSensorStatus},
    {{69, "HUB_DEVICE", 0, 1, true, 0, 0, 0, 0, 1.0F, 255.0F, 0.001F},
     "device_common_info", 11, kWu, 65649, "device_common_info", "Device Common Info", kFree, 2,
     "device_type table_mode active_screen", R::kOnChange, signals::deviceCommonInfo},
    {{70, "AK09973", 1, 1, false, 0, 0, 0, 0, 1.0F, 1.0F, 0.1F},
     "sar_folding", 9, kNwu, 65711, "sar_folding", "Sar Folding", kGuarded, 2,
     "status", R::kOnChange, signals::sarFolding},
    {{71, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "back_tap", 33, kWu, 65651, "back_tap", "Back Tap", kGuarded, 2,
     "event value1 value2 value3", R::kOnEvent, signals::backTap},
    };
    // clang-format on
    return sensors;
}

const KnownSensor* findKnownSensor(int handle) {
    const auto& all = knownSensors();
    const auto found = std::find_if(all.begin(), all.end(), [handle](const KnownSensor& sensor) {
        return sensor.chip.handle == handle;
    });
    return found != all.end() ? &*found : nullptr;
}

std::string KnownSensor::stringType() const {
    return type >= kFirstPrivateType ? std::string("com.tavrine.sensor.") + shortType : "";
}

std::string iioNameOf(const KnownSensor& sensor, bool wakeUp) {
    std::string name = sensor.iioName;
    if (wakeUp != sensor.plainNameIsWakeUp) name += wakeUp ? "_wu" : "_nwu";
    return name;
}

std::vector<SensorSpec> standardCatalogue() {
    std::vector<SensorSpec> catalogue;
    for (const KnownSensor& sensor : knownSensors()) {
        if (!sensor.isHubsOwn()) catalogue.push_back(sensor.chip);
    }
    return catalogue;
}

}  // namespace simulator
