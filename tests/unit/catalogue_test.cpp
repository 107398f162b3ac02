#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>

#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "sensors/SensorList.h"
#include "simulator/SimulatedHub.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingCallback.h"

namespace {

using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V2_0::zelva_sensorhub::QContextSensor;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorList;
using simulator::RecordBuilder;
using testing_support::LogCapture;
using testing_support::LogLine;
using testing_support::RecordingCallback;

struct Fields {
    uint8_t handle = 1;
    std::string name = "CHIP";
    uint8_t vendor = 0;
    uint8_t wakeUp = 0;
    float resolution = 0.25F;
};

/** A specification record with a distinct value in every field. */
std::string record(const Fields& fields) {
    RecordBuilder bytes;
    bytes.u8(fields.handle);
    std::string name = fields.name;
    name.resize(15);
    for (const char c : name)
        bytes.u8(static_cast<uint8_t>(c));
    return bytes.u8(fields.vendor)
        .i32(11)
        .u8(fields.wakeUp)
        .i32(5000)
        .i32(-200000)
        .u16(65535)
        .u16(300)
        .f32(fields.resolution)
        .f32(78.5F)
        .f32(0.75F)
        .bytes();
}

std::string handleRecord(int handle, const std::string& name) {
    Fields fields;
    fields.handle = static_cast<uint8_t>(handle);
    fields.name = name;
    return record(fields);
}

class CatalogueTest : public testing::Test {
  protected:
    SensorList& build(const std::string& spec) {
        mHub.setRawSpec(spec);
        return build();
    }
    SensorList& build() {
        mList = std::make_unique<SensorList>(
            &mCallback, [](auto* callback) { return std::make_unique<QContextSensor>(callback); },
            [](auto* callback) { return std::make_unique<SensorHubSensor>(callback); });
        return *mList;
    }
    void expectHousekeepingOnly(const SensorList& list) {
        ASSERT_EQ(list.size(), 2);
        EXPECT_EQ(list.at(0), list.get(32));
        EXPECT_EQ(list.at(1), list.get(33));
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    std::unique_ptr<SensorList> mList;
};

TEST_F(CatalogueTest, EveryFieldOfARecord) {
    Fields fields;
    fields.vendor = 11;
    const SensorInfo& info = build(record(fields)).get(1)->getSensorInfo();
    EXPECT_EQ(std::string(info.name), "CHIP Accelerometer");
    EXPECT_EQ(std::string(info.vendor), "Haechitech");
    EXPECT_EQ(info.version, 11);
    EXPECT_EQ(info.minDelay, 5000);
    EXPECT_EQ(info.maxDelay, -200000);
    EXPECT_EQ(info.fifoMaxEventCount, 65535u);
    EXPECT_EQ(info.fifoReservedEventCount, 300u);
    EXPECT_EQ(info.resolution, 0.25F);
    EXPECT_EQ(info.maxRange, 78.5F);
    EXPECT_EQ(info.power, 0.75F);
    EXPECT_EQ(info.flags, 0u);

    const auto log = LogCapture::lines();
    const std::vector<LogLine> expected = {"I SensorList size 46 num 1 unitsize 46",
                                           "I handle 1",
                                           "I name CHIP",
                                           "I vendor Haechitech",
                                           "I version 11",
                                           "I maxRage 78.500000",
                                           "I resolution 0.250000",
                                           "I Delay min 5000 Max -200000",
                                           "I fifo 300 65535",
                                           "I wakeup 0 flags 0"};
    ASSERT_GE(log.size(), expected.size());
    EXPECT_EQ(std::vector<LogLine>(log.begin(), log.begin() + 10), expected);
    EXPECT_TRUE(LogCapture::contains("I index 0, CHIP"));
    EXPECT_TRUE(LogCapture::contains("I index 1, Qcontext"));
    EXPECT_TRUE(LogCapture::contains("I index 2, SensorHub"));
    EXPECT_TRUE(LogCapture::contains("I (AccSensor)SensorBase::isShownSensorList()"));
    EXPECT_TRUE(LogCapture::contains("I index 0, ishown 1"));
    EXPECT_TRUE(LogCapture::contains("I index 2, ishown 0"));
}

TEST_F(CatalogueTest, VendorsByIndex) {
    const char* const vendors[] = {"Tavrine Inc.",
                                   "Asahi Kasei Microdevices",
                                   "Yamaha",
                                   "STM",
                                   "Memsic",
                                   "AMS, Inc.",
                                   "Capella",
                                   "Sharp",
                                   "Bosch Sensortec",
                                   "TDK Invensense",
                                   "Sitronix",
                                   "Haechitech",
                                   "",
                                   ""};
    for (uint8_t index = 0; index < 14; ++index) {
        Fields fields;
        fields.vendor = index == 13 ? 255 : index;
        mList.reset();
        EXPECT_EQ(std::string(build(record(fields)).get(1)->getSensorInfo().vendor),
                  vendors[index]);
    }
}

TEST_F(CatalogueTest, BadRecordsLeaveNoGap) {
    const SensorList& list =
        build(handleRecord(0, "EMPTY") + handleRecord(1, "FIRST") + handleRecord(1, "SECOND") +
              handleRecord(72, "HIGH") + handleRecord(3, "GAP") + handleRecord(32, "QCONTEXT") +
              handleRecord(255, "TOP") + handleRecord(71, "ABSENT") + handleRecord(6, "BARO"));
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list.at(0), list.get(1));
    EXPECT_EQ(list.at(1), list.get(6));
    EXPECT_EQ(list.at(2), list.get(32));
    EXPECT_EQ(list.at(3), list.get(33));
    EXPECT_EQ(std::string(list.at(0)->getSensorInfo().name), "FIRST Accelerometer");
    EXPECT_EQ(list.get(72), nullptr);
    EXPECT_EQ(list.get(71), nullptr);
    EXPECT_FALSE(LogCapture::contains("I handle 0"));
    EXPECT_FALSE(LogCapture::contains("I SECOND fd error"));
    for (const int handle : {72, 3, 32, 255}) {
        EXPECT_EQ(LogCapture::count("E pushSensorList invalid handle " + std::to_string(handle)),
                  1);
    }
    EXPECT_TRUE(LogCapture::contains("I index 1, BARO"));
    for (int i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list.getFds()[i].fd, list.at(i)->getFd());
        EXPECT_EQ(list.getFds()[i].events, POLLIN);
        EXPECT_EQ(list.getFds()[i].revents, 0);
    }
}

TEST_F(CatalogueTest, DeviceThatDoesNotOpenIsDropped) {
    mHub.failOpen("/dev/iio:device" + std::to_string(mHub.deviceNumber(1)), EBUSY);
    const SensorList& list = build(handleRecord(1, "FIRST") + handleRecord(4, "GYRO"));
    EXPECT_TRUE(LogCapture::contains("I FIRST fd error"));
    EXPECT_EQ(list.get(1), nullptr);
    EXPECT_EQ(list.at(0), list.get(4));
}

TEST_F(CatalogueTest, ShortFiles) {
    for (const size_t size : {0u, 1u, 45u}) {
        mList.reset();
        expectHousekeepingOnly(build(handleRecord(1, "CHIP").substr(0, size)));
    }
    mList.reset();
    EXPECT_EQ(build(handleRecord(1, "CHIP") + handleRecord(4, "CUT").substr(0, 45)).get(4),
              nullptr);
}

TEST_F(CatalogueTest, OneReadOf4096BytesIsAllThereIs) {
    std::string spec;
    for (int i = 0; i < 88; ++i)
        spec += handleRecord(0, "");
    spec += handleRecord(1, "LAST");
    spec += handleRecord(4, "BEYOND");
    const SensorList& list = build(spec);
    EXPECT_TRUE(LogCapture::contains("I SensorList size 4096 num 89 unitsize 46"));
    EXPECT_NE(list.get(1), nullptr);
    EXPECT_EQ(list.get(4), nullptr);
}

TEST_F(CatalogueTest, HostileFields) {
    Fields fields;
    fields.name = "FIFTEENLETTERS_";
    fields.vendor = 12;
    fields.wakeUp = 0;
    fields.resolution = std::nanf("");
    const SensorInfo& info = build(record(fields)).get(1)->getSensorInfo();
    EXPECT_EQ(std::string(info.name), "FIFTEENLETTERS_ Accelerometer");
    EXPECT_EQ(std::string(info.vendor), "");
    EXPECT_TRUE(std::isnan(info.resolution));
    mList.reset();
    expectHousekeepingOnly(build(std::string(4096, '\xFF')));
}

TEST_F(CatalogueTest, UnreadableFile) {
    mHub.failOpen("/sys/class/sensors/hbx_sensor/sensor_spec", ENOENT);
    EXPECT_EQ(build().size(), 0);
    EXPECT_EQ(mList->getFds(), nullptr);
    EXPECT_LOG(
        "E makeSensorList: open failed. No such file or "
        "directory");
    mHub.failRead("/sys/class/sensors/hbx_sensor/sensor_spec", EIO);
    EXPECT_EQ(build().size(), 0);
    EXPECT_LOG("E makeSensorList: read failed. ret=-1");
}

TEST_F(CatalogueTest, EveryDescriptorIsClosedInTheEnd) {
    const auto openFiles = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = openFiles();
    build(handleRecord(1, "CHIP") + handleRecord(37, "LIGHT") + handleRecord(42, "COVER"));
    EXPECT_GT(openFiles(), before);
    mList.reset();
    EXPECT_EQ(openFiles(), before);
}

TEST_F(CatalogueTest, ContextSensorAbsent) {
    mHub.failOpen("/dev/iio:device" + std::to_string(mHub.deviceNumber(32)), ENOENT);
    const SensorList& list = build("");
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list.at(0), list.get(33));
    EXPECT_TRUE(LogCapture::contains("I Qcontext fd error"));
    EXPECT_TRUE(LogCapture::contains("I index 0, SensorHub"));
}

TEST_F(CatalogueTest, ListIsLoggedWithDoubleSeparatorsBetweenEntries) {
    const SensorList& list = build(handleRecord(1, "CHIP"));
    LogCapture::take();
    const auto infos = list.getSensorInfoList();
    ASSERT_EQ(infos.size(), 2u);
    const LogLine separator = "I ===============================";
    EXPECT_LOG("I getSensorInfoList", separator, "I name = CHIP Accelerometer", "I handle = 1",
               "I type = 1", separator, separator, "I name = Qcontext", "I handle = 32",
               "I type = 65586", separator);
}

}  // namespace
