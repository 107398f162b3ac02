#include "sensors/light/LightSeamless_Sensor.h"

#include <cutils/properties.h>
#include <inttypes.h>
#include <log/log.h>

#include <cstring>

#include "sensors/InjectedEvent.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr char kBrightnessProperty[] = "persist.dm.passive.ambient_brightness";

struct __attribute__((packed)) SeamlessRecord {
    int32_t event;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(SeamlessRecord) == 12);

constexpr size_t kPacketSize = 255;
constexpr size_t kPacketHead = 2;
static_assert(kPacketHead + PROPERTY_VALUE_MAX <= kPacketSize);

}  // namespace

LightSeamless_Sensor::LightSeamless_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("light_seamless_sensor", "LightSeamless_Sensor", "Light Seamless Sensor", info,
                 callback, false) {
    setType(kPrivateType + 78);
    setStringType("com.tavrine.sensor.light_seamless");
    requirePermission();
    addFlags(kOnChange);
}

int LightSeamless_Sensor::enable(int handle, bool on) {
    setConfig(on ? 1 : 0);
    return SensorBase::enable(handle, on);
}

void LightSeamless_Sensor::setConfig(int on) {
    if (on == 0) return;
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(kBrightnessProperty, value, "");
    const size_t length = strlen(value);
    if (length == 0) {
        ALOGI("%s::%s fail to get persist.dm.passive.ambient_brightness", "LightSeamless_Sensor",
              "setConfig");
        return;
    }
    ALOGI("%s::%s seamless lux %s", "LightSeamless_Sensor", "setConfig", value);
    uint8_t packet[kPacketSize] = {kInjectionPacketKind, static_cast<uint8_t>(mHandle)};
    memcpy(packet + kPacketHead, value, length);  // the terminator does not travel
    writeInjection(packet, static_cast<int>(kPacketHead + length));
}

void LightSeamless_Sensor::readEvents() {
    readFrame<SeamlessRecord>(
        NoTimestamp(), [] { ALOGE("%s : Meta event", "LightSeamless_Sensor"); },
        [this](const SeamlessRecord& record) {
            ALOGI("%s : event = %d, time = %" PRId64, "LightSeamless_Sensor", record.event,
                  static_cast<int64_t>(record.timestamp));
            mPendingEvent.u.data[0] = static_cast<float>(record.event);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
