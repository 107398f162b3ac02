#pragma once

#include <hardware/sensors.h>

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A bounded queue of events between any number of writing and reading threads. No thread may be
 * inside when it goes.
 */
class RingBuffer {
  public:
    /** @param capacity in events */
    explicit RingBuffer(size_t capacity);
    RingBuffer(const RingBuffer&) = delete;
    RingBuffer& operator=(const RingBuffer&) = delete;

    /** Appends as many of the events as there is room for, the first ones; returns how many. */
    size_t write(const sensors_event_t* events, size_t count);

    /** Waits for a first event, takes up to `count` events and returns how many. */
    size_t read(sensors_event_t* events, size_t count);

  private:
    /** Slot of a running count. */
    size_t slot(size_t position) const { return mCapacity == 0 ? position : position % mCapacity; }

    std::mutex mLock;
    std::condition_variable mWritten;
    const size_t mCapacity;
    const std::unique_ptr<sensors_event_t[]> mData;
    // Since construction; guarded by mLock. Their difference is what the queue holds.
    size_t mReadCount = 0;
    size_t mWriteCount = 0;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
