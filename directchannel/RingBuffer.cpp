#include "directchannel/RingBuffer.h"

#include <algorithm>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

RingBuffer::RingBuffer(size_t capacity)
    : mCapacity(capacity), mData(std::make_unique<sensors_event_t[]>(capacity)) {}

size_t RingBuffer::write(const sensors_event_t* events, size_t count) {
    const std::lock_guard<std::mutex> lock(mLock);
    const bool wasEmpty = mWriteCount == mReadCount;
    const size_t taken = std::min(count, mCapacity - (mWriteCount - mReadCount));
    const size_t begin = slot(mWriteCount);
    const size_t upToEnd = std::min(taken, mCapacity - begin);
    std::copy_n(events, upToEnd, &mData[begin]);
    std::copy_n(events + upToEnd, taken - upToEnd, &mData[0]);
    mWriteCount += taken;
    if (wasEmpty && taken > 0) mWritten.notify_all();
    return taken;
}

size_t RingBuffer::read(sensors_event_t* events, size_t count) {
    std::unique_lock<std::mutex> lock(mLock);
    mWritten.wait(lock, [this] { return mWriteCount != mReadCount; });
    const size_t taken = std::min(count, mWriteCount - mReadCount);
    const size_t begin = slot(mReadCount);
    const size_t upToEnd = std::min(taken, mCapacity - begin);
    std::copy_n(&mData[begin], upToEnd, events);
    std::copy_n(&mData[0], taken - upToEnd, events + upToEnd);
    mReadCount += taken;
    return taken;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
