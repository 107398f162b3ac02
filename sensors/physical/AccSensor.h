#pragma once

#include "sensors/physical/ScaledSensor.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s², gravity included. */
class AccSensor : public ScaledSensor<VectorRecord> {
  public:
    AccSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    /** For the second display's twin, which brings its own names. */
    AccSensor(const char* iioName, const char* tag, const char* displayName, const SensorInfo& info,
              ISensorsEventCallback* callback);
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
