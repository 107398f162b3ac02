#include "sensors/foldable/FoldingStateLpm.h"

#include <log/log.h>

#include <cinttypes>

#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) FusionRecord {
    FusionHead head;
    HalfMotion accMain;
    HalfMotion accSub;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(FusionRecord) == 46);

}  // namespace

FoldingStateLpm::FoldingStateLpm(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("folding_state_lpm", "FoldingStateLpm", "Folding State Lpm", info, callback,
                 true) {
    setType(kPrivateType + 161);
    setStringType("com.tavrine.sensor.folding_state_lpm");
    requirePermission();
    addFlags(kOnChange);
}

void FoldingStateLpm::readEvents() {
    readFrame<FusionRecord>(
        NoTimestamp(), [] { ALOGE("FoldingStateLpm : Meta event"); },
        [this](const FusionRecord& record) {
            convertFusion(record.head, &mPendingEvent);
            ALOGI(
                "%s: fusion_mode = %d, angle = %d, (state = %d, error_code = %d, dtime = %.3f, "
                "acc_main : %.4f %.4f %.4f, "
                "acc_sub : %.4f %.4f %.4f), time = %" PRId64,
                "FoldingStateLpm", record.head.mode, record.head.angle, record.head.state,
                record.head.errorCode, double{record.head.dtime}, double{record.accMain.x},
                double{record.accMain.y}, double{record.accMain.z}, double{record.accSub.x},
                double{record.accSub.y}, double{record.accSub.z},
                static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
