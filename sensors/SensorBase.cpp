#include "sensors/SensorBase.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/Log.h"
#include "sensors/DecimalText.h"
#include "sensors/HubPaths.h"
#include "sensors/IioNames.h"
#include "sensors/InjectedEvent.h"
#include "sensors/SensorHandles.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

// The kernel's request for an IIO device's event descriptor.
constexpr uint32_t kIioGetEventFd = 0x80046990;

// The hub bursts while the host sleeps; a shorter buffer would drop records.
constexpr uint32_t kMinBufferLength = 600;

struct __attribute__((packed)) DefaultInjection {
    uint32_t code;
    uint8_t data[56];  // payload words 2 to 15; word 1 does not travel
};
static_assert(sizeof(DefaultInjection) == 60);

// Any direct rate, over shared memory.
constexpr uint32_t kDirectReportFlags =
    static_cast<uint32_t>(SensorFlagBits::MASK_DIRECT_REPORT) |
    static_cast<uint32_t>(SensorFlagBits::DIRECT_CHANNEL_ASHMEM);

std::string devicePath(int number) {
    return paths::kIioDevice + std::to_string(number);
}

}  // namespace

SensorBase::SensorBase(const char* iioName, const char* tag, const char* displayName,
                       SensorInfo info, ISensorsEventCallback* callback, bool wakeUpIsDefault)
    : mTag(tag), mHandle(info.sensorHandle), mEventCallback(callback) {
    if (iioName != nullptr) {
        std::string name = iioName;
        const bool wakeUp = (info.flags & kWakeUp) != 0;
        if (!wakeUpIsDefault && wakeUp) name += "_wu";
        if (wakeUpIsDefault && !wakeUp) name += "_nwu";
        openDevice(name, info);
    }
    mSensorInfo = std::move(info);
    composeName(displayName, wakeUpIsDefault);
    prepareEvents();
    chooseInjectionDevice();
}

void SensorBase::openDevice(const std::string& name, const SensorInfo& info) {
    IioNames* const names = IioNames::current();
    mDevNum =
        names != nullptr ? names->find(name) : findTypeByName(name.c_str(), paths::kIioPrefix);
    if (mDevNum < 0) return;

    const std::string directory = iioDirectory(paths::kIioPrefix, mDevNum);
    mBufferLengthPath = directory + paths::kIioBufferLength;
    mBufferEnablePath = directory + paths::kIioBufferEnable;
    mDataAvailablePath = directory + paths::kIioDataAvailable;

    // Not blocking: whoever believes a wrong count must not wait for a record that is not there.
    mDataFd.reset(open(devicePath(mDevNum).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!mDataFd.ok()) {
        ALOGE("SensorBase, ERROR mDevNum = %d", mDevNum);
        return;
    }
    ALOGI("%s", mTag);
    const uint32_t length = std::max(info.fifoMaxEventCount, kMinBufferLength);
    writeSysfsInt(mBufferLengthPath.c_str(), static_cast<int>(length));
    mIioBufferEnableFailed = enableBuffer() < 0;
}

void SensorBase::composeName(const char* displayName, bool wakeUpIsDefault) {
    mSensorName = mSensorInfo.name;
    if (!mSensorName.empty()) mSensorName += " ";
    mSensorName += displayName;
    if (wakeUpIsDefault && !isWakeUpSensor()) mSensorName += " Non Wake Up";
    if (!wakeUpIsDefault && isWakeUpSensor()) mSensorName += " Wake Up";
    mSensorInfo.name = mSensorName;
    ALOGI("sensor_name %s mSensorInfo.name %s", mSensorName.c_str(), mSensorInfo.name.c_str());
}

void SensorBase::prepareEvents() {
    memset(&mPendingEvent, 0, sizeof(mPendingEvent));
    memset(&mMetaEvent, 0, sizeof(mMetaEvent));
    mPendingEvent.sensorHandle = mHandle;
    mMetaEvent.sensorHandle = mHandle;
    mMetaEvent.sensorType = SensorType::META_DATA;
    mMetaEvent.u.meta.what = V1_0::MetaDataEventType::META_DATA_FLUSH_COMPLETE;
}

void SensorBase::chooseInjectionDevice() {
    const UniqueFd probe(open(paths::kInjection, O_RDWR | O_CLOEXEC));
    mInjectionPath = probe.ok() ? paths::kInjection : paths::kInjectionFallback;
    ALOGI("injection path %s", mInjectionPath);
}

int SensorBase::enable(int handle, bool on) {
    if (!mDataFd.ok()) {
        ALOGE("%s::enable, data fd %d, handle %d, enable %d", mTag, mDataFd.get(), handle, on);
        return -EIO;
    }
    retryIioBufferEnable();
    return 0;
}

int SensorBase::injectSensorData(const Event& event) {
    const uint32_t code = injectedSubCommand(event);
    if (code < kFirstSubCommand) return 0;

    DefaultInjection body = {code, {}};
    memcpy(body.data, reinterpret_cast<const uint8_t*>(&event.u) + 8, sizeof(body.data));
    ALOGI("SensorBase::injectSensorData: %s default injection, type=%d", mSensorInfo.name.c_str(),
          static_cast<int32_t>(code));
    return writePacket(body);
}

bool SensorBase::isShownSensorList() {
    ALOGI("(%s)SensorBase::isShownSensorList()", mTag);
    return true;
}

int64_t SensorBase::getTimestamp() {
    return elapsedRealtimeNano();
}

int SensorBase::getDataAvailable(uint64_t maxReportLatencyNs) {
    int count = 1;
    // The stabilisation gyroscopes outrun one wake-up per record: their queue is always asked for.
    if (!reportsDirectly(mHandle)) {
        if (maxReportLatencyNs == 0 || mSensorInfo.fifoMaxEventCount == 0) return count;
    }
    readSysfsInt(mDataAvailablePath.c_str(), &count);
    return count < 0 ? 1 : count;
}

int SensorBase::findTypeByName(const char* name, const char* prefix) {
    for (const auto& device : readIioNames(prefix)) {
        if (device.name == name) return device.number;
    }
    return -ENODEV;
}

int SensorBase::openIio(const char* name) {
    const int number = findTypeByName(name, paths::kIioPrefix);
    if (number < 0) {
        ALOGE("couldn't find the device %s", name);
        return -1;
    }
    const std::string path = devicePath(number);
    const UniqueFd device(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!device.ok()) {
        ALOGE("couldn't open %s (%s)", path.c_str(), strerror(errno));
        return -1;
    }
    int eventFd = -1;
    if (ioctl(device.get(), kIioGetEventFd, &eventFd) < 0) {
        ALOGE("couldn't get a event fd from %s", path.c_str());
        return -1;
    }
    mInputName = paths::kIioPrefix + std::to_string(number);
    return eventFd;
}

int SensorBase::readSysfsInt(const char* path, int* value) {
    UniqueFd file(open(path, O_RDONLY | O_CLOEXEC));
    if (!file.ok()) return -errno;

    int result = 0;
    char text[64] = {};
    if (read(file.get(), text, sizeof(text) - 1) < 0 || !parseDecimal(text, value)) {
        result = -errno;
        ALOGE("SensorBase::readSysfsInt: read failed: %d(%s)", result, strerror(-result));
    }
    if (file.closeNow() < 0) {
        result = -errno;
        ALOGE("SensorBase::readSysfsInt: close failed: %d(%s)", result, strerror(-result));
    }
    return result;
}

int SensorBase::writeSysfsInt(const char* path, int value) {
    UniqueFd file(open(path, O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!file.ok()) return 0;

    const std::string text = std::to_string(value) + "\n";
    int error = write(file.get(), text.data(), text.size()) < 0 ? errno : 0;
    if (file.closeNow() < 0 && error == 0) error = errno;
    if (error == 0) return 0;
    ALOGE("writeSysfsInt, ERROR open file %s to write with error %d", path, error);
    return -error;
}

void SensorBase::retryIioBufferEnable() {
    if (!mIioBufferEnableFailed) return;
    mIioBufferEnableFailed = false;
    const int result = enableBuffer();
    if (result < 0) ALOGE("iio buffer/enable failed again %d", result);
}

int SensorBase::writePacket(const void* body, size_t size) {
    std::vector<uint8_t> packet(2 + size);
    packet[0] = kInjectionPacketKind;
    packet[1] = static_cast<uint8_t>(mHandle);
    memcpy(packet.data() + 2, body, size);
    return writeInjection(packet.data(), static_cast<int>(packet.size()));
}

int SensorBase::writeInjection(const uint8_t* buffer, int count) {
    const UniqueFd device(open(mInjectionPath, O_RDWR | O_CLOEXEC));
    if (!device.ok()) {
        ALOGE("%s::writeInjection: open failed(%d) %s", mTag, -errno, strerror(errno));
        return -ENODEV;
    }
    while (write(device.get(), buffer, static_cast<size_t>(count)) < 0) {
        const int error = errno;
        if (error != EINTR) {
            ALOGE("%s::writeInjection: error(%d) %s", mTag, -error, strerror(error));
            return -error;
        }
        ALOGE("%s::writeInjection: EINTR! retry to write", mTag);
    }
    return 0;
}

unsigned SensorBase::atou(const char* text) {
    unsigned value = 0;
    for (; isdigit(static_cast<unsigned char>(*text)) != 0; ++text) {
        value = value * 10 + static_cast<unsigned>(*text - '0');
    }
    return value;
}

void SensorBase::describe(SensorType type, uint32_t flags, FlushLine flushLine) {
    mSensorInfo.type = type;
    mPendingEvent.sensorType = type;
    mSensorInfo.flags |= flags | (reportsDirectly(mHandle) ? kDirectReportFlags : 0);
    mFlushLine = flushLine;
}

void SensorBase::describePrivate(int32_t number, const char* stringType, const char* permission,
                                 uint32_t flags, FlushLine flushLine) {
    const int32_t type = static_cast<int32_t>(SensorType::DEVICE_PRIVATE_BASE) + number;
    describe(static_cast<SensorType>(type), flags, flushLine);
    mSensorInfo.typeAsString = stringType;
    mSensorInfo.requiredPermission = permission;
}

ssize_t SensorBase::readBytes(void* record, size_t size) {
    memset(record, 0, size);
    const ssize_t count = read(mDataFd.get(), record, size);
    if (count > 0) ++mRecordsRead;
    return count;
}

void SensorBase::logReadFailure() const {
    if (mReadFailure != nullptr) {
        ALOGE("%s - (%s)", mReadFailure, strerror(errno));
    } else {
        ALOGE("%s :input data file descriptor not available - (%s)", mTag, strerror(errno));
    }
}

void SensorBase::postFlushComplete() {
    if (mFlushLine.text != nullptr) {
        __android_log_print(mFlushLine.level, LOG_TAG, "%s", mFlushLine.text);
    }
    // Not through mPosted: some sensors complete a flush on the thread that requests it.
    postToAll(std::vector<Event>(1, mMetaEvent));
}

void SensorBase::postPendingEvent() {
    mPosted.front() = mPendingEvent;
    postToAll(mPosted);
}

void SensorBase::postToAll(const std::vector<Event>& events) {
    postEvents(events);
    if (isDirectReportSensor()) mEventCallback->postDirectEvents(events);
}

void SensorBase::postEvents(const std::vector<Event>& events) {
    mEventCallback->postEvents(events, isWakeUpSensor());
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
