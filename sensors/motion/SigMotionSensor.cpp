#include "sensors/motion/SigMotionSensor.h"

#include <inttypes.h>
#include <log/log.h>

#include <cerrno>
#include <cstring>

#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

SigMotionSensor::SigMotionSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("sig_motion_sensor", "SigMotionSensor", "Significant Motion", info, callback,
                 true) {
    setType(17);
    addFlags(kOneShot);
}

void SigMotionSensor::readEvents() {
    EventCodeRecord record;
    if (readRecordQuietly(&record) < 0) {
        ALOGE("SIgMotionSensor :input data file descriptor not available - (%s)", strerror(errno));
        return;
    }
    mPendingEvent.timestamp = getTimestamp();
    mPendingEvent.u.scalar = record.event;
    ALOGI("SigMotionSensor: event = %d, time = %" PRId64, record.event, mPendingEvent.timestamp);
    postPendingEvent();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
