#include "hub/SensorHubSensor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/Log.h"
#include "sensors/HubPaths.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr uint8_t kReadySignal = 3;

constexpr uint8_t kFileManagerRequest = 0xFB;
constexpr uint8_t kDumpRequest = 0xFC;

struct Record {
    uint8_t command;
    uint8_t type;   // file-manager operation or dump type
    uint8_t count;  // dumps of this type to keep
    uint8_t unused[8];
};
static_assert(sizeof(Record) == 11);

}  // namespace

SensorHubSensor::SensorHubSensor(ISensorsEventCallback* callback)
    : SensorBase("sensorhub_sensor", "SensorHubSensor", "SensorHub", SensorInfo{}, callback,
                 kPlainIsNonWakeUp) {
    setReadFailure("SensorHubSensor input data file descriptor not available");
}

void SensorHubSensor::ready() {
    const UniqueFd file(open(paths::kFileManager, O_RDWR | O_CLOEXEC));
    if (!file.ok()) {
        const int error = errno;
        fmReady = false;
        ALOGI("SensorHubSensor::ready: shub_file open failed(%d) %s", -error, strerror(error));
        return;
    }
    if (write(file.get(), &kReadySignal, sizeof(kReadySignal)) < 0) {
        const int error = errno;
        ALOGE("SensorHubSensor::ready: error(%d) %s", -error, strerror(error));
        return;
    }
    ALOGI("SensorHubSensor::ready: send FM READY");
    fmReady = true;
}

void SensorHubSensor::readEvents() {
    Record record;
    if (!readRecord(&record)) return;
    switch (record.command) {
        case kFileManagerRequest:
            if (fmReady) {
                fileManager(record.type);
            } else {
                ALOGE("fm is not supported");
            }
            break;
        case kDumpRequest:
            ALOGI("SensorHubSensor dump type %d, count %d", record.type, record.count);
            dump(record.type, record.count);
            break;
        default:
            break;
    }
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
