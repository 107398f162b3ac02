#include "sensors/Driver.h"
#include "sensors/foldable/FoldingRecords.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The lid angle that the hub fuses: fusion mode and angle. The rest goes to the log alone. */
class LidAngleFusion : public SensorBase {
    struct __attribute__((packed)) Record {
        FusionHead head;
        HalfMotion accMain;
        HalfMotion gyroMain;
        HalfMotion accSub;
        HalfMotion gyroSub;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 70);

  public:
    LidAngleFusion(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("lid_angle_fusion", "LidAngleFusion", "Lid Angle Fusion", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(159, "com.tavrine.sensor.lid_angle_fusion", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "LidAngleFusion : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& r, EventPayload& payload) {
            r.head.convertTo(payload);
            ALOGI(
                "LidAngleFusion: fusion_mode = %d, angle = %d, (state = %d, error_code = %d, "
                "dtime = %.3f, acc_main : %.4f %.4f %.4f, gyro_main = %.4f %.4f %.4f, "
                "acc_sub : %.4f %.4f %.4f, gyro_sub = %.4f %.4f %.4f), time = %" PRId64,
                r.head.mode, r.head.angle, r.head.state, r.head.errorCode, double{r.head.dtime},
                double{r.accMain.x}, double{r.accMain.y}, double{r.accMain.z}, double{r.gyroMain.x},
                double{r.gyroMain.y}, double{r.gyroMain.z}, double{r.accSub.x}, double{r.accSub.y},
                double{r.accSub.z}, double{r.gyroSub.x}, double{r.gyroSub.y}, double{r.gyroSub.z},
                r.timestamp);
        });
    }
};

template struct Driver<LidAngleFusion>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
