#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The device was moved, which may end a reduction of the radio's power. */
class SarBackoffMotion : public SensorBase {
  public:
    SarBackoffMotion(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
    /** Sub-command 0 sends payload word 2 to the hub; -EINVAL for any other. */
    int injectSensorData(const Event& event) override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
