#pragma once

#include <cstddef>
#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The record that the hub's batch device takes. */
struct batch_config {
    int64_t timeout;  // maximum report latency in ns; 0 reports at once
    int64_t delay;    // sampling period in ns
    int32_t flag;     // always 0
    int32_t padding;  // always 0
};
// The request number announces 8 bytes, but the driver takes all 24.
static_assert(sizeof(batch_config) == 24 && offsetof(batch_config, flag) == 16);

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
