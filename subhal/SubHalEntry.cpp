#include <V2_0/SubHal.h>

#include "subhal/SensorsSubHal.h"

using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorsSubHal;

/** The library's one exported function: the single sub-HAL object, which lives to process exit. */
extern "C" __attribute__((visibility("default"))) ISensorsSubHal* sensorsHalGetSubHal(
    uint32_t* version) {
    static SensorsSubHal subHal;
    *version = SUB_HAL_2_0_VERSION;
    return &subHal;
}
