#include <algorithm>
#include <cerrno>
#include <cstring>

#include "sensors/Driver.h"
#include "sensors/InjectedEvent.h"
#include "sensors/light/LightBase.h"
#include "sensors/light/LogsFirstRecords.h"
#include "sensors/light/RearLight.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

constexpr size_t kFormWithMinFlag = 13;  // bytes from which there is a minimum flag

// Lux values by which the hub reports the camera's light source.
constexpr int32_t kCameraEnabled = -1;
constexpr int32_t kCameraDisabled = -2;

constexpr uint8_t kMinimum = 2;  // minFlag that asks for the rear sensor and posts as 1

/**
 * Lux for the automatic display brightness (word 0) and the hub's minimum flag (word 1). Lux -1 and
 * -2 say that the camera's light source went on or off.
 *
 * The rear light sensor is a second source: it wins when it sees more light while the device is
 * folded or the hub flags its minimum, and in the dark within the display's dark threshold.
 */
class AutoBrightnessSensor : public LogsFirstRecords<LightBase> {
    /** The newest hubs' record. Older ones end behind minFlag or lux, with the timestamp there. */
    struct __attribute__((packed)) Record {
        int32_t lux;
        uint8_t minFlag;
        uint8_t ignored[4];
        uint8_t flipState;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }

        void expandFrom(size_t count) {
            // The last eight bytes; what a cut record lacks of them is zero.
            const size_t offset = count < sizeof(timestamp) ? 0 : count - sizeof(timestamp);
            int64_t last = 0;
            memcpy(&last, reinterpret_cast<const uint8_t*>(this) + offset, sizeof(last));
            if (count < kFormWithMinFlag) minFlag = 0;
            if (count != sizeof(Record)) flipState = 0;
            timestamp = last;
        }
    };
    static_assert(sizeof(Record) == 18);

  public:
    AutoBrightnessSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : LogsFirstRecords("auto_brightness", "AutoBrightnessSensor", "Auto Brightness Sensor",
                           info, callback) {
        describePrivate(65, "com.tavrine.sensor.autobrightness", kPermission, kOnChange,
                        {ANDROID_LOG_INFO, "AutoBrightnessSensor : Meta event"});
    }

    int enable(int handle, bool on) override {
        mRear.enable(on);
        return LogsFirstRecords::enable(handle, on);
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        logLux(record);
        postRecord(record, [this](const Record& r, EventPayload& payload) {
            payload.data[0] = static_cast<float>(r.lux);
            payload.data[1] = r.minFlag == kMinimum ? 1.0f : r.minFlag;
            if (r.flipState != 0 || r.minFlag == kMinimum) {
                replaceByRear(r, payload);
            } else {
                raiseInTheDark(payload);
            }
        });
    }

    /** Takes the camera's lux; -EINVAL for other sub-commands. */
    int injectSensorData(const Event& event) override {
        const uint32_t subCommand = injectedSubCommand(event);
        if (subCommand < kFirstSubCommand) return 0;
        if (subCommand != kSubCommand1) return -EINVAL;
        const int32_t lux = injectedArgument(event, 2);
        ALOGI("AutoBrightnessSensor::injectSensorData: camLux %d", lux);
        return writePacket(lux);
    }

  private:
    void logLux(const Record& record) {
        if (record.lux == kCameraDisabled) {
            ALOGI("AutoBrightnessSensor: disable cam, time = %" PRId64, record.timestamp);
        } else if (record.lux == kCameraEnabled) {
            ALOGI("AutoBrightnessSensor: enable cam, time = %" PRId64, record.timestamp);
        } else if (isLogged(3)) {
            ALOGI("AutoBrightnessSensor: lux = %d, time = %" PRId64, record.lux, record.timestamp);
        }
    }

    void replaceByRear(const Record& record, EventPayload& payload) {
        const int32_t lux = record.lux;
        const int32_t rear = mRear.getFlickerData();
        ALOGI("flip_state(%d) minFlag(%d) %d %d", record.flipState, record.minFlag, rear, lux);
        payload.data[0] = static_cast<float>(std::max(rear, lux));
    }

    void raiseInTheDark(EventPayload& payload) {
        if (!mRear.isUsable()) return;
        const int32_t dark = pmsInfo.threshold_dark;
        // What clients get, which above 2^24 is not what the hub sent.
        const int32_t lux = truncateToInt32(payload.data[0]);
        if (dark <= lux) return;
        const int32_t rear = mRear.getFlickerData();
        // Here, unlike when folded, no value must not turn the camera's "off" (-2) into "on" (-1).
        if (rear == RearLight::kNoFlickerLux || rear <= lux) return;
        if (rear <= dark) {
            payload.data[0] = static_cast<float>(rear);
            return;
        }
        payload.data[0] = static_cast<float>(dark + 1);
        payload.data[1] = 0.0f;
    }

    RearLight mRear;
};

template struct Driver<AutoBrightnessSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
