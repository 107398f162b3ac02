#include "sensors/motion/DropClassifier.h"

#include <cutils/properties.h>
#include <inttypes.h>
#include <log/log.h>

#include <cstring>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr size_t kValues = 6;

struct __attribute__((packed)) DropRecord {
    int8_t event;  // negative for a trace
    int32_t values[kValues];
    uint64_t timestamp;  // ns
};
static_assert(sizeof(DropRecord) == 33);

// Written before the poll thread starts, which alone reads it afterwards.
bool gDebugBuild = false;

bool startsWith(const char* text, const char* prefix) {
    return strncmp(text, prefix, strlen(prefix)) == 0;
}

}  // namespace

DropClassifier::DropClassifier(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("drop_classifier", "DropClassifier", "Drop Classifier", info, callback, true) {
    setType(kPrivateType + 108);
    setStringType("com.tavrine.sensor.drop_classifier");
    requirePermission();
    addFlags(kOnChange);
    checkBuildType();
}

void DropClassifier::checkBuildType() {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get("ro.build.type", value, "user");
    gDebugBuild = startsWith(value, "eng") || startsWith(value, "userdebug");
    ALOGI("DropClassifier:: build_type %s, user_build %d", value, !gDebugBuild);
}

void DropClassifier::readEvents() {
    DropRecord record;
    if (readRecord(&record) < 0) return;
    setTimestamp(record.timestamp);
    if (record.timestamp == 0) {
        ALOGE("DropClassifier: Meta event");
        postMetaEvent();
        return;
    }
    mPendingEvent.u.data[0] = record.event;
    for (size_t i = 0; i < kValues; ++i) {
        mPendingEvent.u.data[1 + i] = static_cast<float>(record.values[i]);
    }
    if (record.event >= 0) {
        ALOGI("DropClassifier: Drop Event = %d, %d, time = %" PRId64, record.event,
              record.values[0], mPendingEvent.timestamp);
        postPendingEvent();
        return;
    }
    ALOGD("DropClassifier: Accel Event= %d, %d, %d, %d, %d, %d, %d, time = %" PRId64, record.event,
          record.values[0], record.values[1], record.values[2], record.values[3], record.values[4],
          record.values[5], mPendingEvent.timestamp);
    if (gDebugBuild) postPendingEvent();
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
