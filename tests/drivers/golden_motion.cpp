#include "tests/drivers/Golden.h"

namespace golden {

namespace {

/** Drivers that pass on one event code. */
DriverRow eventCodeRow(DriverRow row, const char* dataLine, LogLine metaLine) {
    row.on("data", byteRecord(200, kTime), data(kTime, {200.0F}), {info(dataLine)});
    return row.flushMarker(byteRecord(5, 0), {std::move(metaLine)});
}

DriverRow sigMotionRow() {
    DriverRow row("SigMotionSensor", 17, kWakeUp, "Significant Motion", 17, "", "", 4,
                  "SIgMotionSensor :");
    row.on("data", byteRecord(200, 9), data(kNow, {200.0F}),
           {info("SigMotionSensor: event = 200, time = %NOW%")});
    return row.on("no flush marker", byteRecord(0, 0), data(kNow, {0.0F}),
                  {info("SigMotionSensor: event = 0, time = %NOW%")});
}

DriverRow stepDetectorRow() {
    DriverRow row("StepDetectorSensor", 18, kNonWakeUp, "Step Detector", 18, "", "", 6,
                  "Step detector :");
    row.on("data", byteRecord(200, kTime), data(kTime, {200.0F}));
    row.on("event without timestamp", byteRecord(5, 0), data(0, {5.0F}));
    row.on("timestamp without event", byteRecord(0, 7), data(7, {0.0F}));
    return row.flushMarker(byteRecord(0, 0), {error("StepDetectorSensor: Meta event")});
}

DriverRow stepCounterRow() {
    const auto record = [](uint64_t steps, uint64_t timestamp) {
        return rec().u32(0xDEADBEEF).u64(steps).u64(timestamp).bytes();
    };
    DriverRow row("StepCounterSensor", 19, kNonWakeUp, "Step Counter", 19, "", "", 2,
                  "StepCounterSensor: ");
    row.on("beyond a float", record((1ULL << 40) + 1, kTime), data(kTime, {1U, 0x100U}),
           {info("StepCounterSensor - 1099511627777")});
    row.on("unsigned", record(~0ULL, 8), data(8, {0xFFFFFFFFU, 0xFFFFFFFFU}),
           {info("StepCounterSensor - 18446744073709551615")});
    return row.flushMarker(record(7, 0),
                           {info("StepCounterSensor - 7"), error("StepCounterSensor: Meta event")});
}

DriverRow pickupRow() {
    DriverRow row("PickupGesture", 25, kWakeUp, "Pick Up Gesture", 25, "", "", 4,
                  "PickupGesture :");
    row.on("data", byteRecord(200, kTime), data(kTime, {200.0F}),
           {info("PickupGesture: event = 200, time = 1234605616436508552")});
    return row.on("no flush marker", byteRecord(0, 0), data(0, {0.0F}),
                  {info("PickupGesture: event = 0, time = 0")});
}

DriverRow proximityRawRow() {
    const auto record = [](uint64_t timestamp) {
        return rec().i16(-1).i16(2).i16(3).i16(-4).i16(5).i16(-6).u64(timestamp).bytes();
    };
    DriverRow row("ProximityRawSensor", 29, kNonWakeUp, "Proximity Raw Sensor", 65582,
                  "com.tavrine.sensor.proximity_alert", kQSensor, 2, "ProximityRawSensor :");
    row.on("second field first", record(kTime),
           data(kTime, {2.0F, -1.0F, 3.0F, -4.0F, 5.0F, -6.0F}),
           {info("ProximityRawSensor - prox(2),raw(-1),callmin(3),baseline(-4),psoff(5),ir(-6)")});
    return row.flushMarker(record(0), {error("ProximityRawSensor : Meta event")});
}

DriverRow pocketModeLiteRow() {
    DriverRow row("PocketModeLiteSensor", 39, kNonWakeUp, "Pocket Mode Lite", 65608,
                  "com.tavrine.sensor.pocket_mode", "", 2, "PocketModeLiteSensor :");
    row.on("data", rec().u8(200).i32(-5).u64(kTime).bytes(), data(kTime, {200.0F, -5.0F}),
           {info("PocketModeLiteSensor - 200, -5")});
    return row.flushMarker(rec().u8(1).i32(2).u64(0).bytes(),
                           {error("PocketModeLiteSensor : Meta event")});
}

DriverRow pocketModeRow() {
    const auto record = [](uint64_t timestamp) {
        auto built = rec().u8(200).u8(129);
        for (const uint32_t word : {0xFFFFFFFFU, 0x80000000U, 3U, 4U, 5U, 0x80000100U, 7U, 8U, 9U,
                                    10U, 11U, 12U, 13U, 14U}) {
            built.u32(word);
        }
        return built.u64(timestamp).bytes();
    };
    DriverRow row("PocketModeSensor", 45, kNonWakeUp, "Pocket Mode", 65605,
                  "com.tavrine.sensor.pocket_mode", kQSensor, 2, "PocketModeSensor :");
    row.on("unsigned in the payload, signed in the log", record(kTime),
           data(kTime, {200.0F, 129.0F, 0x1p32F, 0x1p31F, 3.0F, 4.0F, 5.0F, 0x1.000002p31F, 7.0F,
                        8.0F, 9.0F, 10.0F, 11.0F, 12.0F, 13.0F, 14.0F}),
           {info("PocketMode: event = 200, reason = 129, base = -1 current = -2147483648 "
                 "temp = -2147483392 time = 1234605616436508552")});
    return row.flushMarker(record(0), {error("PocketModeSensor : Meta event")});
}

DriverRow pocketPosModeRow() {
    const auto record = [](uint64_t timestamp) {
        const auto states = rec().u8(200).u8(129).u32(0x80000000).u8(255).u32(0xFFFFFFFF).u32(3);
        return states.bytes() + rec().u64(timestamp).bytes();
    };
    DriverRow row("PocketPosModeSensor", 46, kNonWakeUp, "Pocket Position Mode", 65698,
                  "com.tavrine.sensor.pocket_pos_mode", kQSensor, 2, "PocketPosModeSensor :");
    row.on("unsigned in the payload, signed in the log", record(kTime),
           data(kTime, {200.0F, 129.0F, 0x1p31F, 255.0F, 0x1p32F, 3.0F}),
           {info("PocketPosMode: totalState = 200, positionState = 129, positionCase = "
                 "-2147483648 pedoState = 255pedoCase = -1 version = 3 "
                 "time = 1234605616436508552")});
    return row.flushMarker(record(0), {error("PocketPosModeSensor : Meta event")});
}

DriverRow flipCoverRow() {
    const auto record = [](uint8_t event, uint64_t timestamp) {
        const auto magnetic = rec().u8(event).u8(7).i32(1000000).i32(-2).i32(3).i32(-4);
        return magnetic.bytes() + vectorRecord(5, -6, 7, timestamp);
    };
    DriverRow row("FlipCoverDetector", 42, kWakeUp, "Flip Cover Detector", 65639,
                  "com.tavrine.sensor.flip_cover_detector", kQSensor, 2, "FlipCoverDetector :");
    row.on("data", record(0xFD, kTime),
           data(kTime, {-3.0F, 7.0F, 1000000.0F, -2.0F, 3.0F, -4.0F, 5.0F, -6.0F, 7.0F}),
           {info("FlipCoverDetector: event = -3, 7, 1000000, -2, 3, -4, 5, -6, 7, "
                 "time = 1234605616436508552")});
    row.on("silent record", record(100, 9), {});
    row.on("silent record without timestamp", record(100, 0), {});
    row.flushMarker(record(5, 0), {error("FlipCoverDetector: Meta event")});
    row.shown = false;  // the bench's hub has no cover
    return row;
}

DriverRow sequentialStepRow() {
    DriverRow row("SequentialStep", 47, kNonWakeUp, "Sequential Step", 65647,
                  "com.tavrine.sensor.seq_step", kQSensor, 2, "SequentialStep :");
    row.on("data", intRecord(-7, kTime), data(kTime, {-7.0F, 0.0F, 0.0F, kAccuracyHigh}));
    return row.flushMarker(intRecord(7, 0), {error("SequentialStep : Meta event")});
}

DriverRow hubDebuggerRow() {
    const auto record = [](std::string text, uint64_t timestamp) {
        text.resize(256);
        return text + rec().u64(timestamp).bytes();
    };
    const std::string longText(256, 'x');
    DriverRow row("HubDebuggerSensor", 53, kNonWakeUp, "Hub Debugger", 65642,
                  "com.tavrine.sensor.hub_debugger", "", 0, "HubDebuggerSensor :");
    row.on("text", record("hub %d awake", kTime), {},
           {info("HubDebuggerSensor: hub %d awake, time = 1234605616436508552")});
    row.on("text that fills its field", record(longText, 65), {},
           {info("HubDebuggerSensor: " + longText + ", time = 65")});
    row.on("flush marker is swallowed", record("text", 0), {});
    row.shown = false;
    return row;
}

DriverRow dropClassifierRow() {
    const auto record = [](uint8_t event, uint64_t timestamp) {
        return rec().u8(event).i32(1).i32(-2).i32(3).i32(-4).i32(5).i32(-6).u64(timestamp).bytes();
    };
    DriverRow row("DropClassifier", 57, kWakeUp, "Drop Classifier", 65644,
                  "com.tavrine.sensor.drop_classifier", kQSensor, 2, "DropClassifier :");
    row.on("drop", record(4, kTime), data(kTime, {4.0F, 1.0F, -2.0F, 3.0F, -4.0F, 5.0F, -6.0F}),
           {info("DropClassifier: Drop Event = 4, 1, time = 1234605616436508552")});
    row.on("drop of class 0", record(0, 7), data(7, {0.0F, 1.0F, -2.0F, 3.0F, -4.0F, 5.0F, -6.0F}),
           {info("DropClassifier: Drop Event = 0, 1, time = 7")});
    row.on("trace on a user build", record(0xFF, 8), {},
           {{'D', "DropClassifier: Accel Event= -1, 1, -2, 3, -4, 5, -6, time = 8"}});
    return row.flushMarker(record(0xFF, 0), {error("DropClassifier: Meta event")});
}

DriverRow backTapRow() {
    const auto record = [](uint64_t timestamp) {
        return rec().u8(0xFE).u64(1ULL << 40).u64(16777217).u64(~0ULL).u64(timestamp).bytes();
    };
    DriverRow row("BackTap", 71, kWakeUp, "Back Tap", 65651, "com.tavrine.sensor.back_tap",
                  kQSensor, 2, "BackTap :");
    row.on("unsigned in the payload, signed in the log", record(kTime),
           data(kTime, {-2.0F, 0x1p40F, 0x1p24F, 0x1p64F}),
           {info("BackTap: Tap Event = -2, 1099511627776, 16777217, -1, "
                 "time = 1234605616436508552")});
    return row.flushMarker(record(0), {error("BackTap: Meta event")});
}

}  // namespace

std::vector<DriverRow> motionRows() {
    return {
        sigMotionRow(),
        stepDetectorRow(),
        stepCounterRow(),
        eventCodeRow(
            {"TiltDetector", 22, kWakeUp, "Tilt Detector", 22, "", "", 6, "TiltDetector :"},
            "TiltDetector: event = 200, time = 1234605616436508552",
            error("TiltDetector: Meta event")),
        pickupRow(),
        proximityRawRow(),
        eventCodeRow({"CallGesture", 35, kWakeUp, "Call Gesture", 65594,
                      "com.tavrine.sensor.call_gesture", kQSensor, 2, "CallGesture :"},
                     "CallGesture : event = 200, time = 1234605616436508552",
                     error("CallGesture : Meta event")),
        eventCodeRow({"WakeUpMotion", 36, kWakeUp, "Wake Up Motion", 65590,
                      "com.tavrine.sensor.wake_up_motion", "", 7, "WakeUpMotion :"},
                     "WakeUpMotion: event = 200, time = 1234605616436508552",
                     error("WakeUpMotion: Meta event")),
        pocketModeLiteRow(),
        eventCodeRow({"ProTosMotion", 41, kWakeUp, "Pro Tos Motion", 65613,
                      "com.tavrine.sensor.protos_motion", kQSensor, 6, "ProTosMotion :"},
                     "ProTosMotion: event = 200, time = 1234605616436508552",
                     error("ProTosMotion: Meta event")),
        flipCoverRow(),
        pocketModeRow(),
        pocketPosModeRow(),
        sequentialStepRow(),
        hubDebuggerRow(),
        eventCodeRow({"SarBackoffMotion", 54, kWakeUp, "SBM", 65643,
                      "com.tavrine.sensor.sar_backoff_motion", kQSensor, 4, "SarBackoffMotion :"},
                     "SarBackoffMotion: event = 200, time = 1234605616436508552",
                     info("SarBackoffMotion: Meta event")),
        eventCodeRow({"LedCoverEventSensor", 56, kWakeUp, "Led Cover Event Sensor", 65606,
                      "com.tavrine.sensor.led_cover_event", kQSensor, 2, "LedCoverEventSensor :"},
                     "LedCoverEventSensor : event = 200, time = 1234605616436508552",
                     error("LedCoverEventSensor : Meta event")),
        dropClassifierRow(),
        backTapRow(),
    };
}

}  // namespace golden
