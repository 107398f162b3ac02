#include <cutils/properties.h>

#include <cstring>

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The hub's event code for seamless refresh rates. A display property is sent to the hub at every
 * enable.
 */
class LightSeamless_Sensor : public SensorBase {
    struct __attribute__((packed)) Record {
        int32_t event;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 12);

  public:
    LightSeamless_Sensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("light_seamless_sensor", "LightSeamless_Sensor", "Light Seamless Sensor", info,
                     callback, kPlainIsNonWakeUp) {
        describePrivate(78, "com.tavrine.sensor.light_seamless", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "LightSeamless_Sensor : Meta event"});
    }

    int enable(int handle, bool on) override {
        setConfig(on ? 1 : 0);
        return SensorBase::enable(handle, on);
    }

    /** Sends the display property's text to the hub, unless it is empty or `on` is 0. */
    void setConfig(int on) {
        if (on == 0) return;
        char value[PROPERTY_VALUE_MAX] = {};
        property_get("persist.dm.passive.ambient_brightness", value, "");
        const size_t length = strlen(value);
        if (length == 0) {
            ALOGI(
                "LightSeamless_Sensor::setConfig fail to get "
                "persist.dm.passive.ambient_brightness");
            return;
        }
        ALOGI("LightSeamless_Sensor::setConfig seamless lux %s", value);
        writePacket(value, length);  // the terminator does not travel
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            ALOGI("LightSeamless_Sensor : event = %d, time = %" PRId64, record.event,
                  record.timestamp);
            payload.scalar = static_cast<float>(record.event);
        });
    }
};

template struct Driver<LightSeamless_Sensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
