#include <fcntl.h>
#include <gtest/gtest.h>

#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::Result;
using simulator::Request;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using testing_support::onlySensors;

constexpr char kEnablePath[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlushPath[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kBatchPath[] = "/dev/batch_io";

class Requests : public testing::Test {
  protected:
    Requests() : mSubHal(onlySensors({1, 6, 8, 17, 47})) { mSubHal.initialize(); }

    std::vector<Request> taken() {
        auto requests = mSubHal.hub().requests();
        mSubHal.hub().clearRequests();
        return requests;
    }
    void expectTaken(const std::string& path, int access, const std::string& bytes) {
        const auto requests = taken();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].path, path);
        EXPECT_EQ(requests[0].access, access);
        EXPECT_EQ(requests[0].bytes, bytes);
        EXPECT_EQ(requests[0].error, 0);
    }

    LoadedSubHal mSubHal;
    simulator::SimulatedHub& mHub = mSubHal.hub();
    testing_support::ISensorsSubHal& mHal = mSubHal.hal();
};

TEST_F(Requests, ActivateWritesHandleAndDigitWithTheirNul) {
    EXPECT_EQ(mHal.activate(17, true), Result::OK);
    expectTaken(kEnablePath, O_RDWR, std::string("171\0", 4));
    EXPECT_EQ(mHal.activate(6, false), Result::OK);
    expectTaken(kEnablePath, O_RDWR, std::string("60\0", 3));
    EXPECT_LOG("I queueActivate: handle 17 enable 1", "I type : 17, enable : 1",
               "I queueActivate: handle 6 enable 0", "I type : 6, enable : 0");
}

TEST_F(Requests, ActivateFailures) {
    EXPECT_EQ(mHal.activate(2, true), Result::BAD_VALUE);
    EXPECT_LOG("I queueActivate: handle 2 enable 1",
               "E queueActivate: unhandled handle=2, enable=1");
    mHub.failOpen(kEnablePath, EACCES);
    EXPECT_EQ(mHal.activate(1, true), Result::BAD_VALUE);
    EXPECT_LOG("I queueActivate: handle 1 enable 1", "W queueActivate: fd open failed(-1)");
    mHub.failWrite(kEnablePath, EIO);
    EXPECT_EQ(mHal.activate(1, true), Result::BAD_VALUE);
    EXPECT_LOG("I queueActivate: handle 1 enable 1", "I type : 1, enable : 1",
               "E queueActivate: write failed. ret=-1, handle =1, enable =1");
    // The row followed the request although the hub refused it: events pass.
    ASSERT_TRUE(mSubHal.deliver(1, std::string(14, '\1')));
    EXPECT_EQ(mSubHal.proxy().take().size(), 1u);
}

TEST_F(Requests, HandlesOutsideTheTableAreRefusedEverywhere) {
    for (const int handle : {-1, 73, 74, 255, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(mHal.activate(handle, true), Result::BAD_VALUE);
        EXPECT_EQ(mHal.batch(handle, 1, 1), Result::BAD_VALUE);
        EXPECT_EQ(mHal.flush(handle), Result::BAD_VALUE);
    }
    EXPECT_EQ(mHal.activate(72, true), Result::BAD_VALUE);
    EXPECT_TRUE(taken().empty());
}

TEST_F(Requests, BatchSendsTheWholeRecord) {
    EXPECT_EQ(mHal.batch(1, 20000000, 3000000000), Result::OK);
    EXPECT_EQ(mHub.requests().at(0).ioctlNumber, 0x8008FC01u);
    expectTaken(kBatchPath, O_RDONLY,
                simulator::RecordBuilder().i64(3000000000).i64(20000000).i64(0).bytes());
    EXPECT_LOG("I queueBatch: handle=1 period=20000000 timeout=3000000000");
}

TEST_F(Requests, BatchClampsToTheMinimumDelayOnly) {
    // The simulated accelerometer's minimum delay is 2,000 µs.
    EXPECT_EQ(mHal.batch(1, 1000, 0), Result::OK);
    EXPECT_LOG("I batch: period=1000 minDelay=2000000",
               "I queueBatch: handle=1 period=2000000 timeout=0");
    EXPECT_EQ(mHub.device(1).periodNs, 2000000);
    EXPECT_EQ(mHal.batch(1, INT64_MAX, INT64_MAX), Result::OK);
    EXPECT_EQ(mHub.device(1).periodNs, INT64_MAX);
    EXPECT_EQ(mHub.device(1).latencyNs, INT64_MAX);
    // On-change: never clamped.
    EXPECT_EQ(mHal.batch(8, 1, 0), Result::OK);
    EXPECT_EQ(mHub.device(8).periodNs, 1);
}

// The sequential step detector takes its period as a threshold, which shows what reached it.
TEST_F(Requests, BatchReachesTheSensorObjectBehindTheHub) {
    EXPECT_EQ(mHal.batch(47, 2500000, 0), Result::OK);
    const auto requests = taken();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].kind, Request::Kind::kBatch);
    EXPECT_EQ(requests[1].bytes, simulator::RecordBuilder().u8(1).u8(47).u8(0x80).i64(2).bytes());
    mHub.failIoctl(kBatchPath, EIO);
    EXPECT_EQ(mHal.batch(47, 2500000, 0), Result::BAD_VALUE);
    EXPECT_EQ(taken().size(), 1u);
}

TEST_F(Requests, BatchFailures) {
    EXPECT_EQ(mHal.batch(2, 1, 1), Result::BAD_VALUE);
    EXPECT_LOG();
    mHub.failOpen(kBatchPath, ENODEV);
    EXPECT_EQ(mHal.batch(1, 5000000, 7), Result::BAD_VALUE);
    EXPECT_LOG("I queueBatch: handle=1 period=5000000 timeout=7",
               "E queueBatch: open batch device failed(-1)\n");
    mHub.failIoctl(kBatchPath, EIO);
    EXPECT_EQ(mHal.batch(1, 5000000, 7), Result::BAD_VALUE);
    EXPECT_LOG("I queueBatch: handle=1 period=5000000 timeout=7",
               "E queueBatch: batch ret -1 Input/output error\n");
}

TEST_F(Requests, FlushWritesTheHandleWithItsNul) {
    EXPECT_EQ(mHal.flush(6), Result::OK);
    expectTaken(kFlushPath, O_WRONLY, std::string("6\0", 2));
    EXPECT_LOG("I flush: handle=6");
}

TEST_F(Requests, FlushFailures) {
    EXPECT_EQ(mHal.flush(2), Result::BAD_VALUE);
    EXPECT_LOG("I flush: handle=2", "E flush: unhandled handle=2");
    EXPECT_EQ(mHal.flush(17), Result::BAD_VALUE);  // one-shot
    EXPECT_LOG("I flush: handle=17");
    mHub.failOpen(kFlushPath, ENOENT);
    EXPECT_EQ(mHal.flush(1), Result::BAD_VALUE);
    EXPECT_LOG("I flush: handle=1");
    EXPECT_TRUE(taken().empty());
    mHub.failWrite(kFlushPath, EIO);
    EXPECT_EQ(mHal.flush(1), Result::BAD_VALUE);
    EXPECT_LOG("I flush: handle=1", "I flush write failed");
}

}  // namespace
