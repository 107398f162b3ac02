#pragma once

#include "simulator/DeviceProfile.h"

// A person walks, handles the device now and then, and opens and closes its covers. Each function
// is one record layout; values stay between two happenings, since a change is what gets reported.
namespace simulator::signals {

void step(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void stepCount(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void sequentialStep(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void gesture(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void ledCover(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void flipCover(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void backTap(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void drop(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void proximityRaw(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void pocketModeLite(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void pocketMode(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void pocketPosMode(const World&, const SensorSpec&, double seconds, RecordBuilder&);
void hubDebugger(const World&, const SensorSpec&, double seconds, RecordBuilder&);

}  // namespace simulator::signals
