#pragma once

#include <cstdint>

#include "sensors/Relaxed.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Base of the light sensors, which log the first records after each enable. */
template <typename Base>
class LogsFirstRecords : public Base {
  public:
    using Base::Base;

    int enable(int handle, bool on) override {
        if (on) logCount = 0;
        return Base::enable(handle, on);
    }

  protected:
    /** Whether to log one more record, up to `limit` of them. Counts it. */
    bool isLogged(int32_t limit) {
        const int32_t logged = logCount;
        if (logged >= limit) return false;
        logCount = logged + 1;
        return true;
    }

  private:
    // Reset on the proxy's threads, counted on the poll thread.
    Relaxed<int32_t> logCount = 0;
};

/**
 * A light figure as payload word. Clients know these figures as unsigned 64-bit numbers, so a
 * negative one arrives sign-extended and very large.
 */
inline float unsignedPayload(int64_t value) {
    return static_cast<float>(static_cast<uint64_t>(value));
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
