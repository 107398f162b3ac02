#include "tests/drivers/Golden.h"

namespace golden {

namespace {

// Bit patterns of floats that the rows use.
constexpr uint32_t k0 = 0x00000000;
constexpr uint32_t k1 = 0x3F800000;
constexpr uint32_t k2 = 0x40000000;
constexpr uint32_t k3 = 0x40400000;
constexpr uint32_t k4 = 0x40800000;
constexpr uint32_t k5 = 0x40A00000;
constexpr uint32_t k6 = 0x40C00000;
constexpr uint32_t k7 = 0x40E00000;
constexpr uint32_t k300 = 0x43960000;
constexpr uint32_t k301 = 0x43968000;
constexpr uint32_t k302 = 0x43970000;
constexpr uint32_t k1234 = 0x449A4000;
constexpr uint32_t k5000 = 0x459C4000;
constexpr uint32_t k65541 = 0x47800280;
constexpr uint32_t kMinus1 = 0xBF800000;
constexpr uint32_t kMinus2 = 0xC0000000;
constexpr uint32_t kMinus3 = 0xC0400000;
constexpr uint32_t kMinus5 = 0xC0A00000;
constexpr uint32_t kUnsignedMinus = 0x5F800000;  // a small negative number, read as unsigned

constexpr uint64_t kLongTime = 0x1122334455667788;

std::string failure(const std::string& tag) {
    return tag + " :input data file descriptor not available - (Input/output error)";
}

std::string valueAndTime(int32_t value, uint64_t timestamp) {
    return rec().i32(value).u64(timestamp).bytes();
}

DriverRow lightRow() {
    return {"LightSensor",
            5,
            "light_sensor",
            false,
            "Light",
            5,
            "",
            "",
            2,
            {
                {"data",
                 valueAndTime(1234, kLongTime),
                 {data(kLongTime, {k1234})},
                 {{'I', "LightSensor: lux = 1234, time = 1234605616436508552"}}},
                {"negative lux is unsigned",
                 valueAndTime(-1, 9),
                 {data(9, {kUnsignedMinus})},
                 {{'I', "LightSensor: lux = 18446744073709551615, time = 9"}}},
                {"flush marker whatever the lux",
                 valueAndTime(7, 0),
                 {meta()},
                 {{'I', "LightSensor: lux = 7, time = 0"}, {'I', "Light Sensor : Meta event"}}},
                {"the fourth record is not logged", valueAndTime(4, 10), {data(10, {k4})}, {}},
            },
            failure("LightSensor")};
}

/** Without a rear sensor. */
DriverRow autoBrightnessRow() {
    const auto full = [](int32_t lux, uint8_t minFlag, uint8_t flipState, uint64_t timestamp) {
        return rec().i32(lux).u8(minFlag).u32(0x7F7F7F7F).u8(flipState).u64(timestamp).bytes();
    };
    const auto older = [](int32_t lux, uint8_t minFlag, uint64_t timestamp) {
        return rec().i32(lux).u8(minFlag).u64(timestamp).bytes();
    };
    return {"AutoBrightnessSensor",
            37,
            "auto_brightness",
            false,
            "Auto Brightness Sensor",
            65601,
            "com.tavrine.sensor.autobrightness",
            kQSensor,
            2,
            {
                {"full form",
                 full(300, 4, 3, kLongTime),
                 {data(kLongTime, {k300, k4})},
                 {{'I', "AutoBrightnessSensor: lux = 300, time = 1234605616436508552"},
                  {'E', "AutoBrightnessSensor::getFlickerData: fopen fail"},
                  {'I', "flip_state(3) minFlag(4) -1 300"}}},
                {"camera light on",
                 full(-1, 0, 0, 11),
                 {data(11, {kMinus1, k0})},
                 {{'I', "AutoBrightnessSensor: enable cam, time = 11"}}},
                {"camera light off",
                 full(-2, 0, 0, 12),
                 {data(12, {kMinus2, k0})},
                 {{'I', "AutoBrightnessSensor: disable cam, time = 12"}}},
                {"13 bytes",
                 older(301, 7, 13),
                 {data(13, {k301, k7})},
                 {{'I', "AutoBrightnessSensor: lux = 301, time = 13"}}},
                {"12 bytes have no minimum flag",
                 valueAndTime(-5, 14),
                 {data(14, {kMinus5, k0})},
                 {{'I', "AutoBrightnessSensor: lux = -5, time = 14"}}},
                {"17 bytes end in the timestamp and have no flip state",
                 rec().i32(302).u8(1).u32(0x7F7F7F7F).u64(15).bytes(),
                 {data(15, {k302, k1})},
                 {}},
                {"9 bytes end in the timestamp",
                 rec().u8(5).u64(256).bytes(),
                 {data(256, {k65541, k0})},
                 {}},
                {"4 bytes are lux and the start of a timestamp",
                 rec().i32(4).bytes(),
                 {data(4, {k4, k0})},
                 {}},
                {"flush marker whatever the lux",
                 full(300, 1, 1, 0),
                 {meta()},
                 {{'I', "AutoBrightnessSensor : Meta event"}}},
            },
            failure("AutoBrightnessSensor")};
}

DriverRow lightCctRow() {
    const auto head = [](int32_t lux) { return rec().i32(lux).i32(5000).i32(1234); };
    return {"LightCCT_Sensor",
            34,
            "light_cct_sensor",
            false,
            "Light CCT",
            65587,
            "com.tavrine.sensor.light_cct",
            "",
            0,
            {
                {"with region",
                 head(300).i16(-3).u64(kLongTime).bytes(),
                 {data(kLongTime, {k300, k5000, kMinus3, k0, k1234})},
                 {{'I',
                   "LightCCT_Sensor: lux = 300, CCT = 5000, rawLux = 1234, roi = -3, "
                   "time = 1234605616436508552"}}},
                {"without region",
                 head(301).u64(21).bytes(),
                 {data(21, {k301, k5000, k0, k0, k1234})},
                 {{'I',
                   "LightCCT_Sensor: lux = 301, CCT = 5000, rawLux = 1234, roi = 0, "
                   "time = 21"}}},
                {"flush marker whatever the lux",
                 head(-300).i16(1).u64(0).bytes(),
                 {meta()},
                 {{'I',
                   "LightCCT_Sensor: lux = -300, CCT = 5000, rawLux = 1234, roi = 1, "
                   "time = 0"},
                  {'E', "LightCCT_Sensor : Meta event"}}},
                {"negative figures are unsigned",
                 rec().i32(-1).i32(-2).i32(-3).i16(0).u64(22).bytes(),
                 {data(22, {kUnsignedMinus, kUnsignedMinus, k0, k0, kUnsignedMinus})},
                 {}},
                {"21 bytes have no region",
                 head(302).u64(23).u8(9).bytes(),
                 {data(23, {k302, k5000, k0, k0, k1234})},
                 {}},
            },
            failure("LightCCT_Sensor")};
}

DriverRow lightSeamlessRow() {
    return {"LightSeamless_Sensor",
            55,
            "light_seamless_sensor",
            false,
            "Light Seamless Sensor",
            65614,
            "com.tavrine.sensor.light_seamless",
            kQSensor,
            2,
            {
                {"data",
                 valueAndTime(1234, kLongTime),
                 {data(kLongTime, {k1234})},
                 {{'I', "LightSeamless_Sensor : event = 1234, time = 1234605616436508552"}}},
                {"negative",
                 valueAndTime(-3, 31),
                 {data(31, {kMinus3})},
                 {{'I', "LightSeamless_Sensor : event = -3, time = 31"}}},
                {"flush marker whatever the value",
                 valueAndTime(1, 0),
                 {meta()},
                 {{'E', "LightSeamless_Sensor : Meta event"}}},
            },
            failure("LightSeamless_Sensor")};
}

DriverRow lightIrRow() {
    const auto record = [](int32_t irdata, int16_t gain, uint64_t timestamp) {
        const auto colours = rec().i32(irdata).i32(0).i32(0).i32(0).i32(0);
        return simulator::RecordBuilder(colours).i16(gain).i16(0).u64(timestamp).bytes();
    };
    const auto line = [](const std::string& figures) -> LogLine {
        return {'I', "Light_IR_Sensor irdata=" + figures};
    };
    const std::string zeros = " r=0, g=0, b=0, c=0, irAtime/ir_brightness=0, irAgain=";
    return {"Light_IR_Sensor",
            48,
            "light_ir_sensor",
            false,
            "Light IR",
            65578,
            "com.tavrine.sensor.light_ir",
            "",
            2,
            {
                {"gain and time change places",
                 rec().i32(1).i32(2).i32(3).i32(4).i32(5).i16(6).i16(7).u64(kLongTime).bytes(),
                 {data(kLongTime, {k1, k2, k3, k4, k5, k7, k6})},
                 {line("1 r=2, g=3, b=4, c=5, irAtime/ir_brightness=7, irAgain=6, "
                       "time=1234605616436508552")}},
                {"negative figures are unsigned",
                 rec().i32(-1).i32(-2).i32(-3).i32(-4).i32(-5).i16(-6).i16(-7).u64(41).bytes(),
                 {data(41, std::vector<uint32_t>(7, kUnsignedMinus))},
                 {line("-1 r=-2, g=-3, b=-4, c=-5, irAtime/ir_brightness=-7, irAgain=-6, "
                       "time=41")}},
                {"data without timestamp",
                 record(1, 0, 0),
                 {data(0, {k1})},
                 {line("1" + zeros + "0, time=0")}},
                {"a gain without timestamp",
                 record(0, 2, 0),
                 {data(0, {k0, k0, k0, k0, k0, k0, k2})},
                 {line("0" + zeros + "2, time=0")}},
                {"flush marker",
                 record(0, 0, 0),
                 {meta()},
                 {line("0" + zeros + "0, time=0"), {'E', "Light Sensor : Meta event"}}},
                {"the sixth record is not logged", record(0, 0, 42), {data(42, {})}, {}},
            },
            failure("Light_IR_Sensor")};
}

}  // namespace

std::vector<DriverRow> lightRows() {
    return {lightRow(), lightCctRow(), autoBrightnessRow(), lightIrRow(), lightSeamlessRow()};
}

}  // namespace golden
