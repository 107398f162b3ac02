#include "tests/drivers/Golden.h"

namespace golden {

namespace {

/** Drivers that pass on one event code. */
void eventCode(DriverRow& row, const char* line) {
    row.form({1}).data({200}, {200.0F}, {line});
}

void gestureRows(Rows& rows) {
    rows.emplace_back("SigMotionSensor", 17, kWakeUp, "Significant Motion", 17, "", "", 4, "",
                      "SIgMotionSensor :")
        .form({1}, Marker::kNone)
        .data({200}, {200.0F}, {"I SigMotionSensor: event = 200, time = %T"}, kNow);
    rows.emplace_back("StepDetectorSensor", 18, kNonWakeUp, "Step Detector", 18, "", "", 6,
                      "E StepDetectorSensor: Meta event", "Step detector :")
        .form({1}, Marker::kAllZero)
        .data({200}, {200.0F});
    rows.emplace_back("StepCounterSensor", 19, kNonWakeUp, "Step Counter", 19, "", "", 2,
                      "E StepCounterSensor: Meta event", "StepCounterSensor: ")
        .form({4, 8})
        .data({0xDEADBEEF, (1ULL << 40) + 1}, {1U, 0x100U}, {"I StepCounterSensor - 1099511627777"})
        .data({0, ~0ULL}, {0xFFFFFFFFU, 0xFFFFFFFFU},
              {"I StepCounterSensor - 18446744073709551615"})
        .marker({0, 7}, {"I StepCounterSensor - 7"});
    eventCode(rows.emplace_back("TiltDetector", 22, kWakeUp, "Tilt Detector", 22, "", "", 6,
                                "E TiltDetector: Meta event"),
              "I TiltDetector: event = 200, time = %T");
    rows.emplace_back("PickupGesture", 25, kWakeUp, "Pick Up Gesture", 25, "", "", 4, "")
        .form({1}, Marker::kNone)
        .data({200}, {200.0F}, {"I PickupGesture: event = 200, time = %T"});
    eventCode(rows.emplace_back("CallGesture", 35, kWakeUp, "Call Gesture", 65594, "call_gesture",
                                kQSensor, 2, "E CallGesture : Meta event"),
              "I CallGesture : event = 200, time = %T");
    eventCode(rows.emplace_back("WakeUpMotion", 36, kWakeUp, "Wake Up Motion", 65590,
                                "wake_up_motion", "", 7, "E WakeUpMotion: Meta event"),
              "I WakeUpMotion: event = 200, time = %T");
    eventCode(rows.emplace_back("ProTosMotion", 41, kWakeUp, "Pro Tos Motion", 65613,
                                "protos_motion", kQSensor, 6, "E ProTosMotion: Meta event"),
              "I ProTosMotion: event = 200, time = %T");
    rows.emplace_back("SequentialStep", 47, kNonWakeUp, "Sequential Step", 65647, "seq_step",
                      kQSensor, 2, "E SequentialStep : Meta event")
        .form({4})
        .data({-16777219}, {-16777220.0F, 0.0F, 0.0F, kAccuracyHigh});
    eventCode(rows.emplace_back("SarBackoffMotion", 54, kWakeUp, "SBM", 65643, "sar_backoff_motion",
                                kQSensor, 4, "I SarBackoffMotion: Meta event"),
              "I SarBackoffMotion: event = 200, time = %T");
    rows.emplace_back("BackTap", 71, kWakeUp, "Back Tap", 65651, "back_tap", kQSensor, 2,
                      "E BackTap: Meta event")
        .form({1, 8, 8, 8})  // unsigned in the payload, signed in the log
        .data({-2, 1ULL << 40, 16777217, ~0ULL}, {-2.0F, 0x1p40F, 0x1p24F, 0x1p64F},
              {"I BackTap: Tap Event = -2, 1099511627776, 16777217, -1, time = %T"});
}

/** Unsigned in the payload, signed in the log. */
void pocketRows(Rows& rows) {
    rows.emplace_back("ProximityRawSensor", 29, kNonWakeUp, "Proximity Raw Sensor", 65582,
                      "proximity_alert", kQSensor, 2, "E ProximityRawSensor : Meta event")
        .form({2, 2, 2, 2, 2, 2})
        .data({-1, 2, 3, -4, 5, -6}, {2.0F, -1.0F, 3.0F, -4.0F, 5.0F, -6.0F},  // prox comes first
              {"I ProximityRawSensor - prox(2),raw(-1),callmin(3),baseline(-4),psoff(5),ir(-6)"});
    rows.emplace_back("PocketModeLiteSensor", 39, kNonWakeUp, "Pocket Mode Lite", 65608,
                      "pocket_mode", "", 2, "E PocketModeLiteSensor : Meta event")
        .form({1, 4})
        .data({200, -16777219}, {200.0F, -16777220.0F},
              {"I PocketModeLiteSensor - 200, -16777219"});
    rows.emplace_back("PocketModeSensor", 45, kNonWakeUp, "Pocket Mode", 65605, "pocket_mode",
                      kQSensor, 2, "E PocketModeSensor : Meta event")
        .form({1, 1, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4})
        .data({200, 129, -1, INT32_MIN, 3, 4, 5, 0x80000100, 7, 8, 9, 10, 11, 12, 13, 14},
              {200.0F, 129.0F, 0x1p32F, 0x1p31F, 3.0F, 4.0F, 5.0F, 0x1.000002p31F, 7.0F, 8.0F, 9.0F,
               10.0F, 11.0F, 12.0F, 13.0F, 14.0F},
              {"I PocketMode: event = 200, reason = 129, base = -1 current = -2147483648 "
               "temp = -2147483392 time = %T"});
    rows.emplace_back("PocketPosModeSensor", 46, kNonWakeUp, "Pocket Position Mode", 65698,
                      "pocket_pos_mode", kQSensor, 2, "E PocketPosModeSensor : Meta event")
        .form({1, 1, 4, 1, 4, 4})
        .data({200, 129, INT32_MIN, 255, -1, 3}, {200.0F, 129.0F, 0x1p31F, 255.0F, 0x1p32F, 3.0F},
              {"I PocketPosMode: totalState = 200, positionState = 129, positionCase = "
               "-2147483648 pedoState = 255pedoCase = -1 version = 3 time = %T"});
}

void deviceRows(Rows& rows) {
    DriverRow& cover =
        rows.emplace_back("FlipCoverDetector", 42, kWakeUp, "Flip Cover Detector", 65639,
                          "flip_cover_detector", kQSensor, 2, "E FlipCoverDetector: Meta event");
    cover.form({1, 1, 4, 4, 4, 4, 2, 2, 2})
        .data({-3, 7, 16777219, -2, 3, -4, 5, -6, 7},
              {-3.0F, 7.0F, 16777220.0F, -2.0F, 3.0F, -4.0F, 5.0F, -6.0F, 7.0F},
              {"I FlipCoverDetector: event = -3, 7, 16777219, -2, 3, -4, 5, -6, 7, time = %T"});
    for (const uint64_t timestamp : {uint64_t{0}, kTime})  // events 'd' pass without a word
        cover.bytes(cover.forms[0].pack({100, 1, 1, 1, 1, 1, 1, 1, 1}, timestamp), {});
    cover.shown = false;  // no hub of these rows has a cover

    const std::string filled(256, 'x');
    rows.emplace_back("HubDebuggerSensor", 53, kNonWakeUp, "Hub Debugger", 65642, "hub_debugger",
                      "", 0, "")
        .bytes("hub %d awake" + std::string(244, '\0') + "\5\0\0\0\0\0\0\0"s, {},
               {"I HubDebuggerSensor: hub %d awake, time = 5"})
        .bytes(filled + "\0\0\0\0\0\0\0\1"s, {},
               {"I HubDebuggerSensor: " + filled + ", time = 72057594037927936"})
        .bytes(filled + std::string(8, '\0'), {})  // the marker is swallowed
        .shown = false;

    eventCode(
        rows.emplace_back("LedCoverEventSensor", 56, kWakeUp, "Led Cover Event Sensor", 65606,
                          "led_cover_event", kQSensor, 2, "E LedCoverEventSensor : Meta event"),
        "I LedCoverEventSensor : event = 200, time = %T");

    DriverRow& drop =
        rows.emplace_back("DropClassifier", 57, kWakeUp, "Drop Classifier", 65644,
                          "drop_classifier", kQSensor, 2, "E DropClassifier: Meta event");
    drop.form({1, 4, 4, 4, 4, 4, 4})
        .data({4, 16777219, -2, 3, -4, 5, -6}, {4.0F, 16777220.0F, -2.0F, 3.0F, -4.0F, 5.0F, -6.0F},
              {"I DropClassifier: Drop Event = 4, 16777219, time = %T"})
        .data({0, 1, 2, 3, 4, 5, 6}, {0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F},
              {"I DropClassifier: Drop Event = 0, 1, time = %T"})
        // A trace, which a user build keeps to itself.
        .bytes(drop.forms[0].pack({-1, 1, -2, 3, -4, 5, -6}, kTime), {},
               {"D DropClassifier: Accel Event= -1, 1, -2, 3, -4, 5, -6, time = %T"})
        .marker({-1, 1, 2, 3, 4, 5, 6});
}

}  // namespace

void motionRows(Rows& rows) {
    gestureRows(rows);
    pocketRows(rows);
    deviceRows(rows);
}

}  // namespace golden
