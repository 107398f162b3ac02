#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Rate of rotation in rad/s before drift correction, with the drift. */
class UncalGyroSensor : public ScaledSensor<UncalibratedRecord<int16_t>> {
  public:
    UncalGyroSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    /** For the second display's twin, which brings its own names. */
    UncalGyroSensor(const char* iioName, const char* tag, const char* displayName,
                    const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
