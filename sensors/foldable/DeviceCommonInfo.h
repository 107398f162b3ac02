#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Which device this is, whether it stands in table mode, and which screen is active. */
class DeviceCommonInfo : public SensorBase {
  public:
    DeviceCommonInfo(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
