#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** A flip cover was opened or closed, with the figures that decided it. */
class FlipCoverDetector : public SensorBase {
  public:
    FlipCoverDetector(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
    /** Listed when the cover's status file can be opened as the catalogue is built. */
    bool isShownSensorList() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
