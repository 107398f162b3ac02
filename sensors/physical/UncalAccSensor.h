#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s² before bias correction, with the bias. */
class UncalAccSensor : public ScaledSensor<UncalibratedRecord<int16_t>> {
  public:
    UncalAccSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    /** For the second display's twin, which brings its own names. */
    UncalAccSensor(const char* iioName, const char* tag, const char* displayName,
                   const SensorInfo& info, ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
