// Descriptors of the fast message queues: names only, no queue stands behind them.
#pragma once

#include <cstdint>

namespace android::hardware {

enum MQFlavor : uint32_t {
    kSynchronizedReadWrite = 0x01,
    kUnsynchronizedWrite = 0x02,
};

template <typename T, MQFlavor kFlavor>
struct MQDescriptor {};

template <typename T>
using MQDescriptorSync = MQDescriptor<T, kSynchronizedReadWrite>;

}  // namespace android::hardware
