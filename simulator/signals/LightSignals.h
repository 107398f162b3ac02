#pragma once

#include "simulator/DeviceProfile.h"

// The light chip under a lamp that is slowly turned up and down.
namespace simulator::signals {

void light(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void lightCct(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void autoBrightness(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void lightIr(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void lightSeamless(const World&, const SensorSpec&, double seconds, RecordBuilder&);

}  // namespace simulator::signals
