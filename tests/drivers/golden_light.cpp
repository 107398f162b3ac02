#include "tests/drivers/Golden.h"

namespace golden {

namespace {

constexpr float kUnsignedMinus = 0x1p64F;  // a small negative number, read as unsigned

}  // namespace

void lightRows(Rows& rows) {
    rows.emplace_back("LightSensor", 5, kNonWakeUp, "Light", 5, "", "", 2,
                      "I Light Sensor : Meta event")
        .form({4})
        .data({16777219}, {16777220.0F}, {"I LightSensor: lux = 16777219, time = %T"})
        .data({-1}, {kUnsignedMinus}, {"I LightSensor: lux = 18446744073709551615, time = %T"})
        .marker({7}, {"I LightSensor: lux = 7, time = 0"})
        .data({4}, {4.0F});  // the fourth record is not logged
    // Without a rear sensor.
    rows.emplace_back("AutoBrightnessSensor", 37, kNonWakeUp, "Auto Brightness Sensor", 65601,
                      "autobrightness", kQSensor, 2, "I AutoBrightnessSensor : Meta event")
        .form({4, 1, 4, 1})
        .data({16777219, 4, 0x7F7F7F7F, 3}, {16777220.0F, 4.0F},
              {"I AutoBrightnessSensor: lux = 16777219, time = %T",
               "E AutoBrightnessSensor::getFlickerData: fopen fail",
               "I flip_state(3) minFlag(4) -1 16777219"})
        .data({-1, 0, 0, 0}, {-1.0F, 0.0F}, {"I AutoBrightnessSensor: enable cam, time = %T"})
        .data({-2, 0, 0, 0}, {-2.0F, 0.0F}, {"I AutoBrightnessSensor: disable cam, time = %T"})
        .marker({-2, 0, 0, 0}, {"I AutoBrightnessSensor: disable cam, time = 0"})
        .form({4, 1})  // without a flip state
        .data({301, 7}, {301.0F, 7.0F}, {"I AutoBrightnessSensor: lux = 301, time = %T"})
        .form({4})  // nor a minimum flag
        .data({-5}, {-5.0F, 0.0F}, {"I AutoBrightnessSensor: lux = -5, time = %T"})
        .form({4, 1, 4})  // the timestamp is what the record ends in
        .data({302, 1, 0x7F7F7F7F}, {302.0F, 1.0F})
        .bytes("\5\0\1\0\0\0\0\0\0"s, Posted{false, 256, {65541.0F, 0.0F}})
        .bytes("\4\0\0\0"s, Posted{false, 4, {4.0F, 0.0F}});
    rows.emplace_back("LightCCT_Sensor", 34, kNonWakeUp, "Light CCT", 65587, "light_cct", "", 0,
                      "E LightCCT_Sensor : Meta event")
        .form({4, 4, 4, 2})
        .data({16777219, 5000, 1234, -3}, {16777220.0F, 5000.0F, -3.0F, 0.0F, 1234.0F},
              {"I LightCCT_Sensor: lux = 16777219, CCT = 5000, rawLux = 1234, roi = -3, "
               "time = %T"})
        .form({4, 4, 4})
        .data({301, 16777219, 33554438}, {301.0F, 16777220.0F, 0.0F, 0.0F, 33554440.0F},
              {"I LightCCT_Sensor: lux = 301, CCT = 16777219, rawLux = 33554438, roi = 0, "
               "time = %T"})
        .marker({-300, 5000, 1234},
                {"I LightCCT_Sensor: lux = -300, CCT = 5000, rawLux = 1234, roi = 0, time = 0"})
        .data({-1, -2, -3}, {kUnsignedMinus, kUnsignedMinus, 0.0F, 0.0F, kUnsignedMinus})
        .form({4, 4, 4}, Marker::kNoTimestamp, {}, "\t")  // one byte short of a region
        .data({302, 5000, 1234}, {302.0F, 5000.0F, 0.0F, 0.0F, 1234.0F});
    const std::vector<Raw> none(7, 0);
    const std::string zeros =
        "I Light_IR_Sensor irdata=0 r=0, g=0, b=0, c=0, irAtime/ir_brightness=0, irAgain=0, time=";
    rows.emplace_back("Light_IR_Sensor", 48, kNonWakeUp, "Light IR", 65578, "light_ir", "", 2,
                      "E Light Sensor : Meta event")
        .form({4, 4, 4, 4, 4, 2, 2}, Marker::kAllZero)
        // Gain and time change places.
        .data({16777219, 2, 3, 4, 16777223, 6, 7},
              {16777220.0F, 2.0F, 3.0F, 4.0F, 16777224.0F, 7.0F, 6.0F},
              {"I Light_IR_Sensor irdata=16777219 r=2, g=3, b=4, c=16777223, "
               "irAtime/ir_brightness=7, irAgain=6, time=%T"})
        .data({-1, -2, -3, -4, -5, -6, -7}, std::vector<Word>(7, kUnsignedMinus),
              {"I Light_IR_Sensor irdata=-1 r=-2, g=-3, b=-4, c=-5, irAtime/ir_brightness=-7, "
               "irAgain=-6, time=%T"})
        .marker(none, {zeros + "0"})
        .data(none, {}, {zeros + "41"}, 41)
        .data(none, {}, {zeros + "42"}, 42)
        .data(none, {}, {}, 43);  // the sixth record is not logged
    rows.emplace_back("LightSeamless_Sensor", 55, kNonWakeUp, "Light Seamless Sensor", 65614,
                      "light_seamless", kQSensor, 2, "E LightSeamless_Sensor : Meta event")
        .form({4})
        .data({-16777219}, {-16777220.0F},
              {"I LightSeamless_Sensor : event = -16777219, time = %T"});
}

}  // namespace golden
