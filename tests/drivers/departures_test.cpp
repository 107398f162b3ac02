// Where a driver departs from the frame; the light sensors' departures have a file of their own.

#include <cutils/properties.h>
#include <fcntl.h>

#include <cmath>

#include "sensors/light/LightBase.h"
#include "tests/drivers/DriverBench.h"

namespace driver_tests {
namespace {

constexpr uint32_t kSet = 0x10000000;

class Departures : public testing::Test, protected DriverBench {
  protected:
    Departures()
        : DriverBench({{5}, {27}, {37}, {42, true}, {47}, {52, true}, {54, true}, {57, true}}) {
        LogCapture::take();
    }

    std::string packet(int handle, const RecordBuilder& data) {
        return RecordBuilder().u8(1).u8(static_cast<uint8_t>(handle)).bytes() + data.bytes();
    }
};

TEST_F(Departures, Injection) {
    const std::string light = "I LightSensor::injectSensorData";
    const std::string orientation = "I DeviceOrientation::injectSensorData: mode ";
    const std::string backoff = "I SarBackoffMotion::injectSensorData: data ";
    const auto expect = [this](int handle, uint32_t code, const std::vector<float>& arguments,
                               const RecordBuilder& data, const std::string& line) {
        SCOPED_TRACE(line);
        EXPECT_EQ(inject(handle, code, arguments), 0);
        EXPECT_LOG(line);
        EXPECT_EQ(takeWritten(), Packets{packet(handle, data)});
        mHub.fail("write", kInjection, EIO);
        EXPECT_EQ(inject(handle, code, arguments), -EIO);
        LogCapture::take();
        mHub.clearRequests();
        for (const uint32_t nothing : {0U, 1U})
            EXPECT_EQ(inject(handle, nothing, {1}), 0);
        // The last is 2.0 as a float: the sub-command is raw bits.
        for (const uint32_t unknown :
             {2U, 0x10000003U, 0x40000000U, handle == 37 ? kSet : 0x10000001U})
            EXPECT_EQ(inject(handle, unknown, {1}), -EINVAL);
        EXPECT_TRUE(mHub.requests().empty());
        EXPECT_LOG();
    };
    expect(5, kSet, {-2.9F, 9, 9, 9}, RecordBuilder().i32(-2), light + ": brightness -2");
    expect(5, 0x10000002, {77.9F, 100, NAN, 3e9F},
           RecordBuilder().i32(77).i32(100).i32(0).i32(INT32_MAX),
           light + " brightness 77 threshold_dark 100 lux 0 threshold_bright 2147483647");
    expect(37, 0x10000001, {-500.7F}, RecordBuilder().i32(-500),
           "I AutoBrightnessSensor::injectSensorData: camLux -500");
    expect(27, kSet, {1.9F}, RecordBuilder().u32(1), orientation + "1");
    expect(27, kSet, {256}, RecordBuilder().u32(0), orientation + "256");
    expect(52, kSet, {-1.5F}, RecordBuilder().u32(0xFF), orientation + "-1");
    expect(52, kSet, {3e9F}, RecordBuilder().u32(0xFF), orientation + "2147483647");
    expect(54, kSet, {-2.75F}, RecordBuilder().i32(-2), backoff + "-2");
    expect(54, kSet, {-INFINITY}, RecordBuilder().i32(INT32_MIN), backoff + "-2147483648");
    expect(54, kSet, {2147483520.0F}, RecordBuilder().i32(2147483520), backoff + "2147483520");
    expect(54, kSet, {2147483648.0F}, RecordBuilder().i32(INT32_MAX), backoff + "2147483647");
    expect(54, kSet, {NAN}, RecordBuilder().i32(0), backoff + "0");
    EXPECT_EQ(LightBase::pmsInfo.threshold_dark, 100);
    EXPECT_EQ(LightBase::pmsInfo.threshold_bright, INT32_MAX);
    EXPECT_EQ(LightBase::pmsInfo.brightness, 77);
}

TEST_F(Departures, OrientationModeAndLogAreOfItsOwnObject) {
    const auto accuracy = [this](int handle) {
        const auto posts = read(handle, RecordBuilder().u8(1).u64(9).bytes());
        return static_cast<int>(posts.at(0).events.at(0).u.vec3.status);
    };
    const std::pair<float, int> cases[] = {{1.9F, 2}, {256, 3}, {-1.5F, 2}, {0.9F, 3}};
    for (const auto& [mode, expected] : cases) {
        inject(52, kSet, {mode});
        EXPECT_EQ(accuracy(52), expected) << mode;
        EXPECT_EQ(accuracy(27), 3) << mode;
    }
    mHub.fail("write", kInjection, EIO);
    inject(27, kSet, {1});
    EXPECT_EQ(accuracy(27), 2) << "also by a packet that could not be written";

    // The log names the wake-up twin.
    LogCapture::take();
    accuracy(52);
    read(52, RecordBuilder().u8(0).u64(0).bytes());
    mHub.fail("read", mHub.devicePath(52), EIO);
    sensor(52).readEvents();
    EXPECT_LOG("I DeviceOrientation(1): event = 1, time = 9", "I DeviceOrientation(1): Meta event",
               "E DeviceOrientation(1) :input data file descriptor not available - "
               "(Input/output error)");
}

TEST_F(Departures, BuildTypeDecidesWhetherDropTracesAreDelivered) {
    const std::pair<std::string, bool> cases[] = {
        {"", false},          {"user", false},       {"eng", true},
        {"en", false},        {"engineering", true}, {"userdebug", true},
        {"userdebug2", true}, {"userdebu", false},   {"my-eng", false},
    };
    for (const auto& [property, delivered] : cases) {
        SCOPED_TRACE(property);
        LogCapture::take();
        property_set("ro.build.type", property.c_str());
        rebuild();
        EXPECT_EQ(LogCapture::count("I DropClassifier:: build_type " +
                                    (property.empty() ? "user" : property) + ", user_build " +
                                    (delivered ? "0" : "1")),
                  1);
        property_set("ro.build.type", delivered ? "user" : "eng");  // too late
        const auto values = RecordBuilder().i64(1).i64(2).i64(3).u64(9).bytes();
        EXPECT_EQ(read(57, "\xFF" + values).size(), delivered ? 1U : 0U);
        EXPECT_EQ(read(57, std::string(1, '\0') + values).size(), 1U);
    }
    property_set("ro.build.type", "");
}

TEST_F(Departures, FlipCoverIsListedWhileItsStatusFileOpensReadWrite) {
    SensorBase& cover = sensor(42);
    EXPECT_FALSE(cover.isShownSensorList());
    const char* const status = "/sys/class/sensors/flip_cover_detector_sensor/nfc_cover_status";
    simulator::NodeHandler handler;
    handler.onOpen = [](int flags) { return (flags & O_ACCMODE) == O_RDWR ? 0 : EACCES; };
    mHub.setHandler(status, handler);
    EXPECT_TRUE(cover.isShownSensorList());
    mHub.fail("open", status, EACCES);
    EXPECT_FALSE(cover.isShownSensorList());
}

TEST_F(Departures, SequentialStepSendsItsPeriodAsThreshold) {
    const std::pair<int64_t, int64_t> cases[] = {
        {2500000, 2}, {999999, 0}, {-2500000, -2}, {5000000000000000, 5000000000}};
    for (const auto& [periodNs, threshold] : cases) {
        EXPECT_EQ(sensor(47).batch(47, periodNs, 7000000), 0);
        EXPECT_EQ(takeWritten(), Packets{packet(47, RecordBuilder().u8(0x80).i64(threshold))});
        EXPECT_LOG("I SequentialStep::batch: threshold " + std::to_string(threshold));
    }
    mHub.fail("write", kInjection, EIO);
    EXPECT_EQ(sensor(47).batch(47, 2500000, 0), 0);
    EXPECT_EQ(LogCapture::count("E SequentialStep::writeInjection: error(-5) Input/output error"),
              1);
}

TEST(PressureSensor, ScaleFollowsTheVendor) {
    // STM 1/4096, Bosch Sensortec 1/6400.
    const std::pair<int, float> cases[] = {
        {3, 24.4140625F}, {8, 15.625F}, {0, 100000.0F}, {200, 100000.0F}};
    for (const auto& [vendor, pressure] : cases) {
        DriverBench bench({{6, false, vendor}});
        bench.rebuild();
        EXPECT_EQ(LogCapture::contains("W PressureSensor : There is no vendor name"),
                  vendor != 3 && vendor != 8);
        const auto record = RecordBuilder().i32(100000).u16(0).i32(0).i32(0).u64(5).bytes();
        EXPECT_EQ(bench.read(6, record).at(0).events.at(0).u.scalar, pressure);
    }
}

}  // namespace
}  // namespace driver_tests
