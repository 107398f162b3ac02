#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <vector>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

using V1_0::Event;

/**
 * Where sensor objects hand over what they read. The sub-HAL implements it; sensor objects borrow
 * it. A vector holds events of one sensor and stays the caller's.
 */
class ISensorsEventCallback {
  public:
    virtual ~ISensorsEventCallback() = default;

    /**
     * Forwards events to the proxy, under the proxy's wakelock when `wakeup` is true. Called on the
     * poll thread, and on a proxy thread by sensors that post an event for a request.
     */
    virtual void postEvents(const std::vector<Event>& events, bool wakeup) = 0;

    /** Writes events into the direct channels configured for their sensor. Poll thread only. */
    virtual void postDirectEvents(const std::vector<Event>& events) = 0;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
