#pragma once

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "simulator/KnownSensors.h"
#include "simulator/TempTree.h"

namespace simulator {

/** State of one sensor and its device. */
struct DeviceState {
    int number = -1;       ///< of "/dev/iio:deviceN"; -1 for a handle without device
    bool enabled = false;  ///< by the hub's enable file
    int64_t periodNs = 0;
    int64_t latencyNs = 0;
    size_t queued = 0;  ///< unread records
};

/**
 * One IIO device with its buffer. The record device is a FIFO in packet mode that has one packet
 * per record while the buffer is ready to be read, so that poll() works; a FIFO holds few packets,
 * so the other records wait in memory. Not thread-safe.
 */
class IioDevice {
  public:
    /** Makes the record device in the tree. */
    IioDevice(const KnownSensor& known, const SensorSpec& spec, int number, const TempTree& tree);
    ~IioDevice();
    IioDevice(const IioDevice&) = delete;
    IioDevice& operator=(const IioDevice&) = delete;

    const KnownSensor& known() const { return mKnown; }
    const SensorSpec& spec() const { return mSpec; }
    int handle() const { return mSpec.handle; }
    std::string devicePath() const;
    std::string attributePath(const std::string& attribute) const;

    // The buffer's attributes; 0 or an errno. ------------------------------------------------

    int setLength(uint32_t length);
    int setWatermark(uint32_t watermark);
    /** Enabling empties the buffer; disabling keeps what is queued. */
    int setBufferEnabled(bool enabled);
    std::string lengthText() const { return std::to_string(mLength) + "\n"; }
    std::string watermarkText() const { return std::to_string(mWatermark) + "\n"; }
    std::string bufferEnabledText() const { return mBufferEnabled ? "1\n" : "0\n"; }
    std::string dataAvailableText() const;

    /** Appends a record; false when the buffer is off (unless `force`), full or gone. */
    bool push(const std::string& record, bool force = false);
    /** Takes as many whole records as fit; -EINVAL if the first does not. One must be queued. */
    ssize_t take(void* buffer, size_t size);
    size_t queued() const { return mRecords.size(); }
    /** Whether poll() reports the device. */
    bool isReadable() const { return mInFifo > 0; }
    bool wasEverEnabled() const { return mEverEnabled; }

    /** Unregisters the device and drops all that is queued. */
    void remove();
    bool isRemoved() const { return mRemoved; }

    // Set by faults and requests.
    std::optional<size_t> cutNext;
    std::optional<std::string> fixedDataAvailable;
    int openCount = 0;
    int waitingReads = 0;
    DeviceState state;  // without the number of unread records

  private:
    /** Brings the FIFO in line with the queue and the watermark. */
    void settle();

    const KnownSensor& mKnown;
    const SensorSpec mSpec;
    const int mFifo;
    uint32_t mLength = 2;  // the kernel's default
    uint32_t mWatermark = 1;
    bool mBufferEnabled = false;
    bool mEverEnabled = false;
    bool mRemoved = false;
    std::deque<std::string> mRecords;  // all that is queued
    size_t mInFifo = 0;                // how many of them have a packet in the FIFO
};

}  // namespace simulator
