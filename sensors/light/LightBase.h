#pragma once

#include <cstdint>
#include <utility>

#include "sensors/Relaxed.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Base of the light sensors that take part in the display's brightness control. */
class LightBase : public SensorBase {
  public:
    /**
     * What the display reports of itself, in lux except for the brightness. Fields are written one
     * by one on a proxy thread; the poll thread reads the dark threshold alone.
     */
    struct PmsInfo {
        Relaxed<int32_t> threshold_dark;  // below it the display counts as dark
        Relaxed<int32_t> threshold_bright;
        Relaxed<int32_t> brightness;
    };

    /** One per process: LightSensor's injection writes it, AutoBrightnessSensor reads it. */
    static inline PmsInfo pmsInfo;

    /** As SensorBase's; the plain device is the non-wake-up twin. */
    LightBase(const char* iioName, const char* tag, const char* displayName, SensorInfo info,
              ISensorsEventCallback* callback)
        : SensorBase(iioName, tag, displayName, std::move(info), callback, kPlainIsNonWakeUp) {}
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
