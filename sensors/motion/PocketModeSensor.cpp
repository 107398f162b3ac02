#include "sensors/motion/PocketModeSensor.h"

#include <inttypes.h>
#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr size_t kWords = 14;

struct __attribute__((packed)) PocketModeRecord {
    uint8_t event;
    uint8_t reason;
    uint32_t words[kWords];  // base, current, three more, temp, eight more
    uint64_t timestamp;      // ns
};
static_assert(sizeof(PocketModeRecord) == 66);

constexpr size_t kBase = 0;
constexpr size_t kCurrent = 1;
constexpr size_t kTemp = 5;

}  // namespace

PocketModeSensor::PocketModeSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("pocket_mode", "PocketModeSensor", "Pocket Mode", info, callback, false) {
    setType(kPrivateType + 69);
    setStringType("com.tavrine.sensor.pocket_mode");
    requirePermission();
    addFlags(kOnChange);
}

void PocketModeSensor::readEvents() {
    readFrame<PocketModeRecord>(
        NoTimestamp(), [] { ALOGE("PocketModeSensor : Meta event"); },
        [this](const PocketModeRecord& record) {
            mPendingEvent.u.data[0] = record.event;
            mPendingEvent.u.data[1] = record.reason;
            for (size_t i = 0; i < kWords; ++i) {
                mPendingEvent.u.data[2 + i] = static_cast<float>(record.words[i]);
            }
            // The log shows the words signed.
            ALOGI(
                "PocketMode: event = %d, reason = %d, base = %d current = %d temp = %d "
                "time = %" PRId64,
                record.event, record.reason, static_cast<int32_t>(record.words[kBase]),
                static_cast<int32_t>(record.words[kCurrent]),
                static_cast<int32_t>(record.words[kTemp]), mPendingEvent.timestamp);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
