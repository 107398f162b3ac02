#include "directchannel/RingBuffer.h"

#include <algorithm>
#include <ctime>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

class Locked {
  public:
    explicit Locked(pthread_mutex_t* mutex) : mMutex(mutex) { pthread_mutex_lock(mMutex); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { pthread_mutex_unlock(mMutex); }

  private:
    pthread_mutex_t* const mMutex;
};

}  // namespace

RingBuffer::RingBuffer(size_t capacity)
    : mCapacity(capacity), mData(std::make_unique<sensors_event_t[]>(capacity)) {
    pthread_mutex_init(&mLock, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&mWritten, &attributes);
    pthread_condattr_destroy(&attributes);
}

RingBuffer::~RingBuffer() {
    pthread_cond_destroy(&mWritten);
    pthread_mutex_destroy(&mLock);
}

size_t RingBuffer::write(const sensors_event_t* events, size_t count) {
    const Locked locked(&mLock);
    const bool wasEmpty = mWriteCount == mReadCount;
    const size_t taken = std::min(count, mCapacity - (mWriteCount - mReadCount));
    const size_t begin = slot(mWriteCount);
    const size_t upToEnd = std::min(taken, mCapacity - begin);
    std::copy_n(events, upToEnd, &mData[begin]);
    std::copy_n(events + upToEnd, taken - upToEnd, &mData[0]);
    mWriteCount += taken;
    if (wasEmpty && taken > 0) pthread_cond_broadcast(&mWritten);
    return taken;
}

size_t RingBuffer::read(sensors_event_t* events, size_t count) {
    const Locked locked(&mLock);
    while (mWriteCount == mReadCount)
        pthread_cond_wait(&mWritten, &mLock);
    const size_t taken = std::min(count, mWriteCount - mReadCount);
    const size_t begin = slot(mReadCount);
    const size_t upToEnd = std::min(taken, mCapacity - begin);
    std::copy_n(&mData[begin], upToEnd, events);
    std::copy_n(&mData[0], taken - upToEnd, events + upToEnd);
    mReadCount += taken;
    return taken;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
