#include "hub/QContextSensor.h"

#include <fcntl.h>
#include <inttypes.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "common/Log.h"
#include "sensors/HubPaths.h"
#include "sensors/SensorHandles.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kPrivateNumber = 0x32;

// A custom kind of additional-information frame.
constexpr auto kFrameList = static_cast<V1_0::AdditionalInfoType>(0x10000002);

SensorInfo makeInfo() {
    SensorInfo info = {};
    info.sensorHandle = kQContextHandle;
    info.vendor = "Tavrine Inc.";
    info.version = 2;
    info.maxRange = 1.0f;
    info.maxDelay = 20000;
    return info;
}

}  // namespace

QContextSensor::QContextSensor(ISensorsEventCallback* callback)
    : SensorBase("qcontext_iio", "QContextSensor", "Qcontext", makeInfo(), callback,
                 kPlainIsNonWakeUp) {
    describePrivate(kPrivateNumber, "com.tavrine.sensor.sensorhubs", kPermission, kSpecial,
                    kNoFlushLine);
    mListEvent.sensorHandle = getHandle();
    mListEvent.sensorType = V1_0::SensorType::ADDITIONAL_INFO;
    // The hub talks before anyone enables it: the buffer runs in any case.
    enableBuffer();
    mHubDataWriter = std::make_unique<SensorHubDataWriter>();
}

int QContextSensor::enable(int handle, bool on) {
    if (on) {
        const UniqueFd file(open(paths::kContextList, O_RDONLY | O_CLOEXEC));
        if (!file.ok()) {
            ALOGE("QContextSensor : qcontext list open failed - (%s)", strerror(errno));
            return 0;
        }
        int32_t words[4] = {};
        if (read(file.get(), words, sizeof(words)) < 0) {
            ALOGE("QContextSensor : qcontext list read failed - (%s)", strerror(errno));
        } else {
            postList(words);
        }
    }
    return SensorBase::enable(handle, on);
}

int QContextSensor::batch(int, int, int64_t, int64_t) {
    return 0;
}

const Event& QContextSensor::stampListEvent(V1_0::AdditionalInfoType kind) {
    mListEvent.timestamp = getTimestamp();
    mListEvent.u.additional.type = kind;
    return mListEvent;
}

void QContextSensor::postList(const int32_t (&words)[4]) {
    std::vector<Event> frame;
    frame.reserve(3);
    frame.push_back(stampListEvent(V1_0::AdditionalInfoType::AINFO_BEGIN));
    // The words stay behind: the end event and the next begin event carry them too.
    for (size_t i = 0; i < 4; ++i)
        mListEvent.u.additional.u.data_int32[i] = words[i];
    frame.push_back(stampListEvent(kFrameList));
    ALOGI("QContext List : 0x%x 0x%x 0x%x 0x%x", static_cast<uint32_t>(words[0]),
          static_cast<uint32_t>(words[1]), static_cast<uint32_t>(words[2]),
          static_cast<uint32_t>(words[3]));
    frame.push_back(stampListEvent(V1_0::AdditionalInfoType::AINFO_END));
    postEvents(frame);
}

int QContextSensor::flush(int handle) {
    postFlushComplete();
    return SensorBase::flush(handle);
}

int QContextSensor::injectSensorData(const Event& event) {
    // Spelt so on purpose.
    ALOGI("QContextSensor::injecet_sensor_data");
    const std::lock_guard<std::mutex> lock(mWriterLock);
    mHubDataWriter->handleData(event);
    return 0;
}

void QContextSensor::readEvents() {
    Record record;
    if (!readRecord(&record)) return;
    mLastMessage = record.message;
    logMessage(record);

    if (record.timestamp == 0) ALOGI("QContextSensor: SensorHub reset");
    postRecord(record, [this](const Record&, EventPayload& payload) {
        memcpy(&payload, &mLastMessage, sizeof(mLastMessage));
    });
}

void QContextSensor::logMessage(const Record& record) {
    constexpr int kMaxDistance = 64;
    constexpr size_t kDataOffset = offsetof(Record, message.data);

    const int32_t size = record.message.size;
    const int32_t begin = record.message.begin;
    const int32_t end = record.message.end;
    if (size <= begin || size <= end || begin >= end || end - begin > kMaxDistance) return;

    // The timestamp behind the data counts in; the one byte behind the record shows as zero.
    uint8_t bytes[kMaxDistance + 1] = {};
    static_assert(sizeof(bytes) == sizeof(Record) - kDataOffset + 1);
    memcpy(bytes, reinterpret_cast<const uint8_t*>(&record) + kDataOffset, sizeof(bytes) - 1);
    std::string text;
    for (int i = 0; i <= end - begin; ++i)
        text += std::to_string(bytes[i]) + ",";
    ALOGI("context %d %d %d %s %" PRId64, size, begin, end, text.c_str(), record.timestamp);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
