#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The hub's debug text. It goes to the log alone: nothing is posted, nor is the sensor listed. */
class HubDebuggerSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        char text[256];     // ends with a NUL only when shorter
        int64_t timestamp;  // ns
    };
    static_assert(sizeof(Record) == 264);

  public:
    HubDebuggerSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("hub_debugger", "HubDebuggerSensor", "Hub Debugger", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(106, "com.tavrine.sensor.hub_debugger", kNoPermission, kContinuous,
                        kNoFlushLine);
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record) || record.timestamp == 0) return;
        ALOGI("HubDebuggerSensor: %.*s, time = %" PRId64, static_cast<int>(sizeof(record.text)),
              record.text, record.timestamp);
    }

    bool isShownSensorList() override { return false; }
};

template struct Driver<HubDebuggerSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
