#include "sensors/motion/StepCounterSensor.h"

#include <inttypes.h>
#include <log/log.h>

#include <cerrno>
#include <cstring>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) StepCountRecord {
    uint8_t ignored[4];
    uint64_t stepCount;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(StepCountRecord) == 20);

}  // namespace

StepCounterSensor::StepCounterSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("step_cnt_sensor", "StepCounterSensor", "Step Counter", info, callback, false) {
    setType(19);
    addFlags(kOnChange);
}

void StepCounterSensor::readEvents() {
    StepCountRecord record;
    if (readRecordQuietly(&record) < 0) {
        ALOGE("StepCounterSensor: input data file descriptor not available - (%s)",
              strerror(errno));
        return;
    }
    // Ahead of the flush test: every record shows up in the log.
    ALOGI("StepCounterSensor - %" PRIu64, record.stepCount);
    postRecord(
        record, NoTimestamp(), [] { ALOGE("StepCounterSensor: Meta event"); },
        [this](const StepCountRecord& r) { mPendingEvent.u.stepCount = r.stepCount; });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
