#include "sensors/motion/HubDebuggerSensor.h"

#include <inttypes.h>
#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) DebugTextRecord {
    char text[256];      // ends with a NUL only when shorter
    uint64_t timestamp;  // ns
};
static_assert(sizeof(DebugTextRecord) == 264);

}  // namespace

HubDebuggerSensor::HubDebuggerSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("hub_debugger", "HubDebuggerSensor", "Hub Debugger", info, callback, false) {
    setType(kPrivateType + 106);
    setStringType("com.tavrine.sensor.hub_debugger");
}

void HubDebuggerSensor::readEvents() {
    DebugTextRecord record;
    if (readRecord(&record) < 0) return;
    setTimestamp(record.timestamp);
    if (record.timestamp == 0) return;
    ALOGI("%s: %.*s, time = %" PRId64, mTag, static_cast<int>(sizeof(record.text)), record.text,
          mPendingEvent.timestamp);
}

bool HubDebuggerSensor::isShownSensorList() {
    return false;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
