#include "sensors/motion/FlipCoverDetector.h"

#include <fcntl.h>
#include <inttypes.h>
#include <log/log.h>

#include "sensors/HubPaths.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr size_t kValues = 4;
constexpr size_t kShortValues = 3;

struct __attribute__((packed)) FlipCoverRecord {
    int8_t event;
    int8_t detail;
    int32_t values[kValues];
    int16_t shortValues[kShortValues];
    uint64_t timestamp;  // ns
};
static_assert(sizeof(FlipCoverRecord) == 32);

// 'd': a record that stays inside, neither data nor, without a timestamp, a flush marker.
constexpr int8_t kSilentEvent = 100;

}  // namespace

FlipCoverDetector::FlipCoverDetector(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("flip_cover_detector", "FlipCoverDetector", "Flip Cover Detector", info, callback,
                 true) {
    setType(kPrivateType + 103);
    setStringType("com.tavrine.sensor.flip_cover_detector");
    requirePermission();
    addFlags(kOnChange);
}

void FlipCoverDetector::readEvents() {
    FlipCoverRecord record;
    if (readRecord(&record) < 0) return;
    if (record.event == kSilentEvent) return;
    postRecord(
        record, NoTimestamp(), [] { ALOGE("FlipCoverDetector: Meta event"); },
        [this](const FlipCoverRecord& r) {
            mPendingEvent.u.data[0] = r.event;
            mPendingEvent.u.data[1] = r.detail;
            for (size_t i = 0; i < kValues; ++i) {
                mPendingEvent.u.data[2 + i] = static_cast<float>(r.values[i]);
            }
            for (size_t i = 0; i < kShortValues; ++i) {
                mPendingEvent.u.data[2 + kValues + i] = r.shortValues[i];
            }
            ALOGI("FlipCoverDetector: event = %d, %d, %d, %d, %d, %d, %d, %d, %d, time = %" PRId64,
                  r.event, r.detail, r.values[0], r.values[1], r.values[2], r.values[3],
                  r.shortValues[0], r.shortValues[1], r.shortValues[2], mPendingEvent.timestamp);
        });
}

bool FlipCoverDetector::isShownSensorList() {
    return UniqueFd(open(paths::kNfcCoverStatus, O_RDWR | O_CLOEXEC)).ok();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
