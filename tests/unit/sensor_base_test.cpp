#include "sensors/SensorBase.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <numeric>

#include "tests/unit/HubFixture.h"

namespace {

using namespace testing_support;

constexpr char kInjection[] = "/dev/shub_data_injection";

/** A driver that adds nothing: the base as it is. */
class PlainSensor : public SensorBase {
  public:
    PlainSensor(const char* iioName, const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase(iioName, "PlainSensor", "Plain", info, callback, false) {}
    void readEvents() override {}
    int batch(int handle, int64_t period, int64_t latency) override {
        return handle == 1 && latency == 0 ? static_cast<int>(period) : -1;
    }
};

class SensorBaseTest : public HubFixture {
  protected:
    SensorBaseTest() : HubFixture(onlySensors({1})) {
        mInfo.sensorHandle = 1;
        mInfo.name = "CHIP";
    }

    std::unique_ptr<PlainSensor> make(const char* iioName = "accelerometer_sensor") {
        LogCapture::take();
        mHub.clearRequests();
        return std::make_unique<PlainSensor>(iioName, mInfo, &mCallback);
    }
    std::string attribute(const char* name) const {
        return "/sys/bus/iio/devices/iio:device" + mNumber + "/" + name;
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

    const std::string mDevice = mHub.devicePath(1);
    const std::string mNumber = std::to_string(mHub.device(1).number);
    SensorInfo mInfo = {};
};

TEST_F(SensorBaseTest, ConstructionSizesEnablesAndDescribes) {
    mInfo.fifoMaxEventCount = 100;
    EXPECT_EQ(make()->setDelay(1, 20), 20);
    EXPECT_LOG("I PlainSensor", "I sensor_name CHIP Plain mSensorInfo.name CHIP Plain",
               "I injection path /dev/shub_data_injection");
    EXPECT_EQ(written(Request::Kind::kBufferLength), "600\n");
    EXPECT_EQ(written(Request::Kind::kBufferEnable), "1\n");
}

TEST_F(SensorBaseTest, LongFifoNamelessChipAndOtherInjectionDevice) {
    mInfo.fifoMaxEventCount = 2000;
    mInfo.name = "";
    mHub.fail("open", kInjection, ENOENT);
    const auto sensor = make();
    EXPECT_EQ(written(Request::Kind::kBufferLength), "2000\n");
    EXPECT_EQ(std::string(sensor->getSensorInfo().name), "Plain");
    EXPECT_EQ(LogCapture::take().back(), "I injection path /dev/hbx_data_injection");
}

TEST_F(SensorBaseTest, MissingPiecesLeaveNoDescriptor) {
    EXPECT_EQ(make(nullptr)->getFd(), -1);
    const auto unknown = make("no_such_sensor");
    EXPECT_EQ(unknown->getFd(), -1);
    EXPECT_EQ(unknown->enable(1, true), -EIO);
    EXPECT_EQ(LogCapture::take().back(), "E PlainSensor::enable, data fd -1, handle 1, enable 1");
    mHub.fail("open", mDevice, EBUSY);
    EXPECT_EQ(make()->getFd(), -1);
    EXPECT_EQ(LogCapture::take().at(0), "E SensorBase, ERROR mDevNum = " + mNumber);
    EXPECT_EQ(written(Request::Kind::kBufferLength), "");
    mHub.fail("open", "/sys/bus/iio/devices/", ENOENT);
    EXPECT_EQ(make()->getFd(), -1);
    EXPECT_EQ(LogCapture::take().at(0), "E No industrialio devices available");
}

TEST_F(SensorBaseTest, DeviceNamesAreComparedAsTheFirstWordOfAtMost29Characters) {
    const std::string longName = "abcdefghijklmnopqrstuvwxyz0123456";
    for (const auto& [device, name] : {std::pair<const char*, std::string>{"", "longest_name"},
                                       {"x", "longest_name"},
                                       {"77", longName},
                                       {"78", "  two words"}})
        mHub.setFile(std::string("/sys/bus/iio/devices/iio:device") + device + "/name",
                     name + "\n");
    EXPECT_EQ(SensorBase::findTypeByName("longest_name", "iio:device"), -ENODEV);
    EXPECT_EQ(SensorBase::findTypeByName(longName.c_str(), "iio:device"), -ENODEV);
    EXPECT_EQ(SensorBase::findTypeByName(longName.substr(0, 29).c_str(), "iio:device"), 77);
    EXPECT_EQ(SensorBase::findTypeByName("two", "iio:device"), 78);
}

TEST_F(SensorBaseTest, FailedBufferEnableGetsOneMoreAttempt) {
    const std::string path = attribute("buffer/enable");
    const std::string line = "E writeSysfsInt, ERROR open file " + path + " to write with error ";
    mHub.fail("write", path, EBUSY, 1, 2);
    mHub.fail("open", attribute("buffer/length"), EACCES);  // skipped without a word
    auto sensor = make();
    EXPECT_EQ(LogCapture::take().at(1), line + "16");
    EXPECT_EQ(sensor->enable(1, true), 0);
    EXPECT_LOG(line + "16", "E iio buffer/enable failed again -16");
    mHub.clearRequests();
    EXPECT_EQ(sensor->enable(1, true), 0);

    // The attempt is used up even when the file is gone.
    sensor.reset();
    mHub.fail("close", path, EIO);
    sensor = make();
    EXPECT_EQ(LogCapture::take().at(1), line + "5");
    mHub.fail("open", path, ENOENT);
    mHub.clearRequests();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(sensor->enable(1, true), 0);
    }
    EXPECT_TRUE(mHub.requests().empty());
    EXPECT_LOG();
}

TEST_F(SensorBaseTest, DataAvailable) {
    const std::string failed = "E SensorBase::readSysfsInt: read failed: ";
    const struct {
        int handle;
        uint32_t fifo;
        uint64_t latencyNs;
        const char* text;
        int records;
        Lines lines;
    } cases[] = {
        {1, 100, 0, "17\n", 1, {}},
        {1, 100, 1, "17\n", 17, {}},
        {1, 0, 1, "17\n", 1, {}},
        {38, 0, 0, "17\n", 17, {}},
        {50, 0, 0, "17\n", 17, {}},
        {1, 100, 1, "0\n", 0, {}},
        {1, 100, 1, "-3\n", 1, {}},
        {1, 100, 1, "99999999999\n", 1, {failed + "-34(Numerical result out of range)"}},
        {1, 100, 1, "many\n", 1, {failed + "-22(Invalid argument)"}},
    };
    for (const auto& c : cases) {
        mInfo.sensorHandle = c.handle;
        mInfo.fifoMaxEventCount = c.fifo;
        mHub.setDataAvailable(1, c.text);
        const auto sensor = make();
        LogCapture::take();
        EXPECT_EQ(sensor->getDataAvailable(c.latencyNs), c.records) << &c - cases;
        EXPECT_EQ(LogCapture::take(), c.lines) << &c - cases;
    }
}

TEST_F(SensorBaseTest, SysfsNumbers) {
    const char* const path = "/sys/class/sensors/number";
    int value = 5;
    EXPECT_EQ(SensorBase::readSysfsInt(path, &value), -ENOENT);
    EXPECT_EQ(SensorBase::writeSysfsInt(path, 1), 0);
    EXPECT_FALSE(mHub.hasFile(path));
    mHub.setFile(path, " -12 and more");
    EXPECT_EQ(SensorBase::readSysfsInt(path, &value), 0);
    EXPECT_EQ(value, -12);
    mHub.fail("close", path, EIO);
    EXPECT_EQ(SensorBase::readSysfsInt(path, &value), -EIO);
    EXPECT_LOG("E SensorBase::readSysfsInt: close failed: -5(Input/output error)");
}

TEST_F(SensorBaseTest, DefaultInjectionSkipsPayloadWordOne) {
    const auto sensor = make();
    mHub.clearRequests();
    Event event = {};
    uint32_t words[16] = {};
    std::iota(std::begin(words), std::end(words), 0);
    for (const uint32_t code : {0U, 1U, 0x10000007U}) {
        LogCapture::take();
        EXPECT_TRUE(mHub.requests().empty());
        words[0] = code;
        memcpy(&event.u, words, sizeof(words));
        EXPECT_EQ(sensor->injectSensorData(event), 0);
    }
    EXPECT_LOG("I SensorBase::injectSensorData: CHIP Plain default injection, type=268435463");
    std::string expected("\x01\x01\x07\x00\x00\x10", 6);
    for (char word = 2; word <= 15; ++word)
        expected += std::string{word, '\0', '\0', '\0'};
    ASSERT_EQ(mHub.requests().size(), 1u);
    EXPECT_EQ(mHub.requests()[0].bytes, expected);
    EXPECT_EQ(mHub.requests()[0].access, O_RDWR);

    const auto expectFailure = [&](int result, const std::string& line) {
        EXPECT_EQ(sensor->injectSensorData(event), result);
        EXPECT_EQ(LogCapture::take().back(), "E PlainSensor::writeInjection: " + line);
    };
    mHub.fail("write", kInjection, EINTR, 1, 2);
    expectFailure(0, "EINTR! retry to write");
    mHub.fail("write", kInjection, ENOSPC);
    expectFailure(-ENOSPC, "error(-28) No space left on device");
    mHub.fail("open", kInjection, EACCES);
    expectFailure(-ENODEV, "open failed(-13) Permission denied");
}

}  // namespace
