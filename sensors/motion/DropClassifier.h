#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * How the device fell: a class of fall and its figures. Negative events are traces of the
 * accelerometer around a fall, which leave this class on debug builds alone.
 */
class DropClassifier : public SensorBase {
  public:
    DropClassifier(const SensorInfo& info, ISensorsEventCallback* callback);

    void readEvents() override;

    /** Notes for the whole process whether traces are delivered. Called once, at construction. */
    virtual void checkBuildType();
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
