#include <V2_0/SubHal.h>

#include "subhal/SensorsSubHal.h"

using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorsSubHal;

/**
 * The library's one exported function: the single sub-HAL object. The first call builds it; any
 * thread may call, and calls that meet wait for the builder.
 *
 * @param version receives the sub-HAL interface's version; must not be null
 * @return never null; stays the library's and lives until the process ends or the library is
 *         unloaded
 */
extern "C" __attribute__((visibility("default"))) ISensorsSubHal* sensorsHalGetSubHal(
    uint32_t* version) {
    static SensorsSubHal subHal;
    *version = SUB_HAL_2_0_VERSION;
    return &subHal;
}
