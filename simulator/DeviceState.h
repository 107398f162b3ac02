#pragma once

#include <cstddef>
#include <cstdint>

namespace simulator {

/** What requests have left of one sensor and its device. */
struct DeviceState {
    int number = -1;             ///< of "/dev/iio:deviceN"; -1 for a handle without device
    bool enabled = false;        ///< by the hub's enable file
    bool bufferEnabled = false;  ///< by the device's buffer/enable
    int64_t periodNs = 0;
    int64_t latencyNs = 0;
    size_t queued = 0;  ///< records not yet read
};

}  // namespace simulator
