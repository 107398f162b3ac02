#include "tests/drivers/DriverBench.h"

namespace driver_tests {
namespace {

constexpr uint32_t kSetMode = 0x10000000;

/** Both objects, as the hub describes them: 27 on the plain device, 52 on its wake-up twin. */
class DeviceOrientation : public testing::Test, protected DriverBench {
  protected:
    DeviceOrientation() : DriverBench({{27, false}, {52, true}}) {}

    /** Accuracy reported with the next orientation. */
    int accuracy(int handle) {
        const auto posts = read(handle, RecordBuilder().u8(1).u64(9).bytes());
        return posts.size() == 1 ? static_cast<int>(posts[0].events[0].u.vec3.status) : -1;
    }
};

TEST_F(DeviceOrientation, InjectedModeLowersTheAccuracyOfItsOwnObject) {
    const struct {
        float mode;
        const char* logged;
        uint8_t byte;
        int accuracy;
    } cases[] = {{1.9F, "1", 1, 2},
                 {256.0F, "256", 0, 3},
                 {-1.5F, "-1", 0xFF, 2},
                 {0.9F, "0", 0, 3},
                 {3.0e9F, "2147483647", 0xFF, 2}};
    for (const auto& tested : cases) {
        SCOPED_TRACE(tested.logged);
        EXPECT_EQ(inject(52, kSetMode, {tested.mode}), 0);
        const std::string line = "DeviceOrientation::injectSensorData: mode ";
        EXPECT_LOG("I " + line + tested.logged);
        const auto packet = RecordBuilder().u8(1).u8(52).u8(tested.byte).u8(0).u16(0);
        EXPECT_EQ(takeWritten(), Packets{packet.bytes()});
        EXPECT_EQ(accuracy(52), tested.accuracy);
        EXPECT_EQ(accuracy(27), 3);
        LogCapture::take();
    }
}

TEST_F(DeviceOrientation, OnlyTheModeSubCommandSetsIt) {
    EXPECT_EQ(inject(27, 1, {1}), 0);
    EXPECT_EQ(inject(27, 2, {1}), -EINVAL);
    EXPECT_EQ(inject(27, 0x10000001, {1}), -EINVAL);
    EXPECT_TRUE(takeWritten().empty());
    EXPECT_TRUE(LogCapture::take().empty());
    EXPECT_EQ(accuracy(27), 3);

    mHub.failWrite(kInjection, EIO);
    EXPECT_EQ(inject(27, kSetMode, {1}), -EIO);
    EXPECT_EQ(accuracy(27), 2) << "also by a packet that could not be written";
}

TEST_F(DeviceOrientation, LogTellsTheWakeUpTwin) {
    read(52, RecordBuilder().u8(255).u64(7).bytes());
    read(52, RecordBuilder().u8(0).u64(0).bytes());
    mHub.failRead(52, EIO);
    sensor(52).readEvents();
    EXPECT_LOG("I DeviceOrientation(1): event = 255, time = 7",
               "I DeviceOrientation(1): Meta event",
               "E DeviceOrientation(1) :input data file descriptor not "
               "available - (Input/output error)");
}

}  // namespace
}  // namespace driver_tests
