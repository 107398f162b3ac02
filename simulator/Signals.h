#pragma once

#include "simulator/DeviceProfile.h"

// The signal functions that the profile table names, one per record layout.
namespace simulator::signals {

void acceleration(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void rotationRate(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void magneticField(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void pressure(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void proximity(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void uncalMagneticField(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void uncalRotationRate(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void uncalAcceleration(const World&, const SensorSpec&, double seconds, RecordBuilder&);

}  // namespace simulator::signals
