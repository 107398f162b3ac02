#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Acceleration in m/s² before bias correction, with the bias. */
class UncalAccSensor : public SensorBase {
  public:
    UncalAccSensor(const SensorInfo& info, ISensorsEventCallback* callback);
    /** For the second display's twin, which brings its own names. */
    UncalAccSensor(const char* iioName, const char* tag, const char* displayName,
                   const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

  private:
    const float mScale;  // physical unit per count, as the hub gives it
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
