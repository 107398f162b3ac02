#include <gtest/gtest.h>
#include <utils/AndroidThreads.h>

#include <atomic>
#include <numeric>

#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::Result;
using simulator::RecordBuilder;
using simulator::Request;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using testing_support::onlySensors;

std::string acceleration(int16_t x, uint64_t timestamp) {
    return RecordBuilder().i16(x).i16(0).i16(0).u64(timestamp).bytes();
}
std::string eventCode(uint8_t code, uint64_t timestamp) {
    return RecordBuilder().u8(code).u64(timestamp).bytes();
}

struct Priority {
    std::atomic<int> thread{0};
    std::atomic<int> value{0};
} gPriority;

TEST(Posting, ThePollThreadIsUrgent) {
    LoadedSubHal subHal(onlySensors({1}));
    ASSERT_TRUE(subHal.hub().waitIdle());
    EXPECT_EQ(gPriority.value, -8);
    EXPECT_TRUE(LogCapture::contains("I startThread " + std::to_string(gPriority.thread)));
}

TEST(Posting, OnlyEnabledSensorsReachTheProxy) {
    LoadedSubHal subHal(onlySensors({1, 8}));
    ASSERT_EQ(subHal.hal().activate(1, true), Result::OK);
    ASSERT_TRUE(subHal.hub().waitIdle());
    LogCapture::take();
    ASSERT_TRUE(subHal.deliver(1, acceleration(1, 5)));
    EXPECT_LOG("I postEvents: mCallBack is null");

    subHal.initialize();
    EXPECT_EQ(subHal.timestamps(1, acceleration(1, 6)), std::vector<int64_t>{6});
    EXPECT_EQ(subHal.proxy().wakelock().taken(), 0);
    ASSERT_EQ(subHal.hal().activate(1, false), Result::OK);
    LogCapture::take();
    EXPECT_EQ(subHal.timestamps(1, acceleration(1, 7)), std::vector<int64_t>{});
    EXPECT_LOG();

    // Those that wake the system hold a wakelock during the call.
    ASSERT_EQ(subHal.hal().activate(8, true), Result::OK);
    EXPECT_EQ(subHal.timestamps(8, eventCode(1, 8)), std::vector<int64_t>{8});
    EXPECT_EQ(subHal.proxy().wakelock().taken(), 1);
    EXPECT_EQ(subHal.proxy().wakelock().held(), 0);
}

TEST(Posting, ABatchIsDrainedInOneWakeUpInOrder) {
    LoadedSubHal subHal(onlySensors({1}));
    subHal.initialize();
    ASSERT_EQ(subHal.hal().batch(1, 10000000, 1000000000), Result::OK);
    ASSERT_EQ(subHal.hal().activate(1, true), Result::OK);
    subHal.hub().setDataAvailable(1, "0\n");  // keeps the records in the queue
    for (uint64_t i = 1; i <= 100; ++i) {
        ASSERT_TRUE(subHal.hub().push(1, acceleration(static_cast<int16_t>(i), i)));
    }
    EXPECT_TRUE(subHal.proxy().take().empty());
    subHal.hub().failPoll(EINTR, 1, 2);
    subHal.hub().setDataAvailable(1, "100\n");
    ASSERT_TRUE(subHal.hub().waitIdle());
    std::vector<int64_t> numbers(100);
    std::iota(numbers.begin(), numbers.end(), 1);
    EXPECT_EQ(subHal.timestamps(), numbers);
}

TEST(Posting, AOneShotSensorIsSwitchedOffOnceItHasFired) {
    LoadedSubHal subHal(onlySensors({1, 17}));
    subHal.initialize();
    ASSERT_EQ(subHal.hal().activate(17, true), Result::OK);
    LogCapture::take();
    EXPECT_EQ(subHal.timestamps(17, eventCode(1, 5)).size(), 1u);
    EXPECT_EQ(subHal.timestamps(17, eventCode(1, 6)), std::vector<int64_t>{});

    std::vector<std::string> writes;
    for (const Request& request : subHal.hub().requests(Request::Kind::kEnable)) {
        writes.push_back(request.bytes);
    }
    const std::string off("170", 4);
    EXPECT_EQ(writes, (std::vector<std::string>{std::string("171", 4), off, off}));
    EXPECT_TRUE(LogCapture::contains("I queueActivate: handle 17 enable 0"));
}

TEST(Posting, AOneShotSensorIsSwitchedOffEvenWithoutARecordToRead) {
    auto options = onlySensors({17});
    options.sensors[0].fifoMax = 10;
    LoadedSubHal subHal(options);
    subHal.initialize();
    ASSERT_EQ(subHal.hal().batch(17, 0, 1000000), Result::OK);
    ASSERT_EQ(subHal.hal().activate(17, true), Result::OK);
    subHal.hub().setDataAvailable(17, "0\n");
    ASSERT_TRUE(subHal.hub().push(17, eventCode(1, 5)));
    EXPECT_TRUE(subHal.hub().waitForRequest([](const Request& request) {
        return request.kind == Request::Kind::kEnable && request.enable == 0;
    }));
    subHal.hub().clearDataAvailable(17);
    ASSERT_TRUE(subHal.hub().waitIdle());
    EXPECT_TRUE(subHal.proxy().take().empty());
}

TEST(Posting, WithoutTheHousekeepingDeviceTheLoopStartsAllTheSame) {
    auto options = onlySensors({1});
    options.hasSensorHub = false;
    LoadedSubHal subHal(options);
    subHal.initialize();
    ASSERT_EQ(subHal.hal().activate(1, true), Result::OK);
    EXPECT_EQ(subHal.timestamps(1, acceleration(1, 5)), std::vector<int64_t>{5});
}

}  // namespace

// In the platform's place: what the library asks for its poll thread.
extern "C" __attribute__((visibility("default"))) int androidSetThreadPriority(pid_t thread,
                                                                               int priority) {
    gPriority.thread = thread;
    gPriority.value = priority;
    return 0;
}
