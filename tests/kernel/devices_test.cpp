// The shipped library on what real devices do and FIFOs cannot show.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <map>
#include <numeric>

#include "tests/kernel/KernelBench.h"

namespace kernel_tests {
namespace {

constexpr int kAcc = 1;
constexpr int kGyro = 4;  // the marker, when it is not under test
constexpr int kVdis = 38;
constexpr uint32_t kSmallest = 1024;  // records that a buffer of the least length, 600, holds

/** One behind the other: from, from + 1, ... */
std::string axesRecords(uint64_t from, size_t count) {
    std::string records;
    for (size_t i = 0; i < count; ++i)
        records += axesRecord(from + i);
    return records;
}

std::vector<int64_t> numbers(int64_t from, size_t count) {
    std::vector<int64_t> result(count);
    std::iota(result.begin(), result.end(), from);
    return result;
}

int errorLines() {
    const auto lines = LogCapture::lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const auto& line) {
        return line.level == 'E' && line.text.find("input data file") != std::string::npos;
    }));
}

TEST(Devices, NextStartFindsBuffersOnAndFull) {
    KernelBench bench;
    auto sensors = testing_support::onlySensors({kAcc, kGyro}).sensors;
    for (simulator::SensorSpec& spec : sensors)
        spec.fifoMax = 0;
    ASSERT_TRUE(bench.hub().addSensors(sensors));
    bench.load();
    bench.unload();
    EXPECT_TRUE(bench.hub().state(kAcc).buffer_enabled);
    EXPECT_EQ(bench.hub().push(kAcc, axesRecords(1, 2000), 2000), kSmallest);
    sensors[0].fifoMax = 700;  // the running buffer refuses another length
    ASSERT_TRUE(
        bench.hub().setFile(HUB_NODE_SPEC, encodeSpec(sensors[0]) + encodeSpec(sensors[1])));
    bench.hub().takeRequests();
    LogCapture::take();

    bench.load(false);
    EXPECT_EQ(LogCapture::count("E writeSysfsInt, ERROR open file " +
                                bench.hub().attributePath(kAcc, "buffer/length") +
                                " to write with error 16"),
              1);
    for (const KernelRequest& request : bench.hub().takeRequests())
        EXPECT_NE(request.node, HUB_NODE_BUFFER) << "the buffer was switched";
    EXPECT_TRUE(bench.drained(kAcc));  // by the poll thread, without a proxy
    // Another sensor's turn comes when the last of those is done with.
    EXPECT_EQ(bench.hub().push(kGyro, axesRecords(1, 1)), 1);
    EXPECT_TRUE(bench.drained(kGyro));
    bench.initialize();
    bench.activate(kAcc);
    EXPECT_EQ(bench.hub().push(kAcc, axesRecords(5000, 3), 3), 3);
    EXPECT_EQ(bench.times(3), numbers(5000, 3));
}

TEST(Devices, UnpluggedWithinABatch) {
    KernelBench bench({kAcc, kGyro, kVdis});
    for (const int handle : {kAcc, kGyro, kVdis})
        bench.activate(handle);
    ASSERT_EQ(bench.hub().push(kVdis, axesRecords(1, 1)), 1);
    EXPECT_EQ(bench.times(1), numbers(1, 1));
    ASSERT_TRUE(bench.hold(kVdis));
    ASSERT_EQ(bench.hub().push(kVdis, axesRecords(2, 100), 100), 100);
    ASSERT_EQ(bench.hub().push(kAcc, axesRecords(2, 2), 2), 2);
    LogCapture::take();
    const std::string number = std::to_string(bench.hub().number(kVdis));
    ASSERT_TRUE(bench.hub().unplug(kVdis));
    bench.release();
    EXPECT_EQ(bench.times(2), numbers(2, 2));
    ASSERT_TRUE(bench.pass(kGyro));
    EXPECT_LE(errorLines(), 1) << "a dead device is polled";

    // The hub still takes requests, and a device that comes back is not the one that is open.
    EXPECT_EQ(bench.hal().flush(kVdis), Result::OK);
    EXPECT_EQ(bench.hal().batch(kVdis, 5000000, 0), Result::OK);
    ASSERT_GE(bench.hub().addDevice(kVdis, "vdis_gyro_sensor", 14), 0);
    EXPECT_NE(std::to_string(bench.hub().number(kVdis)), number);
    EXPECT_EQ(bench.hub().push(kVdis, axesRecords(1, 1)), 0);
    ASSERT_TRUE(bench.pass(kGyro));
    EXPECT_EQ(bench.take().size(), 0U);
}

struct Load {
    const char* name;
    std::vector<int> handles;
    bool batched;
    std::chrono::microseconds period;
    unsigned perTick;
    uint64_t count;  // records of each
};

void PrintTo(const Load& load, std::ostream* stream) {
    *stream << load.name;
}

class Rates : public testing::TestWithParam<Load> {};

// However busy the guest is: what the driver could hand over arrives, once and in order.
TEST_P(Rates, ReceivedIsTaken) {
    const Load& load = GetParam();
    KernelBench bench(load.handles);
    for (const int handle : load.handles) {
        EXPECT_EQ(bench.hal().batch(handle, 5000000, load.batched ? 100000000 : 0), Result::OK);
        bench.activate(handle);
    }
    ASSERT_TRUE(bench.settle(load.handles[0]));
    LogCapture::take();
    for (const int handle : load.handles)
        ASSERT_TRUE(
            bench.hub().stream(handle, axesRecord(0), 6, load.count, load.period, load.perTick));
    uint64_t taken = 0;
    for (const int handle : load.handles) {
        hub_state state{};
        do {
            usleep(10000);
            state = bench.hub().state(handle);
        } while (state.streaming > 0);
        EXPECT_EQ(state.taken + state.refused, load.count);
        EXPECT_GT(state.taken, 0U);
        taken += state.taken;
    }
    std::map<int, std::vector<int64_t>> received;
    for (const Posted& posted : bench.take(taken))
        received[posted.event.sensorHandle].push_back(posted.event.timestamp);
    for (const int handle : load.handles) {
        const std::vector<int64_t>& times = received[handle];
        EXPECT_EQ(times.size(), bench.hub().state(handle).taken) << handle;
        EXPECT_TRUE(std::is_sorted(times.begin(), times.end(), std::less_equal<>())) << handle;
    }
    EXPECT_EQ(LogCapture::take(), testing_support::Lines{}) << "a read without a record";
}

INSTANTIATE_TEST_SUITE_P(
    Kernel, Rates,
    testing::Values(
        Load{"OneSingle", {1}, false, std::chrono::microseconds(200), 1, 5000},
        Load{"OneBatched", {1}, true, std::chrono::microseconds(5000), 100, 20000},
        Load{"Counted", {38, 50}, false, std::chrono::microseconds(500), 3, 6000},
        Load{"Many", {1, 4, 31, 38, 50, 58, 60}, true, std::chrono::microseconds(10000), 20, 3000}),
    testing::PrintToStringParamName());

}  // namespace
}  // namespace kernel_tests
