#include <fcntl.h>

#include "sensors/Driver.h"
#include "sensors/HubPaths.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// 'd': a record that stays inside, neither data nor, without a timestamp, a flush marker.
constexpr int8_t kSilentEvent = 100;

/** Event code of a flip cover, with the detector's figures. */
class FlipCoverDetector : public SensorBase {
    struct __attribute__((packed)) Record {
        int8_t event;
        int8_t detail;
        int32_t values[4];
        int16_t shortValues[3];
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 32);

  public:
    FlipCoverDetector(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("flip_cover_detector", "FlipCoverDetector", "Flip Cover Detector", info,
                     callback, kPlainIsWakeUp) {
        describePrivate(103, "com.tavrine.sensor.flip_cover_detector", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "FlipCoverDetector: Meta event"});
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record) || record.event == kSilentEvent) return;
        postRecord(record, [](const Record& r, EventPayload& payload) {
            payload.data[0] = r.event;
            payload.data[1] = r.detail;
            for (size_t i = 0; i < 4; ++i)
                payload.data[2 + i] = static_cast<float>(r.values[i]);
            for (size_t i = 0; i < 3; ++i)
                payload.data[6 + i] = r.shortValues[i];
            ALOGI("FlipCoverDetector: event = %d, %d, %d, %d, %d, %d, %d, %d, %d, time = %" PRId64,
                  r.event, r.detail, r.values[0], r.values[1], r.values[2], r.values[3],
                  r.shortValues[0], r.shortValues[1], r.shortValues[2], r.timestamp);
        });
    }

    /** Listed when the cover's status file can be opened as the catalogue is built. */
    bool isShownSensorList() override {
        return UniqueFd(open(paths::kNfcCoverStatus, O_RDWR | O_CLOEXEC)).ok();
    }
};

template struct Driver<FlipCoverDetector>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
