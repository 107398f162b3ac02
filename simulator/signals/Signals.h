#pragma once

#include "simulator/signals/SignalFunction.h"

// The signal functions that the profile table names, one per record layout.
namespace simulator::signals {

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

}  // namespace simulator::signals
