#include <cutils/properties.h>

#include <cmath>
#include <limits>

#include "sensors/light/LightBase.h"
#include "simulator/RearLightSensor.h"
#include "tests/drivers/DriverBench.h"

namespace driver_tests {
namespace {

using simulator::RearLightSensor;

constexpr int kLight = 5;
constexpr int kCct = 34;
constexpr int kAutoBrightness = 37;
constexpr int kInfrared = 48;
constexpr int kSeamless = 55;
constexpr char kCameraLight[] = "persist.sns.camera_light";
constexpr char kAmbientBrightness[] = "persist.dm.passive.ambient_brightness";

using Pair = std::pair<float, float>;

/** All light sensors, with the rear one. */
class LightTest : public testing::Test, protected DriverBench {
  protected:
    LightTest()
        : DriverBench({{kLight}, {kCct}, {kAutoBrightness}, {kInfrared}, {kSeamless}}),
          mRear(mHub) {
        rebuild();
        LightBase::pmsInfo.threshold_dark = 0;
        LightBase::pmsInfo.threshold_bright = 0;
        LightBase::pmsInfo.brightness = 0;
        LogCapture::take();
        mHub.clearRequests();
    }

    SensorBase& autoBrightness() { return sensor(kAutoBrightness); }

    /** Payload words 0 and 1 of what a record makes the auto-brightness sensor post. */
    Pair brightness(int32_t lux, uint8_t minFlag, uint8_t flipState) {
        const auto record = RecordBuilder().i32(lux).u8(minFlag).u32(0).u8(flipState).u64(1);
        const auto posts = read(kAutoBrightness, record.bytes());
        if (posts.size() != 1) return {NAN, NAN};
        return {posts[0].events[0].u.data[0], posts[0].events[0].u.data[1]};
    }

    /** The line of a reading of the rear sensor, behind its head. */
    std::string reading(const std::string& text) {
        mRear.setText(text);
        LogCapture::take();
        brightness(-1, 2, 0);
        const Lines lines = LogCapture::take();
        return lines.size() < 2 ? "" : lines[lines.size() - 2].text;
    }

    RearLightSensor mRear;
};

TEST_F(LightTest, ConstructionLooksForTheRearSensor) {
    property_set(kCameraLight, "true");
    rebuild();
    char value[PROPERTY_VALUE_MAX];
    property_get(kCameraLight, value, "");
    EXPECT_STREQ(value, "false");
    EXPECT_TRUE(LogCapture::contains("E support rear flicker feature"));

    mHub.removeFile(RearLightSensor::kDataPath);
    rebuild();
    EXPECT_TRUE(LogCapture::contains("E do not support rear flicker feature"));
    LogCapture::take();
    mHub.clearRequests();
    EXPECT_EQ(autoBrightness().enable(kAutoBrightness, true), 0);
    EXPECT_TRUE(LogCapture::take().empty());
    EXPECT_TRUE(mHub.requests().empty());
}

TEST_F(LightTest, EachEnableLogsTheFirstRecordsAgain) {
    const std::tuple<int, size_t, size_t> cases[] = {
        {kLight, 12, 3}, {kCct, 22, 3}, {kAutoBrightness, 18, 3}, {kInfrared, 32, 5}};
    std::string record(32, '\0');
    for (const size_t byte : {0U, 11U, 17U, 31U})  // data and a timestamp for each of them
        record[byte] = '\1';
    for (const auto& [handle, size, logged] : cases) {
        SCOPED_TRACE(handle);
        const auto linesOfSix = [&, handle = handle, size = size] {
            LogCapture::take();
            for (int i = 0; i < 6; ++i)
                read(handle, record.substr(0, size));
            return LogCapture::take().size();
        };
        EXPECT_EQ(linesOfSix(), logged);
        EXPECT_EQ(sensor(handle).enable(handle, false), 0);
        EXPECT_EQ(linesOfSix(), 0u);
        EXPECT_EQ(sensor(handle).enable(handle, true), 0);
        EXPECT_EQ(linesOfSix(), logged);
    }
}

TEST_F(LightTest, RearSensorReadings) {
    LightBase::pmsInfo.threshold_dark = 42;
    // The text of the file, and the light and the channels that are logged. At a ratio of 0.43 the
    // formula changes. Some are a hair from a whole number: fusing the products would tip them.
    const std::pair<std::string, const char*> cases[] = {
        {"1000000,100000", "55 (1000000, 100000"},
        {"100000,1000000", "-7 (100000, 1000000"},
        {"43000000,100000000", "-3298 (43000000, 100000000"},
        {"42999000,100000000", "-3232 (42999000, 100000000"},
        {"2000000,0", "122 (2000000, 0"},
        {"500000000,500000000", "953 (500000000, 500000000"},
        {"500000001,1", "-1 (500000001, 1"},
        {"1,500000001", "-1 (1, 500000001"},
        {"-3,5", "-1 (-3, 5"},
        {"5,-2", "-1 (5, -2"},
        {"-6,5", "-1 (-6, 5"},
        {"1394299,697149", "43 (1394299, 697149"},
        {"1996383,998191", "63 (1996383, 998191"},
        {"garbage\n", "0 (0, 0"},
        {"2000000\n", "122 (2000000, 0"},
        {"200000000000,1\n", "12241 (200000000, 0"},
        // No more than 20 bytes are read.
        {std::string(12, ' ') + "123,123456789", "0 (123, 1234"},
    };
    for (const auto& [text, figures] : cases) {
        EXPECT_EQ(reading(text),
                  std::string("getFlickerData: flicker lux: ") + figures + ", dw: 42)");
    }
    EXPECT_EQ(reading(""), "AutoBrightnessSensor::getFlickerData: fread fail");
    mHub.fail("open", RearLightSensor::kDataPath, EACCES);
    EXPECT_EQ(reading("1,1"), "AutoBrightnessSensor::getFlickerData: fopen fail");
}

TEST_F(LightTest, NothingNewTakesTheLastAcceptedReading) {
    reading("1000000,100000");
    reading("-3,5");
    EXPECT_EQ(reading("-2,-2"), "getFlickerData: flicker lux: 55 (1000000, 100000, dw: 0)");
    brightness(0, 2, 0);
    EXPECT_TRUE(LogCapture::contains("I getFlickerData: use prev als data"));
    autoBrightness().enable(kAutoBrightness, true);
    EXPECT_EQ(reading("-2,-2"), "getFlickerData: flicker lux: -1 (-1, -1, dw: 0)");
}

TEST_F(LightTest, EnableSwitchesTheRearSensor) {
    SensorBase& tested = autoBrightness();
    const auto line = [](int enabled, int valid) -> LogLine {
        return "I AutoBrightnessSensor::enable: flicker enable: " + std::to_string(enabled) +
               ", flicker valid: " + std::to_string(valid) + " ";
    };
    EXPECT_EQ(tested.enable(kAutoBrightness, true), 0);
    EXPECT_TRUE(mRear.isEnabled());
    EXPECT_EQ(tested.enable(kAutoBrightness, false), 0);
    EXPECT_EQ(takeWritten(Request::Kind::kWrite),
              (Packets{std::string("1\0", 2), std::string("0\0", 2)}));
    EXPECT_LOG(line(1, 1), line(0, 1));

    mHub.fail("write", RearLightSensor::kEnablePath, EIO);
    tested.enable(kAutoBrightness, true);
    EXPECT_LOG("E AutoBrightnessSensor::enableFlicker: fwrite error.", line(0, 1));
    tested.enable(kAutoBrightness, true);
    mHub.fail("open", RearLightSensor::kEnablePath, EACCES);
    tested.enable(kAutoBrightness, false);
    EXPECT_LOG(line(1, 1), "E AutoBrightnessSensor::enableFlicker: fopen error.", line(1, 1));

    simulator::NodeHandler half;
    half.onWrite = [](const std::string&) { return 1; };
    mHub.setHandler(RearLightSensor::kEnablePath, half);
    tested.enable(kAutoBrightness, false);
    EXPECT_LOG("E AutoBrightnessSensor::enableFlicker: fwrite error.", line(1, 1));

    mHub.clearRequests();
    mRear.setChannels(-6, -6);
    brightness(5, 2, 0);
    EXPECT_TRUE(LogCapture::contains("I flicker invalid data - read fail: -6, -6"));
    LogCapture::take();
    tested.enable(kAutoBrightness, true);
    EXPECT_TRUE(mHub.requests().empty());
    EXPECT_LOG(line(1, 0));
    mRear.setChannels(2000000, 0);
    LightBase::pmsInfo.threshold_dark = 1000;
    EXPECT_EQ(brightness(5, 0, 0), Pair(5, 0)) << "a sensor that has failed stays out for good";
}

TEST_F(LightTest, TheRearSensorRaisesTheLight) {
    const char* const lux150 = "2458861,0";
    const char* const lux80 = "1315000,0";
    const struct {
        bool enabled;  // and with it the rear sensor
        int32_t dark;  // threshold
        const char* rear;
        int32_t lux;
        uint8_t minFlag;
        uint8_t flipState;
        Pair posted;
        bool reads;
    } cases[] = {
        // Folded or at the minimum: the brighter of the two, even when the rear sensor is off.
        {false, 0, lux150, 20, 2, 0, {150, 1}, true},
        {false, 0, lux150, 20, 1, 1, {150, 1}, true},
        {false, 0, lux150, 151, 0, 1, {151, 0}, true},
        {false, 100, lux150, 20, 1, 0, {20, 1}, false},
        // In the dark: up to one lux beyond the threshold.
        {true, 150, lux150, 20, 1, 0, {150, 1}, true},
        {true, 100, lux80, 80, 1, 0, {80, 1}, true},
        {true, 100, lux80, 81, 1, 0, {81, 1}, true},
        {true, 100, lux80, -2, 0, 0, {80, 0}, true},
        {true, 100, lux150, 99, 1, 0, {101, 0}, true},
        {true, 100, lux150, 100, 1, 0, {100, 1}, false},
        {true, 100, "-3,5", -2, 0, 0, {-2, 0}, true},  // no reading is not the camera's light
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        autoBrightness().enable(kAutoBrightness, c.enabled);
        LightBase::pmsInfo.threshold_dark = c.dark;
        mRear.setText(c.rear);
        const int reads = mRear.reads();
        EXPECT_EQ(brightness(c.lux, c.minFlag, c.flipState), c.posted);
        EXPECT_EQ(mRear.reads() - reads, c.reads ? 1 : 0);
    }
    mRear.setText(lux150);
    brightness(20, 2, 3);
    EXPECT_EQ(LogCapture::lines().back(), "I flip_state(3) minFlag(2) 150 20");
}

TEST_F(LightTest, SeamlessConfigurationIsSentAtEachEnable) {
    SensorBase& seamless = sensor(kSeamless);
    property_set(kAmbientBrightness, "");
    EXPECT_EQ(seamless.enable(kSeamless, true), 0);
    EXPECT_TRUE(mHub.requests().empty());
    property_set(kAmbientBrightness, "12,34");
    EXPECT_EQ(seamless.enable(kSeamless, false), 0);
    EXPECT_EQ(seamless.enable(kSeamless, true), 0);
    const std::string longest(91, '7');
    property_set(kAmbientBrightness, longest.c_str());
    EXPECT_EQ(seamless.enable(kSeamless, true), 0);
    EXPECT_EQ(takeWritten(), (Packets{"\x01\x37" + std::string("12,34"), "\x01\x37" + longest}));
    const std::string lead = "I LightSeamless_Sensor::setConfig ";
    EXPECT_LOG(lead + "fail to get persist.dm.passive.ambient_brightness",
               lead + "seamless lux 12,34", lead + "seamless lux " + longest);
}

}  // namespace
}  // namespace driver_tests
