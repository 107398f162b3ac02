#include "sensors/foldable/SarFolding.h"

#include <log/log.h>

#include <cinttypes>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) StatusRecord {
    uint8_t status;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(StatusRecord) == 9);

}  // namespace

SarFolding::SarFolding(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("sar_folding", "SarFolding", "Sar Folding", info, callback, false) {
    setType(kPrivateType + 175);
    setStringType("com.tavrine.sensor.sar_folding");
    requirePermission();
    addFlags(kOnChange);
}

void SarFolding::readEvents() {
    readFrame<StatusRecord>(
        NoTimestamp(), [] { ALOGE("SarFolding : Meta event"); },
        [this](const StatusRecord& record) {
            mPendingEvent.u.scalar = static_cast<float>(record.status);
            ALOGI("SarFolding : status=%d time = %" PRId64, record.status,
                  static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
