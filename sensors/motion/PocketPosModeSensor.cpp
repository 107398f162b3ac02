#include "sensors/motion/PocketPosModeSensor.h"

#include <inttypes.h>
#include <log/log.h>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) PocketPosModeRecord {
    uint8_t totalState;
    uint8_t positionState;
    uint32_t positionCase;
    uint8_t pedoState;
    uint32_t pedoCase;
    uint32_t version;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(PocketPosModeRecord) == 23);

}  // namespace

PocketPosModeSensor::PocketPosModeSensor(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("pocket_pos_mode", "PocketPosModeSensor", "Pocket Position Mode", info, callback,
                 false) {
    setType(kPrivateType + 162);
    setStringType("com.tavrine.sensor.pocket_pos_mode");
    requirePermission();
    addFlags(kOnChange);
}

void PocketPosModeSensor::readEvents() {
    readFrame<PocketPosModeRecord>(
        NoTimestamp(), [] { ALOGE("PocketPosModeSensor : Meta event"); },
        [this](const PocketPosModeRecord& record) {
            mPendingEvent.u.data[0] = record.totalState;
            mPendingEvent.u.data[1] = record.positionState;
            mPendingEvent.u.data[2] = static_cast<float>(record.positionCase);
            mPendingEvent.u.data[3] = record.pedoState;
            mPendingEvent.u.data[4] = static_cast<float>(record.pedoCase);
            mPendingEvent.u.data[5] = static_cast<float>(record.version);
            // The log shows the words signed.
            ALOGI(
                "PocketPosMode: totalState = %d, positionState = %d, positionCase = %d "
                "pedoState = %dpedoCase = %d version = %d time = %" PRId64,
                record.totalState, record.positionState, static_cast<int32_t>(record.positionCase),
                record.pedoState, static_cast<int32_t>(record.pedoCase),
                static_cast<int32_t>(record.version), mPendingEvent.timestamp);
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
