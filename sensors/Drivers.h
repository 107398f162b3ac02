#pragma once

#include <memory>

#include "sensors/SensorBase.h"

/** What the catalogue knows of each driver: the function at the end of its source. */
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** @param info the catalogue's record. @param callback where events go; borrowed */
using DriverFactory = std::unique_ptr<SensorBase>(const SensorInfo& info,
                                                  ISensorsEventCallback* callback);

// sensors/physical
DriverFactory makeAccSensor;
DriverFactory makeAccSubSensor;
DriverFactory makeGyroSensor;
DriverFactory makeGyroSubSensor;
DriverFactory makeMagneticSensor;
DriverFactory makePressureSensor;
DriverFactory makeProximitySensor;
DriverFactory makeUncalAccSensor;
DriverFactory makeUncalAccSubSensor;
DriverFactory makeUncalGyroSensor;
DriverFactory makeUncalGyroSubSensor;
DriverFactory makeUncalMagneticSensor;

// sensors/light
DriverFactory makeAutoBrightnessSensor;
DriverFactory makeLightCCT_Sensor;
DriverFactory makeLightSeamless_Sensor;
DriverFactory makeLightSensor;
DriverFactory makeLight_IR_Sensor;

// sensors/motion
DriverFactory makeBackTap;
DriverFactory makeCallGesture;
DriverFactory makeDropClassifier;
DriverFactory makeFlipCoverDetector;
DriverFactory makeHubDebuggerSensor;
DriverFactory makeLedCoverEventSensor;
DriverFactory makePickupGesture;
DriverFactory makePocketModeLiteSensor;
DriverFactory makePocketModeSensor;
DriverFactory makePocketPosModeSensor;
DriverFactory makeProTosMotion;
DriverFactory makeProximityRawSensor;
DriverFactory makeSarBackoffMotion;
DriverFactory makeSequentialStep;
DriverFactory makeSigMotionSensor;
DriverFactory makeStepCounterSensor;
DriverFactory makeStepDetectorSensor;
DriverFactory makeTiltDetector;
DriverFactory makeWakeUpMotion;

// sensors/orientation
DriverFactory makeAoisSensor;
DriverFactory makeDeviceOrientation;
DriverFactory makeGameRotationVector;
DriverFactory makeIntGyroSensor;
DriverFactory makeRotationVector;
DriverFactory makeStillwaveGyroSensor;
DriverFactory makeVdisGyroSensor;

// sensors/foldable
DriverFactory makeAngleSensorStatus;
DriverFactory makeDeviceCommonInfo;
DriverFactory makeFoldingAngle;
DriverFactory makeFoldingStateLpm;
DriverFactory makeHingeAngle;
DriverFactory makeLidAngleFusion;
DriverFactory makeSarFolding;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
