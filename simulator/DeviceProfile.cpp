#include "simulator/DeviceProfile.h"

#include <algorithm>
#include <iterator>

#include "simulator/signals/Signals.h"

namespace simulator {
namespace {

using R = Reporting;

constexpr float kAccResolution = 0.0023942017F;   // 8 g over 15 bits
constexpr float kGyroResolution = 0.0012217305F;  // 70 mdps
constexpr float kMagResolution = 0.06F;

// One row per sensor:
// {handle, chip, vendor, version, wake-up, min and max delay (µs), FIFO max and reserved,
//  resolution, range, power (mA)},
//  IIO name, record bytes, plain name is wake-up, reporting, signal
// The hub's own devices have no chip.
// clang-format off
const DeviceProfile kProfiles[] = {
    {{1, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 3000, kAccResolution, 78.4532F, 0.15F},
     "accelerometer_sensor", 14, false, R::kContinuous, signals::acceleration},
    {{2, "AK09918", 1, 1, false, 10000, 200000, 600, 600, kMagResolution, 4911.9F, 1.1F},
     "geomagnetic_sensor", 21, false, R::kContinuous, signals::magneticField},
    {{4, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "gyro_sensor", 14, false, R::kContinuous, signals::rotationRate},
    {{5, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 60000.0F, 0.75F},
     "light_sensor", 12, false, R::kOnChange, signals::light},
    {{6, "LPS22HH", 3, 1, false, 40000, 1000000, 300, 300, 0.000244140625F, 1260.0F, 1.0F},
     "pressure_sensor", 22, false, R::kContinuous, signals::pressure},
    {{8, "CM36672P", 6, 1, true, 0, 0, 100, 100, 8.0F, 8.0F, 0.75F},
     "proximity_sensor", 9, true, R::kOnChange, signals::proximity},
    {{11, "LSM6DSO_AK", 0, 1, false, 5000, 200000, 300, 0, 0.000001F, 1.0F, 7.35F},
     "rotation_vector_sensor", 25, false, R::kContinuous, signals::rotationVector},
    {{14, "AK09918", 1, 1, false, 10000, 200000, 600, 0, kMagResolution, 4911.9F, 1.1F},
     "uncal_geomagnetic_sensor", 32, false, R::kContinuous, signals::uncalMagneticField},
    {{15, "LSM6DSO", 0, 1, false, 5000, 200000, 300, 300, 0.000001F, 1.0F, 6.25F},
     "game_rotation_vector_sensor", 25, false, R::kContinuous, signals::gameRotationVector},
    {{16, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "uncal_gyro_sensor", 20, false, R::kContinuous, signals::uncalRotationRate},
    {{17, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "sig_motion_sensor", 9, true, R::kOneShot, signals::gesture},
    {{18, "LSM6DSO", 3, 1, false, 0, 0, 100, 100, 1.0F, 2.0F, 0.15F},
     "step_det_sensor", 9, false, R::kOnEvent, signals::step},
    {{19, "LSM6DSO", 3, 1, false, 0, 0, 0, 0, 1.0F, 4294967296.0F, 0.15F},
     "step_cnt_sensor", 20, false, R::kOnChange, signals::stepCount},
    {{22, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "tilt_detector", 9, true, R::kOnEvent, signals::gesture},
    {{25, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "pickup_gesture", 9, true, R::kOneShot, signals::gesture},
    {{27, "LSM6DSO", 0, 1, false, 0, 0, 0, 0, 1.0F, 3.0F, 0.15F},
     "device_orientation", 9, false, R::kOnChange, signals::deviceOrientation},
    {{29, "CM36672P", 6, 1, false, 0, 0, 0, 0, 1.0F, 65535.0F, 0.75F},
     "proximity_raw", 20, false, R::kOnChange, signals::proximityRaw},
    {{31, "LSM6DSO", 3, 1, false, 5000, 160000, 0, 0, kGyroResolution, 34.906586F, 6.1F},
     "interrupt_gyro_sensor", 14, false, R::kContinuous, signals::rotationRate},
    {{32}, "qcontext_iio", 72, false, R::kNone, nullptr},
    {{33}, "sensorhub_sensor", 11, false, R::kNone, nullptr},
    {{34, "TCS3407", 5, 1, false, 200000, 1000000, 0, 0, 1.0F, 60000.0F, 0.75F},
     "light_cct_sensor", 22, false, R::kContinuous, signals::lightCct},
    {{35, "HUB_GESTURE", 0, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "call_gesture", 9, true, R::kOnEvent, signals::gesture},
    {{36, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "wake_up_motion", 9, true, R::kOnEvent, signals::gesture},
    {{37, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 60000.0F, 0.75F},
     "auto_brightness", 18, false, R::kOnChange, signals::autoBrightness},
    {{38, "LSM6DSO", 3, 1, false, 2000, 20000, 1000, 0, kGyroResolution, 34.906586F, 6.1F},
     "vdis_gyro_sensor", 14, false, R::kContinuous, signals::rotationRate},
    {{39, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_mode_lite", 13, false, R::kOnChange, signals::pocketModeLite},
    {{41, "HUB_GESTURE", 0, 1, true, 0, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "protos_motion", 9, true, R::kOnEvent, signals::gesture},
    {{42, "AK09918", 1, 1, true, 0, 0, 0, 0, 1.0F, 10.0F, 1.1F},
     "flip_cover_detector", 32, true, R::kOnChange, signals::flipCover},
    {{43, "LSM6DSO", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "uncal_accel_sensor", 20, false, R::kContinuous, signals::uncalAcceleration},
    {{45, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_mode", 66, false, R::kOnChange, signals::pocketMode},
    {{46, "HUB_POCKET", 0, 1, false, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "pocket_pos_mode", 23, false, R::kOnChange, signals::pocketPosMode},
    {{47, "LSM6DSO", 3, 1, false, 0, 0, 0, 0, 1.0F, 1000.0F, 0.15F},
     "sequential_step", 12, false, R::kOnChange, signals::sequentialStep},
    {{48, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 65535.0F, 0.75F},
     "light_ir_sensor", 32, false, R::kOnChange, signals::lightIr},
    {{49, "LSM6DSO", 3, 1, false, 1000000, 1000000, 0, 0, 1.0F, 1.0F, 6.1F},
     "aois_sensor", 8, false, R::kContinuous, signals::stampOnly},
    {{50, "LSM6DSO", 3, 1, false, 2000, 20000, 1000, 0, kGyroResolution, 34.906586F, 6.1F},
     "stillwave_gyro_sensor", 14, false, R::kContinuous, signals::rotationRate},
    {{52, "LSM6DSO", 0, 1, true, 0, 0, 0, 0, 1.0F, 3.0F, 0.15F},
     "device_orientation", 9, false, R::kOnChange, signals::deviceOrientation},
    {{53, "HUB_DEBUG", 0, 1, false, 0, 0, 0, 0, 1.0F, 2.0F, 0.001F},
     "hub_debugger", 264, false, R::kOnEvent, signals::hubDebugger},
    {{54, "LSM6DSO", 3, 1, true, -1, 0, 0, 0, 1.0F, 2.0F, 0.15F},
     "sar_backoff_motion", 9, true, R::kOneShot, signals::gesture},
    {{55, "TCS3407", 5, 1, false, 0, 0, 0, 0, 1.0F, 1.0F, 0.75F},
     "light_seamless_sensor", 12, false, R::kOnChange, signals::lightSeamless},
    {{56, "HUB_COVER", 0, 1, true, 0, 0, 0, 0, 1.0F, 255.0F, 0.001F},
     "led_cover_event_sensor", 9, true, R::kOnChange, signals::ledCover},
    {{57, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 100.0F, 0.15F},
     "drop_classifier", 33, true, R::kOnEvent, signals::drop},
    {{58, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "accelerometer_sub_sensor", 14, false, R::kContinuous, signals::acceleration},
    {{59, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kAccResolution, 78.4532F, 0.15F},
     "uncal_accel_sub_sensor", 20, false, R::kContinuous, signals::uncalAcceleration},
    {{60, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "gyro_sub_sensor", 14, false, R::kContinuous, signals::rotationRate},
    {{61, "LSM6DSO_SUB", 3, 1, false, 2000, 160000, 3000, 0, kGyroResolution, 34.906586F, 6.1F},
     "uncal_gyro_sub_sensor", 20, false, R::kContinuous, signals::uncalRotationRate},
    {{62, "AK09973", 1, 1, false, 0, 0, 0, 0, 1.0F, 180.0F, 0.1F},
     "folding_angle", 12, false, R::kOnChange, signals::hingeAngle},
    {{63, "LSM6DSO_LID", 0, 1, true, 0, 0, 0, 0, 1.0F, 360.0F, 0.3F},
     "lid_angle_fusion", 70, true, R::kOnChange, signals::lidAngleFusion},
    {{64, "AK09973", 1, 1, true, 0, 0, 100, 0, 1.0F, 360.0F, 0.1F},
     "hinge_angle", 12, true, R::kOnChange, signals::hingeAngle},
    {{65, "LSM6DSO_LID", 0, 1, true, 0, 0, 0, 0, 1.0F, 360.0F, 0.3F},
     "folding_state_lpm", 46, true, R::kOnChange, signals::foldingStateLpm},
    {{68, "AK09973", 1, 1, true, 0, 0, 0, 0, 1.0F, 1.0F, 0.1F},
     "angle_sensor_status", 9, true, R::kOnChange, signals::angleSensorStatus},
    {{69, "HUB_DEVICE", 0, 1, true, 0, 0, 0, 0, 1.0F, 255.0F, 0.001F},
     "device_common_info", 11, true, R::kOnChange, signals::deviceCommonInfo},
    {{70, "AK09973", 1, 1, false, 0, 0, 0, 0, 1.0F, 1.0F, 0.1F},
     "sar_folding", 9, false, R::kOnChange, signals::sarFolding},
    {{71, "LSM6DSO", 3, 1, true, 0, 0, 0, 0, 1.0F, 10.0F, 0.15F},
     "back_tap", 33, true, R::kOnEvent, signals::backTap},
};
// clang-format on

}  // namespace

const DeviceProfile* findProfile(int handle) {
    const auto* found = std::find_if(
        std::begin(kProfiles), std::end(kProfiles),
        [handle](const DeviceProfile& profile) { return profile.chip.handle == handle; });
    return found != std::end(kProfiles) ? found : nullptr;
}

std::string deviceName(const DeviceProfile& profile, bool wakeUp) {
    std::string name = profile.iioName;
    if (wakeUp != profile.plainNameIsWakeUp) name += wakeUp ? "_wu" : "_nwu";
    return name;
}

std::vector<SensorSpec> standardCatalogue() {
    std::vector<SensorSpec> catalogue;
    for (const DeviceProfile& profile : kProfiles) {
        if (!profile.chip.chipName.empty()) catalogue.push_back(profile.chip);
    }
    return catalogue;
}

}  // namespace simulator
