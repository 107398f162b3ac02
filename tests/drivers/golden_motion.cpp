#include "tests/drivers/Golden.h"

namespace golden {

namespace {

// Bit patterns of floats that the rows use.
constexpr uint32_t kMinus1 = 0xBF800000;
constexpr uint32_t k0 = 0x00000000;
constexpr uint32_t k1 = 0x3F800000;
constexpr uint32_t k2 = 0x40000000;
constexpr uint32_t kMinus2 = 0xC0000000;
constexpr uint32_t k3 = 0x40400000;
constexpr uint32_t kMinus3 = 0xC0400000;
constexpr uint32_t k4 = 0x40800000;
constexpr uint32_t kMinus4 = 0xC0800000;
constexpr uint32_t k5 = 0x40A00000;
constexpr uint32_t kMinus5 = 0xC0A00000;
constexpr uint32_t kMinus6 = 0xC0C00000;
constexpr uint32_t k7 = 0x40E00000;
constexpr uint32_t kMinus7 = 0xC0E00000;
constexpr uint32_t k8 = 0x41000000;
constexpr uint32_t k9 = 0x41100000;
constexpr uint32_t k10 = 0x41200000;
constexpr uint32_t k11 = 0x41300000;
constexpr uint32_t k12 = 0x41400000;
constexpr uint32_t k13 = 0x41500000;
constexpr uint32_t k14 = 0x41600000;
constexpr uint32_t k129 = 0x43010000;
constexpr uint32_t k200 = 0x43480000;
constexpr uint32_t k255 = 0x437F0000;
constexpr uint32_t k1000000 = 0x49742400;
constexpr uint32_t k2To24 = 0x4B800000;
constexpr uint32_t k2To31 = 0x4F000000;
constexpr uint32_t k2To31Plus256 = 0x4F000001;
constexpr uint32_t k2To32 = 0x4F800000;
constexpr uint32_t k2To40 = 0x53800000;
constexpr uint32_t k2To64 = 0x5F800000;

constexpr uint64_t kTime = 0x1122334455667788;  // 1234605616436508552

std::string failure(const std::string& opening) {
    return opening + "input data file descriptor not available - (Input/output error)";
}

std::string eventCode(uint8_t event, uint64_t timestamp) {
    return rec().u8(event).u64(timestamp).bytes();
}

std::vector<Exchange> eventCodeExchanges(const char* dataLine, LogLine metaLine) {
    return {
        {"data", eventCode(200, kTime), {data(kTime, {k200})}, {{'I', dataLine}}},
        {"flush marker whatever the event", eventCode(5, 0), {meta()}, {std::move(metaLine)}},
    };
}

DriverRow sigMotionRow() {
    return {"SigMotionSensor",
            17,
            "sig_motion_sensor",
            true,
            "Significant Motion",
            17,
            "",
            "",
            4,
            {
                {"data",
                 eventCode(200, 9),
                 {data(kNow, {k200})},
                 {{'I', "SigMotionSensor: event = 200, time = %NOW%"}}},
                {"no flush marker",
                 eventCode(0, 0),
                 {data(kNow, {k0})},
                 {{'I', "SigMotionSensor: event = 0, time = %NOW%"}}},
            },
            failure("SIgMotionSensor :")};
}

DriverRow stepDetectorRow() {
    return {
        "StepDetectorSensor",
        18,
        "step_det_sensor",
        false,
        "Step Detector",
        18,
        "",
        "",
        6,
        {
            {"data", eventCode(200, kTime), {data(kTime, {k200})}, {}},
            {"event without timestamp", eventCode(5, 0), {data(0, {k5})}, {}},
            {"timestamp without event", eventCode(0, 7), {data(7, {k0})}, {}},
            {"flush marker", eventCode(0, 0), {meta()}, {{'E', "StepDetectorSensor: Meta event"}}},
        },
        failure("Step detector :")};
}

DriverRow stepCounterRow() {
    const auto record = [](uint64_t steps, uint64_t timestamp) {
        return rec().u32(0xDEADBEEF).u64(steps).u64(timestamp).bytes();
    };
    return {"StepCounterSensor",
            19,
            "step_cnt_sensor",
            false,
            "Step Counter",
            19,
            "",
            "",
            2,
            {
                {"beyond a float",
                 record((1ULL << 40) + 1, kTime),
                 {data(kTime, {1, 0x100})},
                 {{'I', "StepCounterSensor - 1099511627777"}}},
                {"unsigned",
                 record(~0ULL, 8),
                 {data(8, {0xFFFFFFFF, 0xFFFFFFFF})},
                 {{'I', "StepCounterSensor - 18446744073709551615"}}},
                {"flush marker whatever the count",
                 record(7, 0),
                 {meta()},
                 {{'I', "StepCounterSensor - 7"}, {'E', "StepCounterSensor: Meta event"}}},
            },
            failure("StepCounterSensor: ")};
}

DriverRow pickupRow() {
    return {"PickupGesture",
            25,
            "pickup_gesture",
            true,
            "Pick Up Gesture",
            25,
            "",
            "",
            4,
            {
                {"data",
                 eventCode(200, kTime),
                 {data(kTime, {k200})},
                 {{'I', "PickupGesture: event = 200, time = 1234605616436508552"}}},
                {"no flush marker",
                 eventCode(0, 0),
                 {data(0, {k0})},
                 {{'I', "PickupGesture: event = 0, time = 0"}}},
            },
            failure("PickupGesture :")};
}

DriverRow proximityRawRow() {
    const auto record = [](uint64_t timestamp) {
        return rec().i16(-1).i16(2).i16(3).i16(-4).i16(5).i16(-6).u64(timestamp).bytes();
    };
    return {"ProximityRawSensor",
            29,
            "proximity_raw",
            false,
            "Proximity Raw Sensor",
            65582,
            "com.tavrine.sensor.proximity_alert",
            kQSensor,
            2,
            {
                {"second field first",
                 record(kTime),
                 {data(kTime, {k2, kMinus1, k3, kMinus4, k5, kMinus6})},
                 {{'I',
                   "ProximityRawSensor - "
                   "prox(2),raw(-1),callmin(3),baseline(-4),psoff(5),ir(-6)"}}},
                {"flush marker whatever the data",
                 record(0),
                 {meta()},
                 {{'E', "ProximityRawSensor : Meta event"}}},
            },
            failure("ProximityRawSensor :")};
}

DriverRow pocketModeLiteRow() {
    return {"PocketModeLiteSensor",
            39,
            "pocket_mode_lite",
            false,
            "Pocket Mode Lite",
            65608,
            "com.tavrine.sensor.pocket_mode",
            "",
            2,
            {
                {"data",
                 rec().u8(200).i32(-5).u64(kTime).bytes(),
                 {data(kTime, {k200, kMinus5})},
                 {{'I', "PocketModeLiteSensor - 200, -5"}}},
                {"flush marker whatever the data",
                 rec().u8(1).i32(2).u64(0).bytes(),
                 {meta()},
                 {{'E', "PocketModeLiteSensor : Meta event"}}},
            },
            failure("PocketModeLiteSensor :")};
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
    return {"PocketModeSensor",
            45,
            "pocket_mode",
            false,
            "Pocket Mode",
            65605,
            "com.tavrine.sensor.pocket_mode",
            kQSensor,
            2,
            {
                {"unsigned in the payload, signed in the log",
                 record(kTime),
                 {data(kTime, {k200, k129, k2To32, k2To31, k3, k4, k5, k2To31Plus256, k7, k8, k9,
                               k10, k11, k12, k13, k14})},
                 {{'I',
                   "PocketMode: event = 200, reason = 129, base = -1 current = -2147483648 "
                   "temp = -2147483392 time = 1234605616436508552"}}},
                {"flush marker whatever the data",
                 record(0),
                 {meta()},
                 {{'E', "PocketModeSensor : Meta event"}}},
            },
            failure("PocketModeSensor :")};
}

DriverRow pocketPosModeRow() {
    const auto record = [](uint64_t timestamp) {
        const auto states = rec().u8(200).u8(129).u32(0x80000000).u8(255).u32(0xFFFFFFFF).u32(3);
        return states.bytes() + rec().u64(timestamp).bytes();
    };
    return {"PocketPosModeSensor",
            46,
            "pocket_pos_mode",
            false,
            "Pocket Position Mode",
            65698,
            "com.tavrine.sensor.pocket_pos_mode",
            kQSensor,
            2,
            {
                {"unsigned in the payload, signed in the log",
                 record(kTime),
                 {data(kTime, {k200, k129, k2To31, k255, k2To32, k3})},
                 {{'I',
                   "PocketPosMode: totalState = 200, positionState = 129, positionCase = "
                   "-2147483648 pedoState = 255pedoCase = -1 version = 3 "
                   "time = 1234605616436508552"}}},
                {"flush marker whatever the data",
                 record(0),
                 {meta()},
                 {{'E', "PocketPosModeSensor : Meta event"}}},
            },
            failure("PocketPosModeSensor :")};
}

DriverRow flipCoverRow() {
    const auto record = [](uint8_t event, uint64_t timestamp) {
        return rec()
            .u8(event)
            .u8(7)
            .i32(1000000)
            .i32(-2)
            .i32(3)
            .i32(-4)
            .i16(5)
            .i16(-6)
            .i16(7)
            .u64(timestamp)
            .bytes();
    };
    DriverRow row = {
        "FlipCoverDetector",
        42,
        "flip_cover_detector",
        true,
        "Flip Cover Detector",
        65639,
        "com.tavrine.sensor.flip_cover_detector",
        kQSensor,
        2,
        {
            {"data",
             record(0xFD, kTime),
             {data(kTime, {kMinus3, k7, k1000000, kMinus2, k3, kMinus4, k5, kMinus6, k7})},
             {{'I',
               "FlipCoverDetector: event = -3, 7, 1000000, -2, 3, -4, 5, -6, 7, "
               "time = 1234605616436508552"}}},
            {"silent record", record(100, 9), {}, {}},
            {"silent record without timestamp", record(100, 0), {}, {}},
            {"flush marker whatever the data",
             record(5, 0),
             {meta()},
             {{'E', "FlipCoverDetector: Meta event"}}},
        },
        failure("FlipCoverDetector :")};
    row.shown = false;  // the bench's hub has no cover
    return row;
}

DriverRow sequentialStepRow() {
    return {"SequentialStep",
            47,
            "sequential_step",
            false,
            "Sequential Step",
            65647,
            "com.tavrine.sensor.seq_step",
            kQSensor,
            2,
            {
                {"data", rec().i32(-7).u64(kTime).bytes(), {data(kTime, {kMinus7, k0, k0, 3})}, {}},
                {"flush marker whatever the data",
                 rec().i32(7).u64(0).bytes(),
                 {meta()},
                 {{'E', "SequentialStep : Meta event"}}},
            },
            failure("SequentialStep :")};
}

DriverRow hubDebuggerRow() {
    const auto record = [](std::string text, uint64_t timestamp) {
        text.resize(256);
        return text + rec().u64(timestamp).bytes();
    };
    const std::string longText(256, 'x');
    DriverRow row = {"HubDebuggerSensor",
                     53,
                     "hub_debugger",
                     false,
                     "Hub Debugger",
                     65642,
                     "com.tavrine.sensor.hub_debugger",
                     "",
                     0,
                     {
                         {"text",
                          record("hub %d awake", kTime),
                          {},
                          {{'I', "HubDebuggerSensor: hub %d awake, time = 1234605616436508552"}}},
                         {"text that fills its field",
                          record(longText, 65),
                          {},
                          {{'I', "HubDebuggerSensor: " + longText + ", time = 65"}}},
                         {"flush marker whatever the text", record("text", 0), {}, {}},
                     },
                     failure("HubDebuggerSensor :")};
    row.shown = false;
    return row;
}

DriverRow dropClassifierRow() {
    const auto record = [](uint8_t event, uint64_t timestamp) {
        return rec().u8(event).i32(1).i32(-2).i32(3).i32(-4).i32(5).i32(-6).u64(timestamp).bytes();
    };
    return {"DropClassifier",
            57,
            "drop_classifier",
            true,
            "Drop Classifier",
            65644,
            "com.tavrine.sensor.drop_classifier",
            kQSensor,
            2,
            {
                {"drop",
                 record(4, kTime),
                 {data(kTime, {k4, k1, kMinus2, k3, kMinus4, k5, kMinus6})},
                 {{'I', "DropClassifier: Drop Event = 4, 1, time = 1234605616436508552"}}},
                {"drop of class 0",
                 record(0, 7),
                 {data(7, {k0, k1, kMinus2, k3, kMinus4, k5, kMinus6})},
                 {{'I', "DropClassifier: Drop Event = 0, 1, time = 7"}}},
                {"trace on a user build",
                 record(0xFF, 8),
                 {},
                 {{'D', "DropClassifier: Accel Event= -1, 1, -2, 3, -4, 5, -6, time = 8"}}},
                {"flush marker whatever the data",
                 record(0xFF, 0),
                 {meta()},
                 {{'E', "DropClassifier: Meta event"}}},
            },
            failure("DropClassifier :")};
}

DriverRow backTapRow() {
    const auto record = [](uint64_t timestamp) {
        return rec().u8(0xFE).u64(1ULL << 40).u64(16777217).u64(~0ULL).u64(timestamp).bytes();
    };
    return {
        "BackTap",
        71,
        "back_tap",
        true,
        "Back Tap",
        65651,
        "com.tavrine.sensor.back_tap",
        kQSensor,
        2,
        {
            {"unsigned in the payload, signed in the log",
             record(kTime),
             {data(kTime, {kMinus2, k2To40, k2To24, k2To64})},
             {{'I',
               "BackTap: Tap Event = -2, 1099511627776, 16777217, -1, "
               "time = 1234605616436508552"}}},
            {"flush marker whatever the data", record(0), {meta()}, {{'E', "BackTap: Meta event"}}},
        },
        failure("BackTap :")};
}

}  // namespace

std::vector<DriverRow> motionRows() {
    return {
        sigMotionRow(),
        stepDetectorRow(),
        stepCounterRow(),
        {"TiltDetector", 22, "tilt_detector", true, "Tilt Detector", 22, "", "", 6,
         eventCodeExchanges("TiltDetector: event = 200, time = 1234605616436508552",
                            {'E', "TiltDetector: Meta event"}),
         failure("TiltDetector :")},
        pickupRow(),
        proximityRawRow(),
        {"CallGesture", 35, "call_gesture", true, "Call Gesture", 65594,
         "com.tavrine.sensor.call_gesture", kQSensor, 2,
         eventCodeExchanges("CallGesture : event = 200, time = 1234605616436508552",
                            {'E', "CallGesture : Meta event"}),
         failure("CallGesture :")},
        {"WakeUpMotion", 36, "wake_up_motion", true, "Wake Up Motion", 65590,
         "com.tavrine.sensor.wake_up_motion", "", 7,
         eventCodeExchanges("WakeUpMotion: event = 200, time = 1234605616436508552",
                            {'E', "WakeUpMotion: Meta event"}),
         failure("WakeUpMotion :")},
        pocketModeLiteRow(),
        {"ProTosMotion", 41, "protos_motion", true, "Pro Tos Motion", 65613,
         "com.tavrine.sensor.protos_motion", kQSensor, 6,
         eventCodeExchanges("ProTosMotion: event = 200, time = 1234605616436508552",
                            {'E', "ProTosMotion: Meta event"}),
         failure("ProTosMotion :")},
        flipCoverRow(),
        pocketModeRow(),
        pocketPosModeRow(),
        sequentialStepRow(),
        hubDebuggerRow(),
        {"SarBackoffMotion", 54, "sar_backoff_motion", true, "SBM", 65643,
         "com.tavrine.sensor.sar_backoff_motion", kQSensor, 4,
         eventCodeExchanges("SarBackoffMotion: event = 200, time = 1234605616436508552",
                            {'I', "SarBackoffMotion: Meta event"}),
         failure("SarBackoffMotion :")},
        {"LedCoverEventSensor", 56, "led_cover_event_sensor", true, "Led Cover Event Sensor", 65606,
         "com.tavrine.sensor.led_cover_event", kQSensor, 2,
         eventCodeExchanges("LedCoverEventSensor : event = 200, time = 1234605616436508552",
                            {'E', "LedCoverEventSensor : Meta event"}),
         failure("LedCoverEventSensor :")},
        dropClassifierRow(),
        backTapRow(),
    };
}

}  // namespace golden
