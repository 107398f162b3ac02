#include <cutils/properties.h>

#include <array>
#include <cerrno>

#include "sensors/Driver.h"
#include "sensors/InjectedEvent.h"
#include "sensors/light/LightBase.h"
#include "sensors/light/LogsFirstRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// The last record's lux, for the process.
static int64_t gLastLux = 0;

/**
 * Ambient light in lux. Injection carries the display's brightness to the hub and keeps it, with
 * the dark and bright thresholds, in LightBase::pmsInfo. Construction switches the camera light
 * path off.
 */
class LightSensor : public LogsFirstRecords<LightBase> {
    struct __attribute__((packed)) Record {
        int32_t lux;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 12);

  public:
    LightSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : LogsFirstRecords("light_sensor", "LightSensor", "Light", info, callback) {
        describe(SensorType::LIGHT, kOnChange, {ANDROID_LOG_INFO, "Light Sensor : Meta event"});
        property_set("persist.sns.camera_light", "false");
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        gLastLux = record.lux;
        if (isLogged(3)) {
            ALOGI("LightSensor: lux = %" PRIu64 ", time = %" PRId64,
                  static_cast<uint64_t>(gLastLux), record.timestamp);
        }
        postRecord(record, [](const Record&, EventPayload& payload) {
            payload.scalar = unsignedPayload(gLastLux);
        });
    }

    /** Brightness alone, or brightness with thresholds and lux; -EINVAL for other sub-commands. */
    int injectSensorData(const Event& event) override {
        const uint32_t subCommand = injectedSubCommand(event);
        if (subCommand < kFirstSubCommand) return 0;
        const int32_t brightness = injectedArgument(event, 2);
        if (subCommand == kSubCommand0) {
            ALOGI("LightSensor::injectSensorData: brightness %d", brightness);
            return writePacket(brightness);
        }
        if (subCommand != kSubCommand2) return -EINVAL;
        const int32_t dark = injectedArgument(event, 3);
        const int32_t lux = injectedArgument(event, 4);
        const int32_t bright = injectedArgument(event, 5);
        pmsInfo.threshold_dark = dark;
        pmsInfo.threshold_bright = bright;
        pmsInfo.brightness = brightness;
        ALOGI(
            "LightSensor::injectSensorData brightness %d threshold_dark %d lux %d threshold_bright "
            "%d",
            brightness, dark, lux, bright);
        return writePacket(std::array<int32_t, 4>{brightness, dark, lux, bright});
    }
};

template struct Driver<LightSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
