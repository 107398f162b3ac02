#include <cutils/properties.h>

#include <cstring>

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

// Written before the poll thread starts, which alone reads it afterwards.
static bool gDebugBuild = false;

/**
 * How the device fell: a class of fall and its figures. Negative events are traces of the
 * accelerometer, which leave this class on debug builds alone.
 */
class DropClassifier : public SensorBase {
    struct __attribute__((packed)) Record {
        int8_t event;  // negative for a trace
        int32_t values[6];
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 33);

  public:
    DropClassifier(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("drop_classifier", "DropClassifier", "Drop Classifier", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(108, "com.tavrine.sensor.drop_classifier", kPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "DropClassifier: Meta event"});
        checkBuildType();
    }

    /** Notes for the whole process whether traces are delivered. Called once, at construction. */
    virtual void checkBuildType() {
        char value[PROPERTY_VALUE_MAX] = {};
        property_get("ro.build.type", value, "user");
        gDebugBuild = strncmp(value, "eng", 3) == 0 || strncmp(value, "userdebug", 9) == 0;
        ALOGI("DropClassifier:: build_type %s, user_build %d", value, !gDebugBuild);
    }

    void readEvents() override {
        Record record;
        if (!readRecord(&record)) return;
        const bool trace = record.event < 0 && !record.isFlushMarker();
        if (trace) {
            ALOGD("DropClassifier: Accel Event= %d, %d, %d, %d, %d, %d, %d, time = %" PRId64,
                  record.event, record.values[0], record.values[1], record.values[2],
                  record.values[3], record.values[4], record.values[5], record.timestamp);
            if (!gDebugBuild) return;
        }
        postRecord(record, [trace](const Record& r, EventPayload& payload) {
            payload.data[0] = r.event;
            for (size_t i = 0; i < 6; ++i)
                payload.data[1 + i] = static_cast<float>(r.values[i]);
            if (trace) return;
            ALOGI("DropClassifier: Drop Event = %d, %d, time = %" PRId64, r.event, r.values[0],
                  r.timestamp);
        });
    }
};

template struct Driver<DropClassifier>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
