#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "simulator/DeviceState.h"
#include "simulator/KnownSensors.h"

namespace simulator {

/**
 * One IIO device with its buffer. The record device is a FIFO in packet mode that shows each record
 * as a packet while the buffer is ready to be read, so that poll() tells the truth; a FIFO holds
 * few packets, so the rest waits in memory and moves up with every read. Not thread-safe by itself.
 */
class IioDevice {
  public:
    IioDevice(const KnownSensor& known, const SensorSpec& spec, int number);
    ~IioDevice();
    IioDevice(const IioDevice&) = delete;
    IioDevice& operator=(const IioDevice&) = delete;

    /** Opens the writing end of the FIFO that has been made at `path`. */
    bool attach(const std::string& path);

    const KnownSensor& known() const { return mKnown; }
    const SensorSpec& spec() const { return mSpec; }
    int handle() const { return mSpec.handle; }
    std::string devicePath() const;
    std::string attributePath(const std::string& attribute) const;
    DeviceState state() const;

    /** How the buffer's attributes answer a write of a value: 0 or an errno. */
    int setLength(uint32_t length);
    int setWatermark(uint32_t watermark);
    /** Starts with an empty buffer, or keeps what is queued when stopped. Repeating is harmless. */
    int setBufferEnabled(bool enabled);
    std::string lengthText() const { return std::to_string(mLength) + "\n"; }
    std::string watermarkText() const { return std::to_string(mWatermark) + "\n"; }
    std::string bufferEnabledText() const { return mBufferEnabled ? "1\n" : "0\n"; }
    std::string dataAvailableText() const;

    /** Appends a record; false when the buffer is off (unless `force`), full or gone. */
    bool push(const std::string& record, bool force = false);
    /** Takes as many whole records as fit, at least one of the queued. EINVAL for a buffer smaller
     *  than the first. */
    ssize_t take(void* buffer, size_t size);
    size_t queued() const { return mRecords.size(); }
    /** poll() reports the device. */
    bool isReadable() const { return mInFifo > 0; }
    bool wasEverEnabled() const { return mEverEnabled; }

    /** Takes the device away, with all that is queued. */
    void remove();
    bool isRemoved() const { return mRemoved; }

    // State that faults and requests leave.
    std::optional<size_t> cutNext;
    std::optional<std::string> fixedDataAvailable;
    int openCount = 0;
    int waitingReads = 0;
    bool enabled = false;
    int64_t periodNs = 0;
    int64_t latencyNs = 0;

  private:
    void emptyFifo();
    /** Makes the FIFO show what poll() is to see. */
    void settle();

    const KnownSensor& mKnown;
    const SensorSpec mSpec;
    const int mNumber;
    int mFifo = -1;
    uint32_t mLength = 2;  // the kernel's, before anything is written
    uint32_t mWatermark = 1;
    bool mBufferEnabled = false;
    bool mEverEnabled = false;
    bool mRemoved = false;
    std::deque<std::string> mRecords;  // all that is queued
    size_t mInFifo = 0;                // how many of them, from the front, are in the FIFO
};

}  // namespace simulator
