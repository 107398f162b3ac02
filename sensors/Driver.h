#pragma once

// What the source of every driver needs: the base class, the log, and the way into the catalogue.

#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/Log.h"
#include "sensors/DriverFactory.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

template <typename Class>
std::unique_ptr<SensorBase> Driver<Class>::make(const SensorInfo& info,
                                                ISensorsEventCallback* callback) {
    return std::make_unique<Class>(info, callback);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
