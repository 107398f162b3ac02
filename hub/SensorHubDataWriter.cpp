#include "hub/SensorHubDataWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/Log.h"
#include "sensors/HubPaths.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int32_t kStart = 0;
constexpr int32_t kEnd = 1;
constexpr int32_t kData = 0x42554853;  // "SHUB" in memory

/** An injected event's payload. */
struct Piece {
    int32_t kind;
    uint32_t length;  // start and end: of the whole message; data: of this chunk
    uint8_t chunk[56];
};
static_assert(sizeof(Piece) == 64 && sizeof(Piece) == sizeof(Event::u));

/** A descriptor, or negative with the failure logged. */
int openDevice(const char* path) {
    const int fd = open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        ALOGE("SensorHubDataWriter: open sensorhub device failed(%d) %s", fd, strerror(errno));
    }
    return fd;
}

}  // namespace

int hbx_data_injection_fd = 0;

SensorHubDataWriter::SensorHubDataWriter() {
    ALOGI("SensorHubDataWriter::SensorHubDataWriter()");
    hbx_data_injection_fd = openDevice(paths::kHubMessage);
    if (hbx_data_injection_fd < 0) hbx_data_injection_fd = openDevice(paths::kHubMessageFallback);
    if (hbx_data_injection_fd < 0) return;
    // At error level on purpose, success or not.
    ALOGE("SensorHubDataWriter: open sensorhub device success(%d)", hbx_data_injection_fd);
}

SensorHubDataWriter::~SensorHubDataWriter() {
    ALOGI("SensorHubDataWriter::~SensorHubDataWriter()");
}

int32_t SensorHubDataWriter::handleData(const Event& event) {
    Piece piece;
    memcpy(&piece, &event.u, sizeof(piece));
    switch (piece.kind) {
        case kStart:
            return start(piece.length, event.timestamp, piece.chunk);
        case kData:
            // No event carries more than its chunk, whatever it says.
            return isInjecting() ? append(piece.length, piece.chunk, sizeof(piece.chunk)) : -1;
        case kEnd:
            if (isInjecting()) end(piece.length);
            return -1;
        default:
            ALOGI("SensorHubDataWriter: does not support this type %d", piece.kind);
            return -1;
    }
}

int32_t SensorHubDataWriter::start(uint32_t length, int64_t timestamp, const uint8_t* chunk) {
    if (mInjecting) ALOGD("SensorHubDataWriter: injection was not finished");
    clearBuffer();
    mInjecting = false;
    if (length > kCapacity) {
        ALOGD("SensorHubDataWriter: too big data");
        return -1;
    }
    // A message of the full capacity is let in but gets no room: it can only be dropped.
    if (length < kCapacity) {
        mDataLength = static_cast<int32_t>(length);
        mStartTimestamp = timestamp;
    }
    if (length <= kMaxWholeMessage) {
        memcpy(mHubData, chunk, length);
        writeData();
        clearBuffer();
        return -1;
    }
    mInjecting = true;
    return 0;
}

int32_t SensorHubDataWriter::append(uint32_t length, const void* bytes, uint32_t available) {
    // In 64 bits, where no length wraps; what is announced is never above the buffer.
    if (length > available || static_cast<int64_t>(mDataPos) + length > mDataLength) {
        ALOGE("SensorHubDataWriter: SetHubData failed , Not enough buffer %zu",
              static_cast<size_t>(length));
        return -1;
    }
    memcpy(mHubData + mDataPos, bytes, length);
    mDataPos += static_cast<int32_t>(length);
    return mDataPos;
}

bool SensorHubDataWriter::isInjecting() const {
    if (!mInjecting) ALOGE("SensorHubDataWriter: does not start injection");
    return mInjecting;
}

void SensorHubDataWriter::end(uint32_t length) {
    mInjecting = false;
    if (length == static_cast<uint32_t>(mDataLength) && mDataLength == mDataPos) {
        writeData();
    } else {
        ALOGE("SensorHubDataWriter: injection was not finished");
    }
}

int32_t SensorHubDataWriter::writeData() {
    constexpr int32_t kBytesPerLine = 16;
    char line[64] = "";
    size_t used = 0;
    for (int32_t i = 0; i < mDataLength; ++i) {
        const int printed = snprintf(line + used, sizeof(line) - used, "%.2x", mHubData[i]);
        if (printed > 0) used += static_cast<size_t>(printed);
        if ((i + 1) % kBytesPerLine == 0 || i + 1 == mDataLength) {
            ALOGD("%s ", line);
            used = 0;
        }
    }
    inject_qcontext_data(mHubData, mDataLength);
    return -1;
}

int32_t SensorHubDataWriter::inject_qcontext_data(const unsigned char* data, int len) {
    const int lastError = errno;
    const int fd = hbx_data_injection_fd;
    ALOGD("inject_qcontext_data: New hbx_data_injection_fd(%d)", fd);
    if (fd < 0) {
        ALOGE("inject_qcontext_data: invalid hbx_data_injection_fd(%d)", fd);
        return -lastError;
    }
    if (data == nullptr || len < 0) {
        ALOGE("inject_qcontext_data: error(%d) %s", -EINVAL, strerror(EINVAL));
        return -EINVAL;
    }
    ssize_t written = 0;
    while ((written = write(fd, data, static_cast<size_t>(len))) < 0) {
        const int error = errno;
        if (error != EINTR) {
            ALOGE("inject_qcontext_data: error(%d) %s", -error, strerror(error));
            ALOGD("QContext Data Injection return %d", static_cast<int>(written));
            return -error;
        }
        ALOGE("inject_qcontext_data: EINTR! retry to write");
    }
    ALOGD("QContext Data Injection return %d", static_cast<int>(written));
    return static_cast<int32_t>(written);
}

void SensorHubDataWriter::initBuffers(int length, unsigned long timestamp, const int* data) {
    clearBuffer();
    if (length < 0 || length > kCapacity) {
        ALOGE("SensorHubDataWriter: too big data");
        return;
    }
    mDataLength = length;
    mStartTimestamp = static_cast<int64_t>(timestamp);
    if (data != nullptr) memcpy(mHubData, data, static_cast<size_t>(length));
}

int32_t SensorHubDataWriter::setHubData(int length, const int* data) {
    if (data == nullptr) {
        ALOGE("SensorHubDataWriter: SetHubData failed ,wrong buffer");
        return -1;
    }
    // The caller's buffer holds what it says; the message's room is what limits it.
    return append(static_cast<uint32_t>(length), data, kCapacity);
}

void SensorHubDataWriter::clearBuffer() {
    mDataPos = 0;
    mDataLength = 0;
    mStartTimestamp = 0;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
