#include <algorithm>

#include "tests/drivers/DriverBench.h"
#include "tests/drivers/Golden.h"

namespace driver_tests {
namespace {

using golden::DriverRow;

/** One row's driver in a catalogue of its own. */
class RowBench : public DriverBench, public golden::RecordPath {
  public:
    RowBench(const DriverRow& row, bool wakeUp) : DriverBench({{row.handle, wakeUp}}), mRow(row) {
        mWakesUp = wakeUp || (row.addedFlags & 1) != 0;
    }

    golden::Outcome pass(int handle, const std::string& record) override {
        golden::Outcome outcome;
        std::vector<Event> direct;
        for (const auto& post : read(handle, record)) {
            EXPECT_EQ(post.wakeup, mWakesUp && !post.direct);
            EXPECT_EQ(post.events.size(), 1U);
            (post.direct ? direct : outcome.events).push_back(post.events.at(0));
        }
        outcome.log = LogCapture::take();
        EXPECT_EQ(direct.size(), mRow.direct ? outcome.events.size() : 0U);
        for (size_t i = 0; i < std::min(direct.size(), outcome.events.size()); ++i)
            EXPECT_EQ(memcmp(&direct[i], &outcome.events[i], sizeof(Event)), 0);
        return outcome;
    }

  private:
    const DriverRow& mRow;
    bool mWakesUp;
};

class Conformance : public testing::TestWithParam<DriverRow> {};

TEST_P(Conformance, Twins) {
    const DriverRow& row = GetParam();
    for (const bool wakeUp : {row.plainIsWakeUp, !row.plainIsWakeUp}) {
        SCOPED_TRACE(wakeUp ? "wake-up" : "non-wake-up");
        RowBench bench(row, wakeUp);
        SensorBase* const sensor = bench.mList->get(row.handle);
        if (wakeUp != row.plainIsWakeUp && !row.twinIsReachable) {
            EXPECT_EQ(sensor, nullptr);
            continue;
        }
        ASSERT_NE(sensor, nullptr) << "twin not found under its device name";
        const SensorInfo& info = sensor->getSensorInfo();
        std::string name = std::string("CHIP ") + row.displayName;
        if (wakeUp && !row.plainIsWakeUp) name += " Wake Up";
        if (!wakeUp && row.plainIsWakeUp) name += " Non Wake Up";
        EXPECT_EQ(std::string(info.name), name);
        EXPECT_EQ(static_cast<int32_t>(info.type), row.type);
        EXPECT_EQ(std::string(info.typeAsString), row.stringType);
        EXPECT_EQ(std::string(info.requiredPermission), row.permission);
        EXPECT_EQ(info.flags, row.addedFlags | (wakeUp ? 1u : 0u));
        EXPECT_EQ(sensor->getHandle(), row.handle);
        bool listed = false;
        for (const SensorInfo& shown : bench.mList->getSensorInfoList())
            listed = listed || shown.sensorHandle == row.handle;
        EXPECT_EQ(listed, row.shown);
        bench.pass(row.handle, row.exchanges.front().record);
    }
}

TEST_P(Conformance, Records) {
    const DriverRow& row = GetParam();
    RowBench bench(row, row.plainIsWakeUp);
    ASSERT_NE(bench.mList->get(row.handle), nullptr);
    checkRecords(row, bench);

    bench.mHub.fail("read", bench.mHub.devicePath(row.handle), EIO);
    bench.sensor(row.handle).readEvents();
    EXPECT_LOG(row.readFailure);
    EXPECT_TRUE(bench.mCallback.take().empty());

    // A read with room for more than one record would take more than one from a kernel's device.
    const std::string& record = row.exchanges.front().record;
    EXPECT_TRUE(bench.mHub.push(row.handle, record) && bench.mHub.push(row.handle, record));
    bench.sensor(row.handle).readEvents();
    EXPECT_EQ(bench.mHub.device(row.handle).queued, 1U);
}

INSTANTIATE_TEST_SUITE_P(Drivers, Conformance, testing::ValuesIn(golden::allRows()),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace driver_tests
