#include "sensors/SensorBase.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>

#include "sensors/InjectedEvent.h"
#include "simulator/SimulatedHub.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingCallback.h"

namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using simulator::Request;
using testing_support::LogCapture;
using testing_support::RecordingCallback;

constexpr char kInjection[] = "/dev/shub_data_injection";

/** A driver that adds nothing: the base as it is. */
class PlainSensor : public SensorBase {
  public:
    PlainSensor(const char* iioName, const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase(iioName, "PlainSensor", "Plain", info, callback, false) {}
    void readEvents() override {}
    int batch(int handle, int64_t period, int64_t latency) override {
        mBatch = {handle, period, latency};
        return 9;
    }
    using SensorBase::writeInjection;

    std::vector<int64_t> mBatch;
};

class SensorBaseTest : public testing::Test {
  protected:
    SensorBaseTest() : mHub(options()) {
        mInfo.sensorHandle = 1;
        mInfo.name = "CHIP";
    }

    static simulator::SimulatedHub::Options options() {
        simulator::SimulatedHub::Options options;
        options.sensors.resize(1);  // the accelerometer
        return options;
    }

    std::unique_ptr<PlainSensor> make(const char* iioName = "accelerometer_sensor") {
        auto sensor = std::make_unique<PlainSensor>(iioName, mInfo, &mCallback);
        mConstructionLog = LogCapture::take();
        return sensor;
    }
    std::string device() const { return mHub.devicePath(1); }
    std::string attribute(const char* name) const {
        return "/sys/bus/iio/devices/iio:device" + std::to_string(mHub.device(1).number) + "/" +
               name;
    }
    /** What was written to a buffer attribute, accepted by the driver. */
    std::string written(Request::Kind kind) const {
        std::string all;
        for (const Request& request : mHub.requests(kind)) {
            EXPECT_EQ(request.error, 0);
            all += request.bytes;
        }
        return all;
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    SensorInfo mInfo = {};
    testing_support::Lines mConstructionLog;
};

TEST_F(SensorBaseTest, ConstructionSizesEnablesAndDescribes) {
    mInfo.fifoMaxEventCount = 100;
    const auto sensor = make();
    EXPECT_GE(sensor->getFd(), 1);
    EXPECT_EQ(mConstructionLog,
              (testing_support::Lines{"I PlainSensor",
                                      "I sensor_name CHIP Plain mSensorInfo.name CHIP Plain",
                                      "I injection path /dev/shub_data_injection"}));
    EXPECT_EQ(written(Request::Kind::kBufferLength), "600\n");
    EXPECT_EQ(written(Request::Kind::kBufferEnable), "1\n");
    EXPECT_TRUE(sensor->isBufferEnabled());
}

TEST_F(SensorBaseTest, LongFifoAndNamelessChip) {
    mInfo.fifoMaxEventCount = 2000;
    mInfo.name = "";
    const auto sensor = make();
    EXPECT_EQ(written(Request::Kind::kBufferLength), "2000\n");
    EXPECT_EQ(std::string(sensor->getSensorInfo().name), "Plain");
}

TEST_F(SensorBaseTest, MissingPiecesLeaveNoDescriptor) {
    EXPECT_EQ(make(nullptr)->getFd(), -1);
    const auto unknown = make("no_such_sensor");
    EXPECT_EQ(unknown->getFd(), -1);
    EXPECT_EQ(unknown->enable(1, true), -EIO);
    EXPECT_LOG("E PlainSensor::enable, data fd -1, handle 1, enable 1");

    mHub.failOpen(device(), EBUSY);
    EXPECT_EQ(make()->getFd(), -1);
    EXPECT_EQ(mConstructionLog.at(0),
              "E SensorBase, ERROR mDevNum = " + std::to_string(mHub.device(1).number));
    EXPECT_EQ(written(Request::Kind::kBufferLength), "");
    mHub.failOpen("/sys/bus/iio/devices/", ENOENT);
    EXPECT_EQ(make()->getFd(), -1);
    EXPECT_EQ(mConstructionLog.at(0), "E No industrialio devices available");
}

TEST_F(SensorBaseTest, DeviceNamesAreComparedAsTheFirstWordOfAtMost29Characters) {
    mHub.setFile("/sys/bus/iio/devices/iio:device/name", "longest_name\n");
    mHub.setFile("/sys/bus/iio/devices/iio:devicex/name", "longest_name\n");
    mHub.setFile("/sys/bus/iio/devices/iio:device77/name", "abcdefghijklmnopqrstuvwxyz0123456\n");
    mHub.setFile("/sys/bus/iio/devices/iio:device78/name", "  two words\n");
    EXPECT_EQ(SensorBase::findTypeByName("longest_name", "iio:device"), -ENODEV);
    EXPECT_EQ(SensorBase::findTypeByName("abcdefghijklmnopqrstuvwxyz0123456", "iio:device"),
              -ENODEV);
    EXPECT_EQ(SensorBase::findTypeByName("abcdefghijklmnopqrstuvwxyz012", "iio:device"), 77);
    EXPECT_EQ(SensorBase::findTypeByName("two", "iio:device"), 78);
}

TEST_F(SensorBaseTest, FailedBufferEnableGetsOneMoreAttempt) {
    const std::string path = attribute("buffer/enable");
    const std::string line = "E writeSysfsInt, ERROR open file " + path + " to write with error ";
    mHub.failWrite(path, EBUSY, 1, 2);
    mHub.failOpen(attribute("buffer/length"), EACCES);  // skipped without a word
    auto sensor = make();
    EXPECT_EQ(mConstructionLog.at(1), line + "16");
    EXPECT_FALSE(sensor->isBufferEnabled());
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_LOG(line + "16", "E iio buffer/enable failed again -16");
    mHub.clearRequests();
    EXPECT_EQ(sensor->enable(1, true), 0);

    // The attempt is used up even when the file is gone.
    sensor.reset();
    mHub.failClose(path, EIO);
    sensor = make();
    EXPECT_EQ(mConstructionLog.at(1), line + "5");
    EXPECT_FALSE(sensor->isBufferEnabled());
    mHub.failOpen(path, ENOENT);
    mHub.clearRequests();
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_FALSE(sensor->isBufferEnabled());
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_TRUE(mHub.requests().empty());
    EXPECT_LOG();
}

TEST_F(SensorBaseTest, DataAvailable) {
    const std::string failed = "E SensorBase::readSysfsInt: read failed: ";
    const std::string range = failed + "-34(Numerical result out of range)";
    const std::string invalid = failed + "-22(Invalid argument)";
    const struct {
        int handle;
        uint32_t fifo;
        uint64_t latencyNs;
        const char* text;
        int records;
        testing_support::Lines lines;
    } cases[] = {
        {1, 100, 0, "17\n", 1, {}},
        {1, 100, 1, "17\n", 17, {}},
        {1, 0, 1, "17\n", 1, {}},
        {38, 0, 0, "17\n", 17, {}},
        {50, 0, 0, "17\n", 17, {}},
        {1, 100, 1, "0\n", 0, {}},
        {1, 100, 1, "-3\n", 1, {}},
        {1, 100, 1, "99999999999\n", 1, {range}},
        {1, 100, 1, "many\n", 1, {invalid}},
    };
    for (const auto& c : cases) {
        mInfo.sensorHandle = c.handle;
        mInfo.fifoMaxEventCount = c.fifo;
        mHub.setDataAvailable(1, c.text);
        const auto sensor = make();
        EXPECT_EQ(sensor->getDataAvailable(c.latencyNs), c.records) << &c - cases;
        EXPECT_EQ(LogCapture::take(), c.lines) << &c - cases;
    }
    const auto sensor = make();
    mHub.failOpen(attribute("buffer/data_available"), ENOENT);
    EXPECT_EQ(sensor->getDataAvailable(1), 1);
    EXPECT_LOG();
}

TEST_F(SensorBaseTest, SysfsNumbers) {
    int value = 5;
    EXPECT_EQ(SensorBase::readSysfsInt("/sys/class/sensors/none", &value), -ENOENT);
    EXPECT_EQ(SensorBase::writeSysfsInt("/sys/class/sensors/none", 1), 0);
    EXPECT_FALSE(mHub.hasFile("/sys/class/sensors/none"));

    const std::string path = "/sys/class/sensors/number";
    mHub.setFile(path, " -12 and more");
    EXPECT_EQ(SensorBase::readSysfsInt(path.c_str(), &value), 0);
    EXPECT_EQ(value, -12);
    mHub.setFile(path, "");
    EXPECT_EQ(SensorBase::writeSysfsInt(path.c_str(), 7), 0);
    EXPECT_EQ(mHub.readFile(path), "7\n");
    mHub.failClose(path, EIO);
    EXPECT_EQ(SensorBase::readSysfsInt(path.c_str(), &value), -EIO);
    mHub.failRead(path, EACCES);
    EXPECT_EQ(SensorBase::readSysfsInt(path.c_str(), &value), -EACCES);
    EXPECT_LOG("E SensorBase::readSysfsInt: close failed: -5(Input/output error)",
               "E SensorBase::readSysfsInt: read failed: -13(Permission denied)");
}

TEST_F(SensorBaseTest, InjectionWriter) {
    const auto sensor = make();
    const uint8_t packet[] = {1, 1, 42};
    mHub.failWrite(kInjection, EINTR, 1, 2);
    EXPECT_EQ(sensor->writeInjection(packet, 3), 0);
    EXPECT_EQ(LogCapture::take(),
              (testing_support::Lines(2, "E PlainSensor::writeInjection: EINTR! retry to write")));
    mHub.failWrite(kInjection, ENOSPC);
    EXPECT_EQ(sensor->writeInjection(packet, 3), -ENOSPC);
    mHub.failOpen(kInjection, EACCES);
    EXPECT_EQ(sensor->writeInjection(packet, 3), -ENODEV);
    EXPECT_LOG("E PlainSensor::writeInjection: error(-28) No space left on device",
               "E PlainSensor::writeInjection: open failed(-13) Permission denied");

    mHub.failOpen(kInjection, ENOENT);
    const auto fallback = make();
    EXPECT_EQ(mConstructionLog.back().text, "injection path /dev/hbx_data_injection");
}

TEST_F(SensorBaseTest, DefaultInjectionSkipsPayloadWordOne) {
    const auto sensor = make();
    mHub.clearRequests();
    Event event = {};
    const uint32_t words[16] = {0x10000007, 0xAAAAAAAA, 2,  3,  4,  5,  6,  7,
                                8,          9,          10, 11, 12, 13, 14, 15};
    memcpy(&event.u, words, sizeof(words));
    EXPECT_EQ(sensor->injectSensorData(event), 0);
    std::string expected("\x01\x01\x07\x00\x00\x10", 6);
    for (char word = 2; word <= 15; ++word)
        expected += std::string{word, '\0', '\0', '\0'};
    ASSERT_EQ(mHub.requests().size(), 1u);
    EXPECT_EQ(mHub.requests()[0].bytes, expected);
    EXPECT_EQ(mHub.requests()[0].access, O_RDWR);
    EXPECT_LOG(
        "I SensorBase::injectSensorData: CHIP Plain default injection, "
        "type=268435463");
    for (const uint32_t code : {0u, 1u}) {
        memcpy(&event.u, &code, sizeof(code));
        EXPECT_EQ(sensor->injectSensorData(event), 0);
    }
    EXPECT_EQ(mHub.requests().size(), 1u);
}

TEST_F(SensorBaseTest, ReportingModeTestsAreNarrow) {
    const struct {
        uint32_t flags;
        bool oneShot;
        bool direct;
    } cases[] = {{0, false, false},    {2, false, false},     {6, false, false},
                 {7, false, false},    {4, true, false},      {5, true, false},
                 {0xC, true, false},   {0x380, false, false}, {0x400, false, true},
                 {0x800, false, true}, {0xC04, true, true}};
    for (const auto& c : cases) {
        mInfo.flags = c.flags;
        EXPECT_EQ(make(nullptr)->isOneShotSensor(), c.oneShot) << c.flags;
        EXPECT_EQ(make(nullptr)->isDirectReportSensor(), c.direct) << c.flags;
    }
}

TEST_F(SensorBaseTest, EventDescriptorOfADevice) {
    const auto sensor = make(nullptr);  // leaves the device to be opened
    EXPECT_EQ(sensor->openIio("absent"), -1);
    EXPECT_EQ(sensor->openIio("accelerometer_sensor"), -1);  // the hub's driver has no event queue
    mHub.failOpen(device(), EACCES);
    EXPECT_EQ(sensor->openIio("accelerometer_sensor"), -1);
    EXPECT_LOG("E couldn't find the device absent", "E couldn't get a event fd from " + device(),
               "E couldn't open " + device() + " (Permission denied)");

    simulator::NodeHandler handler;
    handler.onIoctl = [](unsigned long request, void* argument) {
        EXPECT_EQ(static_cast<uint32_t>(request), 0x80046990u);
        *static_cast<int*>(argument) = 77;
        return 0;
    };
    mHub.setHandler(device(), handler);
    EXPECT_EQ(sensor->openIio("accelerometer_sensor"), 77);
}

TEST_F(SensorBaseTest, DelayIsABatchWithoutLatency) {
    const auto sensor = make(nullptr);
    EXPECT_EQ(sensor->setDelay(1, 20), 9);
    EXPECT_EQ(sensor->mBatch, (std::vector<int64_t>{1, 20, 0}));
}

TEST(DecimalText, Atou) {
    const std::pair<const char*, unsigned> cases[] = {
        {"42abc", 42}, {"x1", 0}, {"-1", 0}, {"", 0}, {"4294967297", 1}};
    for (const auto& [text, number] : cases)
        EXPECT_EQ(SensorBase::atou(text), number) << text;
}

TEST(InjectedArguments, TruncateAndSaturate) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::pair<float, int32_t> cases[] = {{2.9F, 2},
                                               {-2.9F, -2},
                                               {std::nanf(""), 0},
                                               {kInfinity, INT32_MAX},
                                               {-kInfinity, INT32_MIN},
                                               {2147483648.0F, INT32_MAX},
                                               {2147483520.0F, 2147483520},
                                               {-2147483648.0F, INT32_MIN}};
    for (const auto& [value, truncated] : cases)
        EXPECT_EQ(truncateToInt32(value), truncated) << value;
}

}  // namespace
