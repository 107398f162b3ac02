#include "hub/QContextSensor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/HubFixture.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V2_0::zelva_sensorhub::QContextSensor;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorBase;
using testing_support::LogCapture;

constexpr int kHandle = 32;
constexpr char kList[] = "/sys/class/sensors/hbx_sensor/qcontext_list";

using Words = std::vector<uint32_t>;
/** An event's type, and its payload without the zeros at the end. */
using Seen = std::pair<int32_t, Words>;

class QContextSensorTest : public testing_support::HubFixture {
  protected:
    QContextSensorTest() { LogCapture::take(); }

    /** The events of the one post since the last call. */
    std::vector<Seen> posted() {
        std::vector<Seen> all;
        const auto posts = mCallback.take();
        EXPECT_EQ(posts.size(), 1u);
        for (const auto& post : posts) {
            EXPECT_FALSE(post.wakeup);
            for (const Event& event : post.events) {
                EXPECT_EQ(event.sensorHandle, kHandle);
                Words words(16);
                memcpy(words.data(), &event.u, sizeof(event.u));
                while (!words.empty() && words.back() == 0)
                    words.pop_back();
                all.emplace_back(static_cast<int32_t>(event.sensorType), words);
                mTimestamp = event.timestamp;
            }
        }
        return all;
    }

    /** Sends one record through. */
    void pass(int32_t size, uint16_t begin, uint16_t end, const std::string& data,
              int64_t timestamp) {
        EXPECT_TRUE(mServices.pushContext(size, begin, end, data, timestamp));
        LogCapture::take();
        mSensor.readEvents();
    }

    QContextSensor mSensor{&mCallback};
    int64_t mTimestamp = -1;  // of the last event posted
};

TEST_F(QContextSensorTest, DescribesItself) {
    const SensorInfo& info = mSensor.getSensorInfo();
    EXPECT_EQ(info.sensorHandle, 32);
    EXPECT_EQ(std::string(info.name), "Qcontext");
    EXPECT_EQ(std::string(info.vendor), "Tavrine Inc.");
    EXPECT_EQ(info.version, 2);
    EXPECT_EQ(static_cast<int32_t>(info.type), 65586);
    EXPECT_EQ(std::string(info.typeAsString), "com.tavrine.sensor.sensorhubs");
    EXPECT_EQ((std::vector<float>{info.maxRange, info.resolution, info.power}),
              (std::vector<float>{1, 0, 0}));
    EXPECT_EQ(info.minDelay, 0);
    EXPECT_EQ(info.fifoReservedEventCount + info.fifoMaxEventCount, 0u);
    EXPECT_EQ(std::string(info.requiredPermission), "com.tavrine.permission.QSENSOR");
    EXPECT_EQ(info.maxDelay, 20000);
    EXPECT_EQ(info.flags, 6u);
    // The base's enable and this class's own.
    EXPECT_EQ(mHub.requests(simulator::Request::Kind::kBufferEnable).size(), 2u);
    EXPECT_EQ(mSensor.batch(kHandle, 1, 2), 0);
    EXPECT_EQ(mSensor.batch(kHandle, 1, 2, 3), 0);
}

TEST_F(QContextSensorTest, PostsRecordsAsTheyAre) {
    pass(100, 0, 2, std::string("\1\2\377\4", 4), 123456789012);
    EXPECT_EQ(posted(), (std::vector<Seen>{{65586, {100, 0x00020000, 0x04FF0201}}}));
    EXPECT_EQ(mTimestamp, 123456789012);
    EXPECT_LOG("I context 100 0 2 1,2,255, 123456789012");

    EXPECT_EQ(mSensor.flush(kHandle), 0);
    EXPECT_EQ(posted(), (std::vector<Seen>{{0, {1}}}));

    pass(4, 0, 0, "x", 0);
    EXPECT_EQ(posted().size(), 1u);
    EXPECT_EQ(mTimestamp, 0);
    EXPECT_LOG("I QContextSensor: SensorHub reset");

    mServices.pushContext(1, 0, 0, "", 1);
    mHub.failRead(kHandle, EIO);
    mSensor.readEvents();
    EXPECT_LOG(
        "E QContextSensor :input data file descriptor not "
        "available - (Input/output error)");
    EXPECT_EQ(mCallback.take().size(), 0u);
}

TEST_F(QContextSensorTest, RendersOnlyPlausibleRangesAndStoredBytes) {
    std::string sevens;
    for (int i = 0; i < 56; ++i)
        sevens += "7,";
    // Behind the data are the bytes of the timestamp, 9 and seven times 0; behind the record, 0.
    const std::string all = sevens + "9,0,0,0,0,0,0,0,";
    const struct {
        int32_t size;
        uint16_t begin;
        uint16_t end;
        std::string line;
    } cases[] = {
        {2, 0, 2, ""},
        {2, 1, 1, ""},
        {-1, 0, 1, ""},
        {70000, 65535, 0, ""},
        {70000, 0, 65, ""},
        {70000, 65534, 65535, "context 70000 65534 65535 7,7, 9"},
        {100, 0, 55, "context 100 0 55 " + sevens + " 9"},
        {100, 0, 63, "context 100 0 63 " + all + " 9"},
        {100, 1, 65, "context 100 1 65 " + all + "0, 9"},
    };
    for (const auto& c : cases) {
        pass(c.size, c.begin, c.end, std::string(56, '\7'), 9);
        EXPECT_EQ(LogCapture::take(), c.line.empty() ? Log{} : (Log{"I " + c.line}));
    }
}

TEST_F(QContextSensorTest, AnnouncesTheContextListWhenEnabled) {
    mServices.setContextList({0x11, 0xFFFFFFFF, 0, 0x40000000});
    const int64_t begin = SensorBase::getTimestamp();
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_EQ(posted(), (std::vector<Seen>{{33, {}},
                                           {33, {0x10000002, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}},
                                           {33, {1, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}}}));
    EXPECT_GE(mTimestamp, begin);
    EXPECT_TRUE(logged("I QContext List : 0x11 0xffffffff 0x0 0x40000000"));
    // The last list is still there when the next frame begins.
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_EQ(posted().at(0), (Seen{33, {0, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}}));
    EXPECT_EQ(mSensor.enable(kHandle, false), 0);
    EXPECT_EQ(mCallback.take().size(), 0u);
}

TEST_F(QContextSensorTest, EnablesWithoutAReadableListButNotWithoutTheFile) {
    mHub.failRead(kList, EIO);
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_TRUE(logged("E QContextSensor : qcontext list read failed - (Input/output error)"));
    mHub.removeFile(kList);
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_TRUE(
        logged("E QContextSensor : qcontext list open failed - (No such file or directory)"));
    EXPECT_EQ(mCallback.take().size(), 0u);

    // A second object finds the device taken, but does not get as far as to notice.
    QContextSensor second(&mCallback);
    EXPECT_EQ(second.enable(kHandle, true), 0);
    mServices.setContextList({});
    EXPECT_EQ(second.enable(kHandle, true), -EIO);
}

}  // namespace
