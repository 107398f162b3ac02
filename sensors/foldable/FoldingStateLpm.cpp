#include "sensors/Driver.h"
#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Fold state while the application processor sleeps: fusion mode and angle. */
class FoldingStateLpm : public SensorBase {
    /** LidAngleFusion's record without the gyroscopes. */
    struct __attribute__((packed)) Record {
        FusionHead head;
        HalfMotion accMain;
        HalfMotion accSub;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 46);

  public:
    FoldingStateLpm(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("folding_state_lpm", "FoldingStateLpm", "Folding State Lpm", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(161, "com.tavrine.sensor.folding_state_lpm", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "FoldingStateLpm : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& r, EventPayload& payload) {
            r.head.convertTo(payload);
            ALOGI(
                "FoldingStateLpm: fusion_mode = %d, angle = %d, (state = %d, error_code = %d, "
                "dtime = %.3f, acc_main : %.4f %.4f %.4f, acc_sub : %.4f %.4f %.4f), "
                "time = %" PRId64,
                r.head.mode, r.head.angle, r.head.state, r.head.errorCode, double{r.head.dtime},
                double{r.accMain.x}, double{r.accMain.y}, double{r.accMain.z}, double{r.accSub.x},
                double{r.accSub.y}, double{r.accSub.z}, r.timestamp);
        });
    }
};

template struct Driver<FoldingStateLpm>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
