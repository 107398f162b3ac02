#include "sensors/light/RearLight.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "common/Log.h"
#include "sensors/HubPaths.h"
#include "sensors/InjectedEvent.h"
#include "sensors/UniqueFd.h"
#include "sensors/light/LightBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kFailed = -6;
constexpr int32_t kUnchanged = -2;
constexpr int32_t kMaxChannel = 500000000;
constexpr size_t kTextSize = 20;

constexpr float kLuxPerA = 6.12072e-5f;
constexpr float kLuxPerB = 5.93003e-5f;
constexpr float kRatio = 0.43f;  // of a to b, below which a is subtracted in place of b
constexpr float kWeight = 2.3f;

bool isReading(int32_t a, int32_t b) {
    return a >= 0 && a <= kMaxChannel && b >= 0 && b <= kMaxChannel;
}

float subtrahendOf(int32_t a, int32_t b) {
    const auto floatA = static_cast<float>(a);
    const auto floatB = static_cast<float>(b);
    if (b != 0 && floatA / floatB < kRatio) return floatA * kLuxPerB * kWeight;
    return floatB * kLuxPerB;
}

}  // namespace

RearLight::RearLight() {
    const UniqueFd file(open(paths::kRearLightData, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("do not support rear flicker feature");
        return;
    }
    ALOGE("support rear flicker feature");
    flickerSupported = true;
    flickerValid = true;
}

void RearLight::enable(bool on) {
    if (!flickerSupported) return;
    if (on) {
        prevAlsData.a = -1;
        prevAlsData.b = -1;
    }
    if (flickerValid) enableFlicker(on);
    ALOGI("AutoBrightnessSensor::enable: flicker enable: %d, flicker valid: %d ",
          static_cast<int>(flickerEnabled), static_cast<int>(flickerValid));
}

void RearLight::enableFlicker(bool on) {
    const UniqueFd file(
        open(paths::kRearLightEnable, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file.ok()) {
        ALOGE("AutoBrightnessSensor::enableFlicker: fopen error.");
        return;
    }
    // The driver takes the terminator as part of the value.
    const char value[2] = {on ? '1' : '0', '\0'};
    if (write(file.get(), value, sizeof(value)) < static_cast<ssize_t>(sizeof(value))) {
        ALOGE("AutoBrightnessSensor::enableFlicker: fwrite error.");
        return;
    }
    flickerEnabled = on;
}

int32_t RearLight::getFlickerData() {
    const UniqueFd file(open(paths::kRearLightData, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) {
        ALOGE("AutoBrightnessSensor::getFlickerData: fopen fail");
        return kNoFlickerLux;
    }
    char text[kTextSize + 1] = {};
    if (read(file.get(), text, kTextSize) <= 0) {
        ALOGE("AutoBrightnessSensor::getFlickerData: fread fail");
        return kNoFlickerLux;
    }
    int32_t a = 0;
    int32_t b = 0;
    sscanf(text, "%9d,%9d", &a, &b);
    if (a == kFailed && b == kFailed) {
        flickerValid = false;
        ALOGI("flicker invalid data - read fail: %d, %d", a, b);
        return kNoFlickerLux;
    }
    if (a == kUnchanged && b == kUnchanged) {
        ALOGI("getFlickerData: use prev als data");
        a = prevAlsData.a;
        b = prevAlsData.b;
    }
    if (isReading(a, b)) {
        prevAlsData.a = a;
        prevAlsData.b = b;
    }
    const int32_t lux = toLux(a, b);
    ALOGI("getFlickerData: flicker lux: %d (%d, %d, dw: %d)", lux, a, b,
          static_cast<int32_t>(LightBase::pmsInfo.threshold_dark));
    return lux;
}

int32_t RearLight::toLux(int32_t a, int32_t b) {
    if (!isReading(a, b)) return kNoFlickerLux;
    // Volatile rounds each product on its own: a fused multiply-add would round once, and next to
    // a whole lux the truncated result would depend on the compiler.
    const volatile float light = static_cast<float>(a) * kLuxPerA;
    const volatile float subtrahend = subtrahendOf(a, b);
    return truncateToInt32(light - subtrahend);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
