#include "directchannel/LockfreeBuffer.h"

#include <cstring>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

LockfreeBuffer::LockfreeBuffer(void* base, size_t bytes)
    : mData(static_cast<uint8_t*>(base)), mSize(bytes / kRecordSize) {
    memset(mData, 0, bytes);
}

LockfreeBuffer::~LockfreeBuffer() {
    memset(mData, 0, mSize * kRecordSize);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
