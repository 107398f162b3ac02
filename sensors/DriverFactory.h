#pragma once

#include <memory>

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * What the catalogue knows of a driver class. The class itself stays in its source, which includes
 * Driver.h and ends in `template struct Driver<Class>;`.
 */
template <typename Class>
struct Driver {
    /** @param info the catalogue's record. @param callback where events go; borrowed */
    static std::unique_ptr<SensorBase> make(const SensorInfo& info,
                                            ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
