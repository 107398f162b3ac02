#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "sensors/SensorList.h"
#include "simulator/SimulatedHub.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingCallback.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorBase;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorList;
using simulator::RecordBuilder;
using simulator::Request;
using testing_support::LogCapture;
using testing_support::LogLine;
using testing_support::RecordingCallback;

constexpr uint32_t kSetMode = 0x10000000;

Event injected(uint32_t subCommand, float mode) {
    Event event = {};
    memcpy(&event.u, &subCommand, sizeof(subCommand));
    event.u.data[2] = mode;
    return event;
}

/** Both objects, as the hub describes them: 27 on the plain device, 52 on its wake-up twin. */
class DeviceOrientation : public testing::Test {
  protected:
    DeviceOrientation() : mHub(options()), mList(&mCallback) { LogCapture::take(); }

    static simulator::SimulatedHub::Options options() {
        simulator::SimulatedHub::Options options;
        options.sensors.clear();
        for (const int handle : {27, 52}) {
            simulator::SensorSpec spec;
            spec.handle = handle;
            spec.wakeUp = handle == 52;
            options.sensors.push_back(spec);
        }
        return options;
    }

    std::vector<std::string> packets() {
        std::vector<std::string> packets;
        for (const Request& request : mHub.requests(Request::Kind::kInjection)) {
            packets.push_back(request.bytes);
        }
        mHub.clearRequests();
        return packets;
    }

    /** Accuracy reported with the next orientation. */
    int accuracy(int handle) {
        EXPECT_TRUE(mHub.push(handle, RecordBuilder().u8(1).u64(9).bytes()));
        mList.get(handle)->readEvents();
        const auto posts = mCallback.take();
        return posts.size() == 1 ? static_cast<int>(posts[0].events[0].u.vec3.status) : -1;
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    SensorList mList;
};

TEST_F(DeviceOrientation, InjectedModeLowersTheAccuracyOfItsOwnObject) {
    struct Case {
        float mode;
        const char* logged;
        char byte;
        int accuracy;
    };
    for (const Case& tested :
         {Case{1.9F, "1", 1, 2}, Case{256.0F, "256", 0, 3}, Case{-1.5F, "-1", '\xFF', 2},
          Case{0.9F, "0", 0, 3}, Case{3.0e9F, "2147483647", '\xFF', 2}}) {
        SCOPED_TRACE(tested.logged);
        EXPECT_EQ(mList.get(52)->injectSensorData(injected(kSetMode, tested.mode)), 0);
        EXPECT_EQ(LogCapture::take(),
                  (std::vector<LogLine>{{'I', std::string("DeviceOrientation::injectSensorData: "
                                                          "mode ") +
                                                  tested.logged}}));
        const std::string packet = {'\x01', '\x34', tested.byte, '\0', '\0', '\0'};
        EXPECT_EQ(packets(), std::vector<std::string>{packet});
        EXPECT_EQ(accuracy(52), tested.accuracy);
        EXPECT_EQ(accuracy(27), 3);
        LogCapture::take();
    }
}

TEST_F(DeviceOrientation, KeepsTheModeOfAPacketThatCannotBeWritten) {
    mHub.failWrite("/dev/shub_data_injection", EIO);
    EXPECT_EQ(mList.get(27)->injectSensorData(injected(kSetMode, 1)), -EIO);
    EXPECT_EQ(accuracy(27), 2);
}

TEST_F(DeviceOrientation, OtherSubCommandsChangeNothing) {
    EXPECT_EQ(mList.get(27)->injectSensorData(injected(1, 1)), 0);
    EXPECT_EQ(mList.get(27)->injectSensorData(injected(2, 1)), -EINVAL);
    EXPECT_EQ(mList.get(27)->injectSensorData(injected(0x10000001, 1)), -EINVAL);
    EXPECT_TRUE(packets().empty());
    EXPECT_TRUE(LogCapture::take().empty());
    EXPECT_EQ(accuracy(27), 3);
}

TEST_F(DeviceOrientation, LogTellsTheWakeUpTwin) {
    SensorBase& sensor = *mList.get(52);
    mHub.push(52, RecordBuilder().u8(255).u64(7).bytes());
    sensor.readEvents();
    mHub.pushFlushMarker(52);
    sensor.readEvents();
    mHub.failRead(52, EIO);
    sensor.readEvents();
    EXPECT_EQ(
        LogCapture::take(),
        (std::vector<LogLine>{{'I', "DeviceOrientation(1): event = 255, time = 7"},
                              {'I', "DeviceOrientation(1): Meta event"},
                              {'E',
                               "DeviceOrientation(1) :input data file descriptor not available - "
                               "(Input/output error)"}}));
}

}  // namespace
