// Descriptors of the fast message queues: records of the right size, without queues.
#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>

namespace android::hardware {

enum MQFlavor : uint32_t {
    kSynchronizedReadWrite = 0x01,
    kUnsynchronizedWrite = 0x02,
};

/// One part of the queue's memory.
struct GrantorDescriptor {
    uint32_t flags = 0;
    uint32_t fdIndex = 0;
    uint32_t offset = 0;
    uint64_t extent = 0;
};

template <typename T, MQFlavor kFlavor>
struct MQDescriptor {
  private:
    [[maybe_unused]] hidl_vec<GrantorDescriptor> mGrantors;
    [[maybe_unused]] details::hidl_pointer<native_handle_t> mHandle;
    [[maybe_unused]] uint32_t mQuantum = 0;
    [[maybe_unused]] uint32_t mFlags = kFlavor;
};

template <typename T>
using MQDescriptorSync = MQDescriptor<T, kSynchronizedReadWrite>;

}  // namespace android::hardware
