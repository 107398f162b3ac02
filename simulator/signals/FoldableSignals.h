#pragma once

#include "simulator/DeviceProfile.h"

// All follow one hinge, World::hingeAngle.
namespace simulator::signals {

void hingeAngle(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void lidAngleFusion(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void foldingStateLpm(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void angleSensorStatus(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void deviceCommonInfo(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void sarFolding(const World&, const SensorSpec&, double seconds, RecordBuilder&);

}  // namespace simulator::signals
