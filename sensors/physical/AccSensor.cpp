#include "sensors/physical/AccSensor.h"

#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

template struct Driver<AccSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
