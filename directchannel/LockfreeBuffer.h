#pragma once

#include <hardware/sensors.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Writes events into a memory region that a reader in another process polls, as a ring of 104-byte
 * records.
 *
 * Bytes 12 to 15 of a record hold a counter. 0 marks a slot that was never written; every record
 * carries one more than the record before it, whatever its slot. The counter is stored after the
 * body, between two full barriers: a body is complete when its counter shows, and its slot is taken
 * again only after the slot before it shows the next round's counter. The writer never waits;
 * readers see from the counters what they missed.
 *
 * Not synchronised: one thread writes at a time.
 */
class LockfreeBuffer {
  public:
    /**
     * Zeroes the whole region.
     *
     * @param base aligned to 4 bytes; borrowed, must outlive this object
     * @param bytes size of the region; what is left behind its last whole slot is never written
     */
    LockfreeBuffer(void* base, size_t bytes)
        : mData(static_cast<uint8_t*>(base)), mSize(bytes / kRecordSize) {
        memset(mData, 0, bytes);
    }
    LockfreeBuffer(const LockfreeBuffer&) = delete;
    LockfreeBuffer& operator=(const LockfreeBuffer&) = delete;

    /** Zeroes every slot. */
    ~LockfreeBuffer() { memset(mData, 0, mSize * kRecordSize); }

    /** Appends `count` events, over the oldest ones; does nothing without slots. */
    void write(const sensors_event_t* events, size_t count) {
        if (mSize == 0) return;
        for (size_t i = 0; i < count; ++i)
            writeRecord(events[i]);
    }

  private:
    static constexpr size_t kRecordSize = sizeof(sensors_event_t);
    static constexpr size_t kCounterOffset = offsetof(sensors_event_t, reserved0);
    static constexpr size_t kBodyOffset = offsetof(sensors_event_t, timestamp);
    // Readers are built from other sources: the layout is fixed.
    static_assert(kRecordSize == 104 && kCounterOffset == 12 && kBodyOffset == 16);

    void writeRecord(const sensors_event_t& event) {
        const auto* source = reinterpret_cast<const uint8_t*>(&event);
        uint8_t* slot = mData + mWritePos * kRecordSize;
        memcpy(slot, source, kCounterOffset);
        memcpy(slot + kBodyOffset, source + kBodyOffset, kRecordSize - kBodyOffset);

        auto* counter = reinterpret_cast<uint32_t*>(slot + kCounterOffset);
        std::atomic_thread_fence(std::memory_order_seq_cst);
        // The fences order the store; release only says so to race detectors.
        __atomic_store_n(counter, mCounter++, __ATOMIC_RELEASE);
        std::atomic_thread_fence(std::memory_order_seq_cst);

        if (++mWritePos == mSize) mWritePos = 0;
    }

    uint8_t* const mData;  // slot 0
    const size_t mSize;    // in slots
    size_t mWritePos = 0;  // slot of the next record
    uint32_t mCounter = 1;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
