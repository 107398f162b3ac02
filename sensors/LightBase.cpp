#include "sensors/LightBase.h"

#include <utility>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

LightBase::PmsInfo LightBase::pmsInfo;

LightBase::LightBase(const char* iioName, const char* tag, const char* displayName, SensorInfo info,
                     ISensorsEventCallback* callback, bool)
    : SensorBase(iioName, tag, displayName, std::move(info), callback, false) {}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
