// The drivers' golden rows on real IIO devices, through the shipped library.

#include <gtest/gtest.h>

#include <memory>

#include "tests/drivers/Golden.h"
#include "tests/kernel/KernelBench.h"

namespace kernel_tests {
namespace {

using golden::DriverRow;
using testing_support::Lines;

/** One row's driver on a device whose records have the length that is sent. */
class RealPath final : public golden::RecordPath {
  public:
    explicit RealPath(const DriverRow& row) : mRow(row) {
        mMarker = row.handle == 1 ? 4 : 1;
        mWakesUp = row.plainIsWakeUp || (row.addedFlags & 1) != 0;
    }

    golden::Outcome pass(int, const std::string& record) override {
        if (mHeard.empty() || record.size() != mHeard.back().size()) rebuild(record.size());
        golden::Outcome outcome;
        deliver(record);
        mHeard.push_back(record);
        for (const Posted& posted : mBench->take()) {
            EXPECT_EQ(posted.wakelock, mWakesUp);
            EXPECT_EQ(posted.together, 1U);
            outcome.events.push_back(posted.event);
        }
        outcome.log = LogCapture::take();
        if (mIsOneShot) switchedOffBy(&outcome.log);
        return outcome;
    }

  private:
    void deliver(const std::string& record) {
        EXPECT_EQ(mBench->hub().push(mRow.handle, record), 1);
        EXPECT_TRUE(mBench->settle(mMarker));
    }

    /** A device keeps its records' length, so another one needs another device, and the library
     *  anew. The driver gets the earlier records again: some log only their first values. */
    void rebuild(size_t size) {
        mBench.reset();
        mBench = std::make_unique<KernelBench>();
        const auto sensor = testing_support::plainSensor(mRow.handle, mRow.plainIsWakeUp);
        const auto marker = testing_support::plainSensor(mMarker);
        ASSERT_TRUE(mBench->hub().addSensors({sensor, marker}, {{mRow.handle, size}}));
        mBench->load();
        mBench->activate(mMarker);
        mBench->activate(mRow.handle);
        mIsOneShot = (mRow.addedFlags & 6) == 4;
        EXPECT_TRUE(mBench->settle(mMarker));  // the poll thread has said that it runs
        for (std::string heard : mHeard) {
            heard.resize(size);
            deliver(heard);
        }
        mBench->take();
        LogCapture::take();
    }

    /** The library switches a one-shot sensor off with each record, and says so behind all else. */
    void switchedOffBy(Lines* log) {
        const std::string handle = std::to_string(mRow.handle);
        const Lines expected = {"I queueActivate: handle " + handle + " enable 0",
                                "I type : " + handle + ", enable : 0"};
        ASSERT_GE(log->size(), expected.size());
        const auto end = log->end() - static_cast<ptrdiff_t>(expected.size());
        EXPECT_EQ(Lines(end, log->end()), expected);
        log->erase(end, log->end());
        mBench->activate(mRow.handle);
        LogCapture::take();
    }

    const DriverRow& mRow;
    int mMarker;  // a sensor that is not the row's
    bool mWakesUp;
    bool mIsOneShot = false;
    std::vector<std::string> mHeard;
    std::unique_ptr<KernelBench> mBench;
};

class GoldenRows : public testing::TestWithParam<DriverRow> {};

TEST_P(GoldenRows, OnRealDevices) {
    RealPath path(GetParam());
    checkRecords(GetParam(), path);
}

INSTANTIATE_TEST_SUITE_P(Kernel, GoldenRows, testing::ValuesIn(golden::allRows()),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace kernel_tests
