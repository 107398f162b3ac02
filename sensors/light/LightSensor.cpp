#include "sensors/light/LightSensor.h"

#include <cutils/properties.h>
#include <inttypes.h>
#include <log/log.h>

#include <cerrno>

#include "sensors/InjectedEvent.h"
#include "sensors/light/LightValues.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr char kCameraLightProperty[] = "persist.sns.camera_light";
constexpr int32_t kLoggedRecords = 3;

struct __attribute__((packed)) LightRecord {
    int32_t lux;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(LightRecord) == 12);

struct __attribute__((packed)) BrightnessPacket {
    uint8_t kind;
    uint8_t handle;
    int32_t brightness;
};
static_assert(sizeof(BrightnessPacket) == 6);

struct __attribute__((packed)) ThresholdsPacket {
    uint8_t kind;
    uint8_t handle;
    int32_t brightness;
    int32_t thresholdDark;
    int32_t lux;
    int32_t thresholdBright;
};
static_assert(sizeof(ThresholdsPacket) == 18);

// The last record's lux; one for the process, as there is one front light chip.
int64_t gLastLux = 0;

}  // namespace

LightSensor::LightSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : LightBase("light_sensor", "LightSensor", "Light", info, callback, false) {
    setType(5);
    addFlags(kOnChange);
    property_set(kCameraLightProperty, "false");
}

int LightSensor::enable(int handle, bool on) {
    if (on) logCount = 0;
    return SensorBase::enable(handle, on);
}

int LightSensor::injectSensorData(const Event& event) {
    const uint32_t subCommand = injectedSubCommand(event);
    if (subCommand < kFirstSubCommand) return 0;
    if (subCommand == kSubCommand0) return injectBrightness(event);
    if (subCommand == kSubCommand2) return injectThresholds(event);
    return -EINVAL;
}

int LightSensor::injectBrightness(const Event& event) {
    const int32_t brightness = injectedArgument(event, 2);
    ALOGI("%s::%s: brightness %d", "LightSensor", "injectSensorData", brightness);
    return writePacket(
        BrightnessPacket{kInjectionPacketKind, static_cast<uint8_t>(mHandle), brightness});
}

int LightSensor::injectThresholds(const Event& event) {
    const int32_t brightness = injectedArgument(event, 2);
    const int32_t dark = injectedArgument(event, 3);
    const int32_t lux = injectedArgument(event, 4);
    const int32_t bright = injectedArgument(event, 5);
    pmsInfo.threshold_dark = dark;
    pmsInfo.threshold_bright = bright;
    pmsInfo.brightness = brightness;
    ALOGI("%s::%s brightness %d threshold_dark %d lux %d threshold_bright %d", "LightSensor",
          "injectSensorData", brightness, dark, lux, bright);
    return writePacket(ThresholdsPacket{kInjectionPacketKind, static_cast<uint8_t>(mHandle),
                                        brightness, dark, lux, bright});
}

void LightSensor::readEvents() {
    LightRecord record;
    if (readRecord(&record) < 0) return;
    gLastLux = record.lux;
    if (logCount < kLoggedRecords) {
        ALOGI("LightSensor: lux = %" PRIu64 ", time = %" PRId64, static_cast<uint64_t>(gLastLux),
              static_cast<int64_t>(record.timestamp));
        logCount = logCount + 1;
    }
    postRecord(
        record, NoTimestamp(), [] { ALOGI("Light Sensor : Meta event"); },
        [this](const LightRecord&) { mPendingEvent.u.data[0] = unsignedPayload(gLastLux); });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
