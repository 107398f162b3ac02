#include <cerrno>

#include "sensors/Driver.h"
#include "sensors/InjectedEvent.h"
#include "sensors/Relaxed.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Which way up the screen is held: 0 to 3 in quarter turns, -1 for any other code of the hub.
 *
 * The hub describes this sensor under two handles, one for each twin of the device; the wake-up
 * bit in the log lines distinguishes the two objects.
 */
class DeviceOrientation : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t orientation;  // 0 to 3: quarter turns
        int64_t timestamp;    // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 9);

    struct __attribute__((packed)) ModePacket {
        uint8_t mode;
        uint8_t reserved[3];
    };
    static_assert(sizeof(ModePacket) == 4);

  public:
    // The name is spelt so on purpose.
    DeviceOrientation(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("device_orientation", "DeviceOrientation", "Device Orientataion", info,
                     callback, kPlainIsNonWakeUp) {
        const bool wakeUp = isWakeUpSensor();
        describe(SensorType::DEVICE_ORIENTATION, kOnChange,
                 {ANDROID_LOG_INFO, wakeUp ? "DeviceOrientation(1): Meta event"
                                           : "DeviceOrientation(0): Meta event"});
        setReadFailure(wakeUp ? "DeviceOrientation(1) :input data file descriptor not available"
                              : "DeviceOrientation(0) :input data file descriptor not available");
    }

    void readEvents() override {
        readAndPost<Record>([this](const Record& record, EventPayload& payload) {
            ALOGI("DeviceOrientation(%d): event = %d, time = %" PRId64, isWakeUpSensor(),
                  record.orientation, record.timestamp);
            payload.vec3.x = record.orientation < 4 ? record.orientation : -1.0f;
            payload.vec3.status =
                mode != 0 ? SensorStatus::ACCURACY_MEDIUM : SensorStatus::ACCURACY_HIGH;
        });
    }

    /** Takes the detection mode from payload word 2 of sub-command 0; -EINVAL for the others. */
    int injectSensorData(const Event& event) override {
        const uint32_t subCommand = injectedSubCommand(event);
        if (subCommand < kFirstSubCommand) return 0;
        if (subCommand != kSubCommand0) return -EINVAL;
        const int32_t injected = injectedArgument(event, 2);
        mode = static_cast<uint8_t>(injected);
        ALOGI("DeviceOrientation::injectSensorData: mode %d", injected);
        return writePacket(ModePacket{static_cast<uint8_t>(injected), {}});
    }

  private:
    // Set by a proxy thread, read by the poll thread; lasts until the next injection.
    Relaxed<uint8_t> mode = 0;
};

template struct Driver<DeviceOrientation>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
