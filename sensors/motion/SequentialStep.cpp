#include "sensors/motion/SequentialStep.h"

#include <inttypes.h>
#include <log/log.h>

#include "sensors/InjectedEvent.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) SequentialStepRecord {
    int32_t steps;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(SequentialStepRecord) == 12);

struct __attribute__((packed)) ThresholdPacket {
    uint8_t kind;
    uint8_t handle;
    uint8_t command;
    int64_t threshold;  // ms
};
static_assert(sizeof(ThresholdPacket) == 11);

constexpr uint8_t kSetThreshold = 0x80;
constexpr int64_t kNsPerMs = 1000000;

}  // namespace

SequentialStep::SequentialStep(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("sequential_step", "SequentialStep", "Sequential Step", info, callback, false) {
    setType(kPrivateType + 111);
    setStringType("com.tavrine.sensor.seq_step");
    requirePermission();
    addFlags(kOnChange);
    mPendingEvent.u.vec3.status = kAccuracyHigh;
}

void SequentialStep::readEvents() {
    readFrame<SequentialStepRecord>(
        NoTimestamp(), [] { ALOGE("SequentialStep : Meta event"); },
        [this](const SequentialStepRecord& record) {
            mPendingEvent.u.data[0] = static_cast<float>(record.steps);
        });
}

int SequentialStep::batch(int, int64_t samplingPeriodNs, int64_t) {
    const int64_t threshold = samplingPeriodNs / kNsPerMs;
    ALOGI("%s::%s: threshold %" PRId64, mTag, "batch", threshold);
    writePacket(ThresholdPacket{kInjectionPacketKind, static_cast<uint8_t>(mHandle), kSetThreshold,
                                threshold});
    return 0;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
