#pragma once

#include "simulator/RecordBuilder.h"
#include "simulator/SensorSpec.h"

namespace simulator {

class World;

/**
 * Writes one record's data for the moment `seconds` after the hub's start, everything except the
 * trailing 8-byte timestamp. Must depend on its arguments only, so that a seed gives one history.
 */
using SignalFunction = void(const World& world, const SensorSpec& spec, double seconds,
                            RecordBuilder& record);

// The signal functions that the table of sensors names, one per record layout.
namespace signals {

SignalFunction acceleration, rotationRate, magneticField, pressure, proximity, uncalMagneticField,
    uncalRotationRate, uncalAcceleration;

// The light chip under a lamp that is slowly turned up and down.
SignalFunction light, lightCct, autoBrightness, lightIr, lightSeamless;

// A person walks, handles the device now and then, and opens and closes its covers. Values stay
// between two happenings, since a change is what gets reported.
SignalFunction step, stepCount, sequentialStep, gesture, ledCover, flipCover, backTap, drop,
    proximityRaw, pocketModeLite, pocketMode, pocketPosMode, hubDebugger;

SignalFunction rotationVector, gameRotationVector, deviceOrientation;
SignalFunction stampOnly;  // a record that is nothing but its timestamp

// All follow one hinge, World::hingeAngle.
SignalFunction hingeAngle, lidAngleFusion, foldingStateLpm, angleSensorStatus, deviceCommonInfo,
    sarFolding;

}  // namespace signals
}  // namespace simulator
