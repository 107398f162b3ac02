#pragma once

#include "simulator/DeviceProfile.h"

namespace simulator::signals {

void rotationVector(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void gameRotationVector(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void deviceOrientation(const World&, const SensorSpec&, double seconds, RecordBuilder&);
/** A record that is nothing but its timestamp. */
void stampOnly(const World&, const SensorSpec&, double seconds, RecordBuilder&);

}  // namespace simulator::signals
