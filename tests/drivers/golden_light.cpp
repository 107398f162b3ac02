#include "tests/drivers/Golden.h"

namespace golden {

namespace {

constexpr float kUnsignedMinus = 0x1p64F;  // a small negative number, read as unsigned

DriverRow lightRow() {
    DriverRow row("LightSensor", 5, kNonWakeUp, "Light", 5, "", "", 2, "LightSensor :");
    row.on("data", intRecord(1234, kTime), data(kTime, {1234.0F}),
           {info("LightSensor: lux = 1234, time = 1234605616436508552")});
    row.on("negative lux is unsigned", intRecord(-1, 9), data(9, {kUnsignedMinus}),
           {info("LightSensor: lux = 18446744073709551615, time = 9")});
    row.flushMarker(intRecord(7, 0),
                    {info("LightSensor: lux = 7, time = 0"), info("Light Sensor : Meta event")});
    return row.on("the fourth record is not logged", intRecord(4, 10), data(10, {4.0F}));
}

/** Without a rear sensor. */
DriverRow autoBrightnessRow() {
    const auto full = [](int32_t lux, uint8_t minFlag, uint8_t flipState, uint64_t timestamp) {
        return rec().i32(lux).u8(minFlag).u32(0x7F7F7F7F).u8(flipState).u64(timestamp).bytes();
    };
    DriverRow row("AutoBrightnessSensor", 37, kNonWakeUp, "Auto Brightness Sensor", 65601,
                  "com.tavrine.sensor.autobrightness", kQSensor, 2, "AutoBrightnessSensor :");
    row.on("full form", full(300, 4, 3, kTime), data(kTime, {300.0F, 4.0F}),
           {info("AutoBrightnessSensor: lux = 300, time = 1234605616436508552"),
            error("AutoBrightnessSensor::getFlickerData: fopen fail"),
            info("flip_state(3) minFlag(4) -1 300")});
    row.on("camera light on", full(-1, 0, 0, 11), data(11, {-1.0F, 0.0F}),
           {info("AutoBrightnessSensor: enable cam, time = 11")});
    row.on("camera light off", full(-2, 0, 0, 12), data(12, {-2.0F, 0.0F}),
           {info("AutoBrightnessSensor: disable cam, time = 12")});
    row.on("13 bytes", rec().i32(301).u8(7).u64(13).bytes(), data(13, {301.0F, 7.0F}),
           {info("AutoBrightnessSensor: lux = 301, time = 13")});
    row.on("12 bytes have no minimum flag", intRecord(-5, 14), data(14, {-5.0F, 0.0F}),
           {info("AutoBrightnessSensor: lux = -5, time = 14")});
    row.on("17 bytes end in the timestamp and have no flip state",
           rec().i32(302).u8(1).u32(0x7F7F7F7F).u64(15).bytes(), data(15, {302.0F, 1.0F}));
    row.on("9 bytes end in the timestamp", byteRecord(5, 256), data(256, {65541.0F, 0.0F}));
    row.on("4 bytes are lux and the start of a timestamp", rec().i32(4).bytes(),
           data(4, {4.0F, 0.0F}));
    return row.flushMarker(full(300, 1, 1, 0), {info("AutoBrightnessSensor : Meta event")});
}

DriverRow lightCctRow() {
    const auto head = [](int32_t lux) { return rec().i32(lux).i32(5000).i32(1234); };
    DriverRow row("LightCCT_Sensor", 34, kNonWakeUp, "Light CCT", 65587,
                  "com.tavrine.sensor.light_cct", "", 0, "LightCCT_Sensor :");
    row.on("with region", head(300).i16(-3).u64(kTime).bytes(),
           data(kTime, {300.0F, 5000.0F, -3.0F, 0.0F, 1234.0F}),
           {info("LightCCT_Sensor: lux = 300, CCT = 5000, rawLux = 1234, roi = -3, "
                 "time = 1234605616436508552")});
    row.on("without region", head(301).u64(21).bytes(),
           data(21, {301.0F, 5000.0F, 0.0F, 0.0F, 1234.0F}),
           {info("LightCCT_Sensor: lux = 301, CCT = 5000, rawLux = 1234, roi = 0, time = 21")});
    row.flushMarker(
        head(-300).i16(1).u64(0).bytes(),
        {info("LightCCT_Sensor: lux = -300, CCT = 5000, rawLux = 1234, roi = 1, time = 0"),
         error("LightCCT_Sensor : Meta event")});
    row.on("negative figures are unsigned", rec().i32(-1).i32(-2).i32(-3).i16(0).u64(22).bytes(),
           data(22, {kUnsignedMinus, kUnsignedMinus, 0.0F, 0.0F, kUnsignedMinus}));
    return row.on("21 bytes have no region", head(302).u64(23).u8(9).bytes(),
                  data(23, {302.0F, 5000.0F, 0.0F, 0.0F, 1234.0F}));
}

DriverRow lightSeamlessRow() {
    DriverRow row("LightSeamless_Sensor", 55, kNonWakeUp, "Light Seamless Sensor", 65614,
                  "com.tavrine.sensor.light_seamless", kQSensor, 2, "LightSeamless_Sensor :");
    row.on("data", intRecord(1234, kTime), data(kTime, {1234.0F}),
           {info("LightSeamless_Sensor : event = 1234, time = 1234605616436508552")});
    row.on("negative", intRecord(-3, 31), data(31, {-3.0F}),
           {info("LightSeamless_Sensor : event = -3, time = 31")});
    return row.flushMarker(intRecord(1, 0), {error("LightSeamless_Sensor : Meta event")});
}

DriverRow lightIrRow() {
    const auto record = [](int32_t irdata, int16_t gain, uint64_t timestamp) {
        auto colours = rec().i32(irdata).i32(0).i32(0).i32(0).i32(0);
        return colours.i16(gain).i16(0).u64(timestamp).bytes();
    };
    const auto line = [](const std::string& figures) {
        return info("Light_IR_Sensor irdata=" + figures);
    };
    const std::string zeros = " r=0, g=0, b=0, c=0, irAtime/ir_brightness=0, irAgain=";
    DriverRow row("Light_IR_Sensor", 48, kNonWakeUp, "Light IR", 65578,
                  "com.tavrine.sensor.light_ir", "", 2, "Light_IR_Sensor :");
    row.on("gain and time change places",
           rec().i32(1).i32(2).i32(3).i32(4).i32(5).i16(6).i16(7).u64(kTime).bytes(),
           data(kTime, {1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 7.0F, 6.0F}),
           {line("1 r=2, g=3, b=4, c=5, irAtime/ir_brightness=7, irAgain=6, "
                 "time=1234605616436508552")});
    row.on("negative figures are unsigned",
           rec().i32(-1).i32(-2).i32(-3).i32(-4).i32(-5).i16(-6).i16(-7).u64(41).bytes(),
           data(41, std::vector<Word>(7, kUnsignedMinus)),
           {line("-1 r=-2, g=-3, b=-4, c=-5, irAtime/ir_brightness=-7, irAgain=-6, time=41")});
    row.on("data without timestamp", record(1, 0, 0), data(0, {1.0F}),
           {line("1" + zeros + "0, time=0")});
    row.on("a gain without timestamp", record(0, 2, 0),
           data(0, {0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 2.0F}), {line("0" + zeros + "2, time=0")});
    row.flushMarker(record(0, 0, 0),
                    {line("0" + zeros + "0, time=0"), error("Light Sensor : Meta event")});
    return row.on("the sixth record is not logged", record(0, 0, 42), data(42, {}));
}

}  // namespace

std::vector<DriverRow> lightRows() {
    return {lightRow(), lightCctRow(), autoBrightnessRow(), lightIrRow(), lightSeamlessRow()};
}

}  // namespace golden
