#include "sensors/foldable/LidAngleFusion.h"

#include <log/log.h>

#include <cinttypes>

#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) FusionRecord {
    FusionHead head;
    HalfMotion accMain;
    HalfMotion gyroMain;
    HalfMotion accSub;
    HalfMotion gyroSub;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(FusionRecord) == 70);

}  // namespace

LidAngleFusion::LidAngleFusion(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("lid_angle_fusion", "LidAngleFusion", "Lid Angle Fusion", info, callback, true) {
    setType(kPrivateType + 159);
    setStringType("com.tavrine.sensor.lid_angle_fusion");
    requirePermission();
    addFlags(kOnChange);
}

void LidAngleFusion::readEvents() {
    readFrame<FusionRecord>(
        NoTimestamp(), [] { ALOGE("LidAngleFusion : Meta event"); },
        [this](const FusionRecord& record) {
            convertFusion(record.head, &mPendingEvent);
            ALOGI(
                "%s: fusion_mode = %d, angle = %d, (state = %d, error_code = %d, dtime = %.3f, "
                "acc_main : %.4f %.4f %.4f, "
                "gyro_main = %.4f %.4f %.4f, "
                "acc_sub : %.4f %.4f %.4f, "
                "gyro_sub = %.4f %.4f %.4f), time = %" PRId64,
                "LidAngleFusion", record.head.mode, record.head.angle, record.head.state,
                record.head.errorCode, double{record.head.dtime}, double{record.accMain.x},
                double{record.accMain.y}, double{record.accMain.z}, double{record.gyroMain.x},
                double{record.gyroMain.y}, double{record.gyroMain.z}, double{record.accSub.x},
                double{record.accSub.y}, double{record.accSub.z}, double{record.gyroSub.x},
                double{record.gyroSub.y}, double{record.gyroSub.z},
                static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
