#include "sensors/motion/BackTap.h"

#include <inttypes.h>
#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr size_t kValues = 3;

struct __attribute__((packed)) TapRecord {
    int8_t event;
    uint64_t values[kValues];
    uint64_t timestamp;  // ns
};
static_assert(sizeof(TapRecord) == 33);

}  // namespace

BackTap::BackTap(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("back_tap", "BackTap", "Back Tap", info, callback, true) {
    setType(kPrivateType + 115);
    setStringType("com.tavrine.sensor.back_tap");
    requirePermission();
    addFlags(kOnChange);
}

void BackTap::readEvents() {
    readFrame<TapRecord>(
        NoTimestamp(), [] { ALOGE("BackTap: Meta event"); },
        [this](const TapRecord& record) {
            mPendingEvent.u.data[0] = record.event;
            for (size_t i = 0; i < kValues; ++i) {
                mPendingEvent.u.data[1 + i] = static_cast<float>(record.values[i]);
            }
            // The log shows the figures signed.
            ALOGI("BackTap: Tap Event = %d, %" PRId64 ", %" PRId64 ", %" PRId64 ", time = %" PRId64,
                  record.event, static_cast<int64_t>(record.values[0]),
                  static_cast<int64_t>(record.values[1]), static_cast<int64_t>(record.values[2]),
                  mPendingEvent.timestamp);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
