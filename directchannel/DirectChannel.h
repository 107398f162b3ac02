#pragma once

#include <cutils/native_handle.h>
#include <hardware/sensors.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "directchannel/LockfreeBuffer.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * A memory region that a client shares with the sub-HAL, and the writer into it.
 *
 * Construction maps the region and zeroes it; ask isValid() for success. Destruction zeroes the
 * records before it lets go of the region. Not synchronised.
 */
class DirectChannelBase {
  public:
    DirectChannelBase() = default;
    DirectChannelBase(const DirectChannelBase&) = delete;
    DirectChannelBase& operator=(const DirectChannelBase&) = delete;
    virtual ~DirectChannelBase() = default;

    /** Whether `mem` describes the region that this channel already uses. */
    virtual bool memoryMatches(const sensors_direct_mem_t* mem) const = 0;

    bool isValid() const { return mBuffer != nullptr; }

    /** Why construction failed, a negative errno. Says nothing about a valid channel. */
    int32_t getError() const { return mError; }

    /** Appends one event; does nothing on an invalid channel. */
    void write(const sensors_event_t* event) {
        if (mBuffer != nullptr) mBuffer->write(event, 1);
    }

  protected:
    int32_t mError = -ENODEV;
    std::unique_ptr<LockfreeBuffer> mBuffer;  // absent until the region is mapped
    size_t mSize = 0;                         // of the region, in bytes
    void* mBase = nullptr;  // of the region; null when not mapped, MAP_FAILED for one of no bytes
};

/**
 * A channel in anonymous shared memory. getError() stays -ENODEV on a valid channel.
 *
 * Takes over the region's descriptor without duplicating it, and closes it at destruction in every
 * case: after a failed construction too, and descriptor 0 when the handle had none to give.
 */
class AshmemDirectChannel : public DirectChannelBase {
  public:
    /** @param mem borrowed for the call; its handle's first word is the descriptor */
    explicit AshmemDirectChannel(const sensors_direct_mem_t* mem);
    ~AshmemDirectChannel() override;

    /** Always false: two registrations are never taken as the same region. */
    bool memoryMatches(const sensors_direct_mem_t*) const override { return false; }

  private:
    int32_t mAshmemFd = 0;
};

/** A channel in a graphics buffer. getError() is 0 on a valid channel. */
class GrallocDirectChannel : public DirectChannelBase {
  public:
    /** @param mem borrowed for the call; the channel works on a clone of its handle */
    explicit GrallocDirectChannel(const sensors_direct_mem_t* mem);
    ~GrallocDirectChannel() override;

    /** Whether both handles have the same backing store; false where that is unknown. */
    bool memoryMatches(const sensors_direct_mem_t* mem) const override;

  private:
    native_handle_t* mNativeHandle = nullptr;  // owned; null when cloning failed
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
