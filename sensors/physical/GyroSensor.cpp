#include "sensors/physical/GyroSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

template struct Driver<GyroSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
