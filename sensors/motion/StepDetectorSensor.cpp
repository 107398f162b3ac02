#include "sensors/motion/StepDetectorSensor.h"

#include <log/log.h>

#include <cerrno>
#include <cstring>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

StepDetectorSensor::StepDetectorSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("step_det_sensor", "StepDetectorSensor", "Step Detector", info, callback, false) {
    setType(18);
    addFlags(kSpecial);
}

void StepDetectorSensor::readEvents() {
    EventCodeRecord record;
    if (readRecordQuietly(&record) < 0) {
        ALOGE("Step detector :input data file descriptor not available - (%s)", strerror(errno));
        return;
    }
    postRecord(
        record, [](const EventCodeRecord& r) { return r.timestamp == 0 && r.event == 0; },
        [] { ALOGE("StepDetectorSensor: Meta event"); },
        [this](const EventCodeRecord& r) { mPendingEvent.u.scalar = r.event; });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
