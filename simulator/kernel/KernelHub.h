#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/KnownSensors.h"
#include "simulator/kernel/module/hub_uapi.h"

namespace simulator {

/** A request to the module. */
struct KernelRequest {
    hub_node node;
    int handle;         ///< -1 if there is none or it is unreadable
    int error;          ///< errno of the refusal, 0 if accepted
    uint32_t number;    ///< of an ioctl; of a write, the file position
    bool on;            ///< enable files and buffers
    std::string bytes;  ///< what was written, or the record passed to the ioctl
};

/**
 * The simulated hub as a kernel module, for the program that simulates its hardware. One at a time;
 * construction and destruction reset the module.
 */
class KernelHub {
  public:
    using Milliseconds = std::chrono::milliseconds;

    KernelHub();
    ~KernelHub();
    KernelHub(const KernelHub&) = delete;
    KernelHub& operator=(const KernelHub&) = delete;

    /** False if the module is not loaded. */
    bool ok() const { return mFd >= 0; }

    // Devices. -------------------------------------------------------------------------------

    /** The device's number, or a negative errno. */
    int addDevice(int handle, const std::string& name, size_t recordSize);
    /** Writes the specification file of these sensors and adds their devices and the hub's own two.
     *  A size in `recordSizes` replaces a handle's usual one. */
    bool addSensors(const std::vector<SensorSpec>& sensors,
                    const std::map<int, size_t>& recordSizes = {});
    bool unplug(int handle);

    int number(int handle) const;
    /** "/dev/iio:deviceN" */
    std::string devicePath(int handle) const;
    /** "/sys/bus/iio/devices/iio:deviceN/" and `attribute`, for example "buffer/length". */
    std::string attributePath(int handle, const std::string& attribute) const;
    hub_state state(int handle) const;

    // Records. -------------------------------------------------------------------------------

    /** Pushes consecutive records; how many the device's buffer took, or a negative errno. */
    int push(int handle, const std::string& records, size_t count = 1);
    /**
     * Pushes `count` copies of `record` at an even rate, `perTick` at a time, numbered from 1 in
     * the eight bytes at `stampOffset`. A count of 0 ends a stream.
     */
    bool stream(int handle, const std::string& record, size_t stampOffset, uint64_t count,
                std::chrono::nanoseconds period, unsigned perTick = 1);

    // Files and requests. --------------------------------------------------------------------

    bool setFile(hub_node node, const std::string& bytes);

    /** The next request; none on time-out or if requests were lost. */
    std::optional<KernelRequest> nextRequest(Milliseconds timeout = Milliseconds(0));
    /** All requests since the last call. */
    std::vector<KernelRequest> takeRequests();

  private:
    int mFd = -1;
    std::map<int, int> mNumbers;
};

}  // namespace simulator
