#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

constexpr uint8_t kSetThreshold = 0x80;
constexpr int64_t kNsPerMs = 1000000;

/** Steps taken in a sequence. */
class SequentialStep : public SensorBase {
    struct __attribute__((packed)) Record {
        int32_t steps;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 12);

    struct __attribute__((packed)) ThresholdPacket {
        uint8_t command;
        int64_t threshold;  // ms
    };
    static_assert(sizeof(ThresholdPacket) == 9);

  public:
    SequentialStep(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("sequential_step", "SequentialStep", "Sequential Step", info, callback,
                     kPlainIsNonWakeUp) {
        describePrivate(111, "com.tavrine.sensor.seq_step", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "SequentialStep : Meta event"});
        presetAccuracyHigh();
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.scalar = static_cast<float>(record.steps);
        });
    }

    /** Sends the period in ms as the detector's threshold. 0 even when the hub refused it. */
    int batch(int, int64_t samplingPeriodNs, int64_t) override {
        const int64_t threshold = samplingPeriodNs / kNsPerMs;
        ALOGI("SequentialStep::batch: threshold %" PRId64, threshold);
        writePacket(ThresholdPacket{kSetThreshold, threshold});
        return 0;
    }
};

template struct Driver<SequentialStep>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
