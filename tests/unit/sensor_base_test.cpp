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
using testing_support::LogLine;
using testing_support::RecordingCallback;

/** A driver that adds nothing: the base as it is. */
class PlainSensor : public SensorBase {
  public:
    PlainSensor(const char* iioName, const SensorInfo& info, ISensorsEventCallback* callback,
                bool wakeUpIsDefault = false)
        : SensorBase(iioName, "PlainSensor", "Plain", info, callback, wakeUpIsDefault) {}
    void readEvents() override {}
    using SensorBase::writeInjection;
};

simulator::SensorSpec accelerometer(bool wakeUp = false) {
    simulator::SensorSpec spec;
    spec.handle = 1;
    spec.chipName = "CHIP";
    spec.wakeUp = wakeUp;
    return spec;
}

class SensorBaseTest : public testing::Test {
  protected:
    explicit SensorBaseTest(bool wakeUp = false) : mHub(options(wakeUp)) {
        mInfo.sensorHandle = 1;
        mInfo.name = "CHIP";
    }

    static simulator::SimulatedHub::Options options(bool wakeUp) {
        simulator::SimulatedHub::Options options;
        options.sensors = {accelerometer(wakeUp)};
        return options;
    }

    std::unique_ptr<PlainSensor> make() {
        auto sensor = std::make_unique<PlainSensor>("accelerometer_sensor", mInfo, &mCallback);
        mConstructionLog = LogCapture::take();
        return sensor;
    }
    std::string attribute(const char* name) const {
        return "/sys/bus/iio/devices/iio:device" + std::to_string(mHub.deviceNumber(1)) + "/" +
               name;
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    SensorInfo mInfo = {};
    std::vector<LogLine> mConstructionLog;
};

TEST_F(SensorBaseTest, ConstructionSizesEnablesAndDescribes) {
    mInfo.fifoMaxEventCount = 100;
    const auto sensor = make();
    EXPECT_GE(sensor->getFd(), 1);
    EXPECT_EQ(mConstructionLog, (std::vector<LogLine>{
                                    {'I', "PlainSensor"},
                                    {'I', "sensor_name CHIP Plain mSensorInfo.name CHIP Plain"},
                                    {'I', "injection path /dev/shub_data_injection"},
                                }));
    const auto lengths = mHub.requests(Request::Kind::kBufferLength);
    ASSERT_EQ(lengths.size(), 1u);
    EXPECT_EQ(lengths[0].bytes, "600\n");
    EXPECT_EQ(lengths[0].error, 0);
    const auto enables = mHub.requests(Request::Kind::kBufferEnable);
    ASSERT_EQ(enables.size(), 1u);
    EXPECT_EQ(enables[0].bytes, "1\n");
    EXPECT_EQ(enables[0].error, 0);
    EXPECT_TRUE(sensor->isBufferEnabled());
}

TEST_F(SensorBaseTest, LongFifoAndNamelessChip) {
    mInfo.fifoMaxEventCount = 2000;
    mInfo.name = "";
    const auto sensor = make();
    EXPECT_EQ(mHub.requests(Request::Kind::kBufferLength).at(0).bytes, "2000\n");
    EXPECT_EQ(std::string(sensor->getSensorInfo().name), "Plain");
}

TEST_F(SensorBaseTest, MissingPiecesLeaveNoDescriptor) {
    PlainSensor nameless(nullptr, mInfo, &mCallback);
    EXPECT_EQ(nameless.getFd(), -1);
    PlainSensor unknown("no_such_sensor", mInfo, &mCallback);
    EXPECT_EQ(unknown.getFd(), -1);
    LogCapture::take();
    EXPECT_EQ(unknown.enable(1, true), -EIO);
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'E', "PlainSensor::enable, data fd -1, handle 1, enable 1"}}));

    const std::string device = "/dev/iio:device" + std::to_string(mHub.deviceNumber(1));
    mHub.failOpen(device, EBUSY);
    const auto busy = make();
    EXPECT_EQ(busy->getFd(), -1);
    EXPECT_EQ(mConstructionLog.at(0).text,
              "SensorBase, ERROR mDevNum = " + std::to_string(mHub.deviceNumber(1)));
    EXPECT_TRUE(mHub.requests(Request::Kind::kBufferLength).empty());
}

TEST_F(SensorBaseTest, NoIioDirectory) {
    mHub.failOpen("/sys/bus/iio/devices/", ENOENT);
    const auto sensor = make();
    EXPECT_EQ(mConstructionLog.at(0), (LogLine{'E', "No industrialio devices available"}));
    EXPECT_EQ(sensor->getFd(), -1);
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
    mHub.failWrite(path, EBUSY, 1, 2);
    mHub.failOpen(attribute("buffer/length"), EACCES);  // skipped without a word
    const auto sensor = make();
    EXPECT_FALSE(sensor->isBufferEnabled());
    EXPECT_EQ(mConstructionLog.at(1),
              (LogLine{'E', "writeSysfsInt, ERROR open file " + path + " to write with error 16"}));
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{
                  {'E', "writeSysfsInt, ERROR open file " + path + " to write with error 16"},
                  {'E', "iio buffer/enable failed again -16"}}));
    mHub.clearRequests();
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_TRUE(mHub.requests().empty());
    EXPECT_TRUE(LogCapture::take().empty());
}

TEST_F(SensorBaseTest, RetryIsUsedUpEvenWhenTheFileIsGone) {
    mHub.failClose(attribute("buffer/enable"), EIO);
    const auto sensor = make();
    EXPECT_FALSE(sensor->isBufferEnabled());
    mHub.failOpen(attribute("buffer/enable"), ENOENT);
    mHub.clearRequests();
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_FALSE(sensor->isBufferEnabled());
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_TRUE(mHub.requests().empty());
    EXPECT_TRUE(LogCapture::take().empty());
}

TEST_F(SensorBaseTest, DataAvailable) {
    mInfo.fifoMaxEventCount = 100;
    const auto sensor = make();
    mHub.setDataAvailable(1, "17\n");
    EXPECT_EQ(sensor->getDataAvailable(0), 1);
    EXPECT_EQ(sensor->getDataAvailable(1), 17);
    mHub.setDataAvailable(1, "0\n");
    EXPECT_EQ(sensor->getDataAvailable(1), 0);
    mHub.setDataAvailable(1, "-3\n");
    EXPECT_EQ(sensor->getDataAvailable(1), 1);
    EXPECT_TRUE(LogCapture::take().empty());

    mHub.setDataAvailable(1, "99999999999\n");
    EXPECT_EQ(sensor->getDataAvailable(1), 1);
    mHub.setDataAvailable(1, "many\n");
    EXPECT_EQ(sensor->getDataAvailable(1), 1);
    EXPECT_EQ(
        LogCapture::take(),
        (std::vector<LogLine>{
            {'E', "SensorBase::readSysfsInt: read failed: -34(Numerical result out of range)"},
            {'E', "SensorBase::readSysfsInt: read failed: -22(Invalid argument)"}}));
    mHub.failOpen(attribute("buffer/data_available"), ENOENT);
    EXPECT_EQ(sensor->getDataAvailable(1), 1);
    EXPECT_TRUE(LogCapture::take().empty());

    mInfo.fifoMaxEventCount = 0;
    mHub.setDataAvailable(1, "17\n");
    EXPECT_EQ(PlainSensor("accelerometer_sensor", mInfo, &mCallback).getDataAvailable(1), 1);
    mInfo.sensorHandle = 38;
    EXPECT_EQ(PlainSensor("accelerometer_sensor", mInfo, &mCallback).getDataAvailable(0), 17);
    mInfo.sensorHandle = 50;
    EXPECT_EQ(PlainSensor("accelerometer_sensor", mInfo, &mCallback).getDataAvailable(0), 17);
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
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{
                  {'E', "SensorBase::readSysfsInt: close failed: -5(Input/output error)"},
                  {'E', "SensorBase::readSysfsInt: read failed: -13(Permission denied)"}}));
}

TEST_F(SensorBaseTest, InjectionWriter) {
    const auto sensor = make();
    const uint8_t packet[] = {1, 1, 42};
    mHub.failWrite("/dev/shub_data_injection", EINTR, 1, 2);
    EXPECT_EQ(sensor->writeInjection(packet, 3), 0);
    EXPECT_EQ(
        LogCapture::take(),
        (std::vector<LogLine>(2, {'E', "PlainSensor::writeInjection: EINTR! retry to write"})));
    mHub.failWrite("/dev/shub_data_injection", ENOSPC);
    EXPECT_EQ(sensor->writeInjection(packet, 3), -ENOSPC);
    mHub.failOpen("/dev/shub_data_injection", EACCES);
    EXPECT_EQ(sensor->writeInjection(packet, 3), -ENODEV);
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{
                  {'E', "PlainSensor::writeInjection: error(-28) No space left on device"},
                  {'E', "PlainSensor::writeInjection: open failed(-13) Permission denied"}}));

    mHub.failOpen("/dev/shub_data_injection", ENOENT);
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
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'I',
                                     "SensorBase::injectSensorData: CHIP Plain default injection, "
                                     "type=268435463"}}));
    for (const uint32_t code : {0u, 1u}) {
        memcpy(&event.u, &code, sizeof(code));
        EXPECT_EQ(sensor->injectSensorData(event), 0);
    }
    EXPECT_EQ(mHub.requests().size(), 1u);
}

TEST_F(SensorBaseTest, ReportingModeTestsAreNarrow) {
    for (const uint32_t flags : {4u, 5u, 0xCu}) {
        mInfo.flags = flags;
        EXPECT_TRUE(PlainSensor(nullptr, mInfo, &mCallback).isOneShotSensor()) << flags;
    }
    for (const uint32_t flags : {0u, 2u, 6u, 7u}) {
        mInfo.flags = flags;
        EXPECT_FALSE(PlainSensor(nullptr, mInfo, &mCallback).isOneShotSensor()) << flags;
    }
    mInfo.flags = 0x380;
    EXPECT_FALSE(PlainSensor(nullptr, mInfo, &mCallback).isDirectReportSensor());
    mInfo.flags = 0x800;
    EXPECT_TRUE(PlainSensor(nullptr, mInfo, &mCallback).isDirectReportSensor());
}

TEST_F(SensorBaseTest, EventDescriptorOfADevice) {
    PlainSensor closed(nullptr, mInfo, &mCallback);  // leaves the device to be opened
    PlainSensor* sensor = &closed;
    LogCapture::take();
    EXPECT_EQ(sensor->openIio("absent"), -1);
    EXPECT_EQ(sensor->openIio("accelerometer_sensor"), -1);  // the hub's driver has no event queue
    const std::string path = "/dev/iio:device" + std::to_string(mHub.deviceNumber(1));
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'E', "couldn't find the device absent"},
                                    {'E', "couldn't get a event fd from " + path}}));
}

TEST_F(SensorBaseTest, EventDescriptorThatTheDriverHandsOut) {
    PlainSensor sensor(nullptr, mInfo, &mCallback);
    simulator::NodeHandler handler;
    handler.onIoctl = [](unsigned long request, void* argument) {
        EXPECT_EQ(static_cast<uint32_t>(request), 0x80046990u);
        *static_cast<int*>(argument) = 77;
        return 0;
    };
    mHub.setHandler("/dev/iio:device" + std::to_string(mHub.deviceNumber(1)), handler);
    EXPECT_EQ(sensor.openIio("accelerometer_sensor"), 77);
}

TEST_F(SensorBaseTest, DelayIsABatchWithoutLatency) {
    struct Batched : PlainSensor {
        using PlainSensor::PlainSensor;
        int batch(int handle, int64_t period, int64_t latency) override {
            seen = {handle, period, latency};
            return 9;
        }
        std::vector<int64_t> seen;
    } sensor(nullptr, mInfo, &mCallback);
    EXPECT_EQ(sensor.setDelay(1, 20), 9);
    EXPECT_EQ(sensor.seen, (std::vector<int64_t>{1, 20, 0}));
}

TEST(BootTime, CountsFromBootWithSleepIncluded) {
    const auto now = [] {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return time.tv_sec * int64_t{1000000000} + time.tv_nsec;
    };
    const int64_t before = now();
    const int64_t stamp = SensorBase::getTimestamp();
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, now());
}

TEST(DecimalText, Atou) {
    EXPECT_EQ(SensorBase::atou("42abc"), 42u);
    EXPECT_EQ(SensorBase::atou("x1"), 0u);
    EXPECT_EQ(SensorBase::atou("-1"), 0u);
    EXPECT_EQ(SensorBase::atou(""), 0u);
    EXPECT_EQ(SensorBase::atou("4294967297"), 1u);
}

TEST(InjectedArguments, TruncateAndSaturate) {
    EXPECT_EQ(truncateToInt32(2.9F), 2);
    EXPECT_EQ(truncateToInt32(-2.9F), -2);
    EXPECT_EQ(truncateToInt32(std::nanf("")), 0);
    EXPECT_EQ(truncateToInt32(std::numeric_limits<float>::infinity()), INT32_MAX);
    EXPECT_EQ(truncateToInt32(-std::numeric_limits<float>::infinity()), INT32_MIN);
    EXPECT_EQ(truncateToInt32(2147483648.0F), INT32_MAX);
    EXPECT_EQ(truncateToInt32(2147483520.0F), 2147483520);
    EXPECT_EQ(truncateToInt32(-2147483648.0F), INT32_MIN);
}

}  // namespace
