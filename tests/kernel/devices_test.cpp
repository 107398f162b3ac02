// What real devices do that FIFOs cannot show, and what the shipped library makes of it.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <map>
#include <numeric>

#include "tests/drivers/Golden.h"
#include "tests/kernel/KernelBench.h"

namespace kernel_tests {
namespace {

using simulator::SensorSpec;

constexpr int kAcc = 1;
constexpr int kGyro = 4;  // the marker, when it is not under test
constexpr int kHousekeeping = 33;
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

bool writeText(const std::string& path, const char* text) {
    std::ofstream file(path);
    file << text << std::flush;
    return file.good();
}

int errorLines() {
    const auto lines = LogCapture::lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [](const auto& line) {
        return line.level == 'E' && line.text.find("input data file") != std::string::npos;
    }));
}

std::vector<SensorSpec> withoutFifos(std::vector<SensorSpec> sensors) {
    for (SensorSpec& spec : sensors)
        spec.fifoMax = 0;
    return sensors;
}

// A driver that reads more than its record takes two at once, and loses one.
TEST(Devices, QueuedRecordsAreEachAnEvent) {
    constexpr size_t kCopies = 3;
    KernelBench bench;
    std::map<int, size_t> sizes;
    std::map<int, size_t> expected;
    const std::vector<golden::DriverRow> rows = golden::allRows();
    for (const golden::DriverRow& row : rows) {
        sizes[row.handle] = row.exchanges[0].record.size();
        const bool isOneShot = (row.addedFlags & 6) == 4;  // switched off by the first
        if (row.exchanges[0].posted) expected[row.handle] = isOneShot ? 1 : kCopies;
    }
    ASSERT_TRUE(bench.hub().addSensors(withoutFifos(simulator::standardCatalogue()), sizes));
    bench.load();
    for (const golden::DriverRow& row : rows)
        bench.activate(row.handle);
    ASSERT_TRUE(bench.hold(kAcc));
    for (const golden::DriverRow& row : rows) {
        const std::string& record = row.exchanges[0].record;
        EXPECT_EQ(bench.hub().push(row.handle, record + record + record, kCopies), kCopies);
    }
    bench.release();
    ASSERT_TRUE(bench.settle(kAcc));
    std::map<int, size_t> counts;
    for (const Posted& posted : bench.take())
        ++counts[posted.event.sensorHandle];
    EXPECT_EQ(counts, expected);
}

TEST(Devices, NextStartFindsBuffersOnAndFull) {
    KernelBench bench;
    auto sensors = withoutFifos(sensorsOf({kAcc, kGyro}));
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
    EXPECT_TRUE(bench.drained(kAcc));  // by the poll thread, to which nobody listens
    bench.initialize();
    bench.activate(kAcc);
    bench.activate(kGyro);
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

    // The hub goes on answering, and a device that comes back is not the one that is open.
    EXPECT_EQ(bench.hal().flush(kVdis), Result::OK);
    EXPECT_EQ(bench.hal().batch(kVdis, 5000000, 0), Result::OK);
    ASSERT_GE(bench.hub().addDevice(kVdis, "vdis_gyro_sensor", 14), 0);
    EXPECT_NE(std::to_string(bench.hub().number(kVdis)), number);
    EXPECT_EQ(bench.hub().push(kVdis, axesRecords(1, 1)), 0);
    ASSERT_TRUE(bench.pass(kGyro));
    EXPECT_EQ(bench.take().size(), 0U);
}

// Switching a buffer on empties it: a batch whose count was read before must not wait for more.
TEST(Devices, BufferOffAndOnWithinABatch) {
    KernelBench bench({kGyro, kVdis});
    bench.activate(kGyro);
    bench.activate(kVdis);
    ASSERT_TRUE(bench.hold(kGyro));
    ASSERT_EQ(bench.hub().push(kVdis, axesRecords(1, 10), 10), 10);
    bench.release();
    EXPECT_EQ(bench.times(10), numbers(1, 10));

    ASSERT_TRUE(bench.hold(kGyro));
    ASSERT_EQ(bench.hub().push(kVdis, axesRecords(11, 1)), 1);
    bench.release();
    EXPECT_EQ(bench.times(1), numbers(11, 1));
    // Held with the first of ten, all of which are counted already.
    ASSERT_TRUE(bench.hold(kGyro));
    const std::string ten = axesRecords(int64_t{0x7E57} << 48, 1) + axesRecords(21, 9);
    ASSERT_EQ(bench.hub().push(kVdis, ten, 10), 10);
    const std::string enable = bench.hub().attributePath(kVdis, "buffer/enable");
    EXPECT_TRUE(writeText(enable, "0\n"));
    EXPECT_TRUE(writeText(enable, "1\n"));
    bench.release();
    ASSERT_TRUE(bench.pass(kGyro));
    ASSERT_EQ(bench.hub().push(kVdis, axesRecords(31, 2), 2), 2);
    EXPECT_EQ(bench.times(2), numbers(31, 2));
}

/** Another user's rights, for the whole process, while it lives. */
class AsAnotherUser {
  public:
    AsAnotherUser() { EXPECT_EQ(seteuid(1000), 0); }
    ~AsAnotherUser() { EXPECT_EQ(seteuid(0), 0); }
};

TEST(Devices, AnotherUserNeedsTheNodes) {
    KernelBench bench;
    ASSERT_TRUE(bench.hub().addSensors(sensorsOf({kAcc, kGyro})));
    const std::string number = std::to_string(bench.hub().number(kAcc));
    // Without a device that it may read, and that runs, the library could not be woken and ended.
    ASSERT_EQ(chmod(bench.hub().devicePath(kHousekeeping).c_str(), 0644), 0);
    ASSERT_TRUE(writeText(bench.hub().attributePath(kHousekeeping, "buffer/enable"), "1\n"));
    {
        const AsAnotherUser user;
        bench.load();
        EXPECT_EQ(LogCapture::count("E SensorBase, ERROR mDevNum = " + number), 1);
        EXPECT_EQ(host_proxy::sensorsOf(bench.hal()).size(), 0U);
        EXPECT_NE(bench.hal().activate(kAcc, true), Result::OK);
    }
    bench.unload();
    ASSERT_EQ(chmod(bench.hub().devicePath(kAcc).c_str(), 0644), 0);
    LogCapture::take();
    {
        const AsAnotherUser user;
        bench.load();
        EXPECT_EQ(host_proxy::sensorsOf(bench.hal()).size(), 1U);
        EXPECT_FALSE(bench.hub().state(kAcc).buffer_enabled);  // whose files are not writable
        EXPECT_EQ(bench.hal().activate(kAcc, true), Result::BAD_VALUE);
        EXPECT_EQ(LogCapture::count("W queueActivate: fd open failed(-1)"), 1);
        EXPECT_EQ(bench.hal().batch(kAcc, 5000000, 0), Result::BAD_VALUE);
        EXPECT_EQ(bench.hal().flush(kAcc), Result::BAD_VALUE);
    }
    bench.unload();
}

TEST(Devices, RefusedBufferIsTriedOnceMore) {
    KernelBench bench;
    ASSERT_TRUE(bench.hub().addSensors(sensorsOf({kAcc, kGyro})));
    ASSERT_TRUE(bench.hub().fail(HUB_NODE_BUFFER, ENOMEM, kAcc));
    bench.load();
    EXPECT_EQ(LogCapture::count("E writeSysfsInt, ERROR open file " +
                                bench.hub().attributePath(kAcc, "buffer/enable") +
                                " to write with error 12"),
              1);
    EXPECT_FALSE(bench.hub().state(kAcc).buffer_enabled);
    bench.activate(kAcc);
    EXPECT_TRUE(bench.hub().state(kAcc).buffer_enabled);
    EXPECT_EQ(bench.hub().push(kAcc, axesRecords(3, 1)), 1);
    EXPECT_EQ(bench.times(1), numbers(3, 1));
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
    [](const testing::TestParamInfo<Load>& tested) { return tested.param.name; });

}  // namespace
}  // namespace kernel_tests
