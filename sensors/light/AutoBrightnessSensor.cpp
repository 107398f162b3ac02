#include "sensors/light/AutoBrightnessSensor.h"

#include <fcntl.h>
#include <inttypes.h>
#include <log/log.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "sensors/HubPaths.h"
#include "sensors/InjectedEvent.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kLoggedRecords = 3;

/** The newest hubs' record. Older ones end behind minFlag or lux, with the timestamp there. */
struct __attribute__((packed)) AutoBrightnessRecord {
    int32_t lux;
    uint8_t minFlag;
    uint8_t ignored[4];
    uint8_t flipState;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(AutoBrightnessRecord) == 18);

constexpr ssize_t kFullForm = sizeof(AutoBrightnessRecord);
constexpr ssize_t kFormWithMinFlag = 13;  // bytes from which there is a minimum flag

// Lux values by which the hub reports the camera's light source.
constexpr int32_t kCameraEnabled = -1;
constexpr int32_t kCameraDisabled = -2;

constexpr uint8_t kMinimum = 2;  // minFlag that asks for the flicker sensor and posts as 1

struct __attribute__((packed)) CameraLuxPacket {
    uint8_t kind;
    uint8_t handle;
    int32_t lux;
};
static_assert(sizeof(CameraLuxPacket) == 6);

// Pairs by which the rear sensor says that it has failed, or has nothing new.
constexpr int32_t kFlickerFailed = -6;
constexpr int32_t kFlickerUnchanged = -2;

constexpr int32_t kMaxChannel = 500000000;
constexpr size_t kFlickerTextSize = 20;

// Channel a sees visible light and infrared, channel b mostly infrared, which is taken off.
constexpr float kLuxPerA = 6.12072e-5f;
constexpr float kLuxPerB = 5.93003e-5f;
constexpr float kInfraredRatio = 0.43f;  // of a to b; below it the light is mostly infrared
constexpr float kInfraredWeight = 2.3f;

/** The last eight bytes read; what a cut record lacks of them is zero. */
uint64_t trailingTimestamp(const AutoBrightnessRecord& record, ssize_t count) {
    uint64_t timestamp = 0;
    const auto size = static_cast<ssize_t>(sizeof(timestamp));
    const ssize_t offset = std::max<ssize_t>(count - size, 0);
    memcpy(&timestamp, reinterpret_cast<const uint8_t*>(&record) + offset, sizeof(timestamp));
    return timestamp;
}

bool isChannelPair(int32_t a, int32_t b, int32_t marker) {
    return a == marker && b == marker;
}

float infrared(int32_t a, int32_t b) {
    const auto floatA = static_cast<float>(a);
    const auto floatB = static_cast<float>(b);
    if (b != 0 && floatA / floatB < kInfraredRatio) return floatA * kLuxPerB * kInfraredWeight;
    return floatB * kLuxPerB;
}

}  // namespace

struct AutoBrightnessSensor::Reading {
    int32_t lux;
    uint8_t minFlag;
    uint8_t flipState;
    int64_t timestamp;  // ns
};

AutoBrightnessSensor::AutoBrightnessSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : LightBase("auto_brightness", "AutoBrightnessSensor", "Auto Brightness Sensor", info, callback,
                false) {
    setType(kPrivateType + 65);
    setStringType("com.tavrine.sensor.autobrightness");
    requirePermission();
    addFlags(kOnChange);
    probeFlicker();
}

void AutoBrightnessSensor::probeFlicker() {
    const UniqueFd file(open(paths::kRearLightData, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("do not support rear flicker feature");
        return;
    }
    ALOGE("support rear flicker feature");
    flickerSupported = true;
    flickerValid = true;
}

int AutoBrightnessSensor::enable(int handle, bool on) {
    if (on) logCount = 0;
    if (flickerSupported) {
        if (on) {
            prevAlsData.a = -1;
            prevAlsData.b = -1;
        }
        if (flickerValid) enableFlicker(on);
        ALOGI("%s::%s: flicker enable: %d, flicker valid: %d ", "AutoBrightnessSensor", "enable",
              static_cast<int>(flickerEnabled), static_cast<int>(flickerValid));
    }
    return SensorBase::enable(handle, on);
}

void AutoBrightnessSensor::enableFlicker(bool on) {
    const UniqueFd file(
        open(paths::kRearLightEnable, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.ok()) {
        ALOGE("%s::%s: fopen error.", "AutoBrightnessSensor", "enableFlicker");
        return;
    }
    // The driver takes the terminator as part of the value.
    const char value[2] = {on ? '1' : '0', '\0'};
    if (write(file.get(), value, sizeof(value)) < static_cast<ssize_t>(sizeof(value))) {
        ALOGE("%s::%s: fwrite error.", "AutoBrightnessSensor", "enableFlicker");
        return;
    }
    flickerEnabled = on;
}

int AutoBrightnessSensor::injectSensorData(const Event& event) {
    const uint32_t subCommand = injectedSubCommand(event);
    if (subCommand < kFirstSubCommand) return 0;
    if (subCommand != kSubCommand1) return -EINVAL;
    const int32_t lux = injectedArgument(event, 2);
    ALOGI("%s::%s: camLux %d", "AutoBrightnessSensor", "injectSensorData", lux);
    return writePacket(CameraLuxPacket{kInjectionPacketKind, static_cast<uint8_t>(mHandle), lux});
}

int32_t AutoBrightnessSensor::getFlickerData() {
    const UniqueFd file(open(paths::kRearLightData, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("%s::%s: fopen fail", "AutoBrightnessSensor", "getFlickerData");
        return kNoFlickerLux;
    }
    char text[kFlickerTextSize + 1] = {};
    if (read(file.get(), text, kFlickerTextSize) <= 0) {
        ALOGE("%s::%s: fread fail", "AutoBrightnessSensor", "getFlickerData");
        return kNoFlickerLux;
    }
    int32_t a = 0;
    int32_t b = 0;
    sscanf(text, "%9d,%9d", &a, &b);
    if (isChannelPair(a, b, kFlickerFailed)) {
        flickerValid = false;
        ALOGI("flicker invalid data - read fail: %d, %d", a, b);
        return kNoFlickerLux;
    }
    if (isChannelPair(a, b, kFlickerUnchanged)) {
        ALOGI("%s: use prev als data", "getFlickerData");
        a = prevAlsData.a;
        b = prevAlsData.b;
    }
    const int32_t lux = flickerLux(a, b);
    ALOGI("%s: flicker lux: %d (%d, %d, dw: %d)", "getFlickerData", lux, a, b,
          static_cast<int32_t>(pmsInfo.threshold_dark));
    return lux;
}

int32_t AutoBrightnessSensor::flickerLux(int32_t a, int32_t b) {
    if (a < 0 || a > kMaxChannel || b < 0 || b > kMaxChannel) return kNoFlickerLux;
    prevAlsData.a = a;
    prevAlsData.b = b;
    // Volatile rounds each product on its own: a fused multiply-add would round once, and next to
    // a whole lux the truncated result would depend on the compiler.
    const volatile float light = static_cast<float>(a) * kLuxPerA;
    const volatile float subtrahend = infrared(a, b);
    return truncateToInt32(light - subtrahend);
}

void AutoBrightnessSensor::readEvents() {
    AutoBrightnessRecord record;
    const ssize_t count = readRecord(&record);
    if (count < 0) return;
    Reading reading = {record.lux, 0, 0, static_cast<int64_t>(trailingTimestamp(record, count))};
    if (count >= kFormWithMinFlag) reading.minFlag = record.minFlag;
    if (count == kFullForm) reading.flipState = record.flipState;

    mPendingEvent.timestamp = reading.timestamp;
    logLux(reading);
    if (reading.timestamp == 0) {
        ALOGI("%s : Meta event", "AutoBrightnessSensor");
        postMetaEvent();
        return;
    }
    mPendingEvent.u.data[0] = static_cast<float>(reading.lux);
    mPendingEvent.u.data[1] =
        reading.minFlag == kMinimum ? 1.0f : static_cast<float>(reading.minFlag);
    if (reading.flipState != 0 || reading.minFlag == kMinimum) {
        replaceByFlicker(reading);
    } else {
        raiseInTheDark();
    }
    postPendingEvent();
}

void AutoBrightnessSensor::logLux(const Reading& reading) {
    if (reading.lux == kCameraDisabled) {
        ALOGI("%s: disable cam, time = %" PRId64, "AutoBrightnessSensor", reading.timestamp);
    } else if (reading.lux == kCameraEnabled) {
        ALOGI("%s: enable cam, time = %" PRId64, "AutoBrightnessSensor", reading.timestamp);
    } else if (logCount < kLoggedRecords) {
        ALOGI("%s: lux = %d, time = %" PRId64, "AutoBrightnessSensor", reading.lux,
              reading.timestamp);
        logCount = logCount + 1;
    }
}

void AutoBrightnessSensor::replaceByFlicker(const Reading& reading) {
    const int32_t flicker = getFlickerData();
    ALOGI("flip_state(%d) minFlag(%d) %d %d", reading.flipState, reading.minFlag, flicker,
          reading.lux);
    mPendingEvent.u.data[0] = static_cast<float>(std::max(flicker, reading.lux));
}

void AutoBrightnessSensor::raiseInTheDark() {
    if (!flickerEnabled || !flickerValid) return;
    const int32_t dark = pmsInfo.threshold_dark;
    const int32_t lux = truncateToInt32(mPendingEvent.u.data[0]);
    if (dark <= lux) return;
    const int32_t flicker = getFlickerData();
    // Here, unlike when folded, no value must not turn the camera's "off" (-2) into "on" (-1).
    if (flicker == kNoFlickerLux || flicker <= lux) return;
    if (flicker <= dark) {
        mPendingEvent.u.data[0] = static_cast<float>(flicker);
        return;
    }
    mPendingEvent.u.data[0] = static_cast<float>(dark + 1);
    mPendingEvent.u.data[1] = 0.0f;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
