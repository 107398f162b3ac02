#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "simulator/DeviceProfile.h"

namespace simulator {

/**
 * One IIO device with its buffer. The record device is a FIFO in packet mode, so that one read
 * gives one record and poll() tells the truth. A FIFO holds few packets, so the rest waits in
 * memory and moves up with every read. Not thread-safe by itself.
 */
class IioDevice {
  public:
    IioDevice(const DeviceProfile& profile, const SensorSpec& spec, int number);
    ~IioDevice();
    IioDevice(const IioDevice&) = delete;
    IioDevice& operator=(const IioDevice&) = delete;

    /** Opens the writing end of the FIFO that has been made at `path`. */
    bool attach(const std::string& path);

    const DeviceProfile& profile() const { return mProfile; }
    const SensorSpec& spec() const { return mSpec; }
    int handle() const { return mProfile.handle; }
    int number() const { return mNumber; }
    /** "/dev/iio:deviceN" */
    std::string devicePath() const;
    /** "/sys/bus/iio/devices/iio:deviceN/" and `attribute` */
    std::string attributePath(const std::string& attribute) const;

    /** Sets how many records fit; EBUSY when another length is asked for while enabled. */
    int setLength(int length);
    /** Starts with an empty buffer, or keeps what is queued when stopped. Repeating is harmless. */
    void setBufferEnabled(bool enabled);
    bool bufferEnabled() const { return mBufferEnabled; }
    bool everEnabled() const { return mEverEnabled; }

    /** Appends a record; false when the buffer is off (unless `force`) or full. */
    bool push(const std::string& record, bool force = false);
    /** Takes the first record through the reader's descriptor. The queue must not be empty.
     *  EINVAL for a buffer smaller than the record. */
    ssize_t take(int fd, void* buffer, size_t size);
    /** A read that had to wait has got the first record. */
    void taken();
    void drain();
    size_t queued() const { return mRecords.size(); }
    std::string dataAvailable() const;

    // State that faults and requests leave.
    std::optional<size_t> cutNext;
    std::optional<std::string> fixedDataAvailable;
    bool dropped = false;
    int openCount = 0;
    bool enabled = false;
    int64_t periodNs = 0;
    int64_t latencyNs = 0;

  private:
    void refill();

    const DeviceProfile mProfile;
    const SensorSpec mSpec;
    const int mNumber;
    int mFifo = -1;
    size_t mCapacity = 2;  // the kernel's length before anything is written
    int mLength = 2;
    bool mBufferEnabled = false;
    bool mEverEnabled = false;
    std::deque<std::string> mRecords;  // all that is queued
    size_t mInFifo = 0;                // how many of them, from the front, are in the FIFO
};

}  // namespace simulator
