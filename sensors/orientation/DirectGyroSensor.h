#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Rate of rotation in rad/s for image stabilisation. Its clients read from shared memory, so every
 * event, the flush-complete one included, goes to the proxy first and then to the direct channels.
 */
class DirectGyroSensor : public SensorBase {
  public:
    void readEvents() override;

  protected:
    /** Takes the member's names, see SensorBase; the tag also names its flush line. */
    DirectGyroSensor(const char* iioName, const char* tag, const char* displayName,
                     const SensorInfo& info, ISensorsEventCallback* callback);

  private:
    const float mScale;  // rad/s per count, as the hub gives it
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
