// The interface between the multi-HAL proxy and the sub-HALs that it loads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <V2_0/ScopedWakelock.h>
#include <android/hardware/sensors/1.0/types.h>
#include <android/hardware/sensors/2.0/ISensors.h>
#include <android/hardware/sensors/2.0/ISensorsCallback.h>

/// What sensorsHalGetSubHal() reports for this version of the interface.
#define SUB_HAL_2_0_VERSION 0x02000000

namespace android::hardware::sensors::V2_0::implementation {

using ::android::hardware::sensors::V1_0::Event;
using ::android::hardware::sensors::V1_0::OperationMode;
using ::android::hardware::sensors::V1_0::RateLevel;
using ::android::hardware::sensors::V1_0::Result;
using ::android::hardware::sensors::V1_0::SensorInfo;
using ::android::hardware::sensors::V1_0::SharedMemInfo;

/// The proxy, as a sub-HAL sees it. Any thread may call. Declaration order is virtual-table order.
class IHalProxyCallback : public ISensorsCallback {
  public:
    /// Passes events on. The wakelock must be locked when one of them is of a wake-up sensor.
    virtual void postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) = 0;

    /// lock: true when the events to be posted include one of a wake-up sensor.
    virtual ScopedWakelock createScopedWakelock(bool lock) = 0;
};

/// A sub-HAL, as the proxy sees it. Declaration order is virtual-table order here too.
class ISensorsSubHal : public ISensors {
  public:
    /// The message queues are the proxy's business, so this form is refused here for good. An
    /// implementation needs "using ISensorsSubHal::initialize;" to keep it from being hidden.
    Return<Result> initialize(const MQDescriptorSync<Event>& /*eventQueueDescriptor*/,
                              const MQDescriptorSync<uint32_t>& /*wakeLockDescriptor*/,
                              const sp<ISensorsCallback>& /*sensorsCallback*/) final {
        return Result::INVALID_OPERATION;
    }

    /// Writes the sub-HAL's state to the handle's descriptor; each sub-HAL implements it.
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override = 0;

    /// A short unique name, for messages.
    virtual const std::string getName() = 0;

    /// Called when the framework starts, and again each time it restarts; the callback replaces
    /// any earlier one.
    virtual Return<Result> initialize(const sp<IHalProxyCallback>& halProxyCallback) = 0;
};

}  // namespace android::hardware::sensors::V2_0::implementation

/// The one function that a sub-HAL library exports. Stores the interface version; the object
/// stays the library's and is the same at every call.
extern "C" __attribute__((visibility("default")))
android::hardware::sensors::V2_0::implementation::ISensorsSubHal*
sensorsHalGetSubHal(uint32_t* version);
