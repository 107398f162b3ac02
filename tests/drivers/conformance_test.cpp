#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "sensors/SensorList.h"
#include "simulator/SimulatedHub.h"
#include "tests/drivers/Golden.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecordingCallback.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorBase;
using android::hardware::sensors::V2_0::zelva_sensorhub::SensorList;
using golden::DriverRow;
using golden::Exchange;
using golden::Posted;
using testing_support::LogCapture;
using testing_support::LogLine;
using testing_support::RecordingCallback;

std::vector<DriverRow> allRows() {
    std::vector<DriverRow> rows;
    for (const auto& family : {golden::physicalRows(), golden::lightRows(), golden::motionRows(),
                               golden::orientationRows(), golden::foldableRows()}) {
        rows.insert(rows.end(), family.begin(), family.end());
    }
    return rows;
}

/** A catalogue with the row's sensor alone, on its plain or its other twin. */
class Bench {
  public:
    Bench(const DriverRow& row, bool wakeUp)
        : mHub(options(row, wakeUp)), mList(&mCallback), mSensor(mList.get(row.handle)) {
        LogCapture::take();
    }

    simulator::SimulatedHub& hub() { return mHub; }
    RecordingCallback& callback() { return mCallback; }
    SensorList& list() { return mList; }
    SensorBase* sensor() { return mSensor; }

  private:
    static simulator::SimulatedHub::Options options(const DriverRow& row, bool wakeUp) {
        simulator::SensorSpec spec;
        spec.handle = row.handle;
        spec.chipName = "CHIP";
        spec.vendor = 3;
        spec.version = 7;
        spec.wakeUp = wakeUp;
        spec.resolution = 0.5F;
        simulator::SimulatedHub::Options options;
        options.sensors = {spec};
        return options;
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    SensorList mList;
    SensorBase* mSensor;
};

std::vector<uint32_t> wordsOf(const Event& event) {
    std::vector<uint32_t> words(16);
    memcpy(words.data(), &event.u, sizeof(event.u));
    return words;
}

void expectPosted(const DriverRow& row, const Posted& expected, const Event& event, int64_t begin) {
    EXPECT_EQ(event.sensorHandle, row.handle);
    EXPECT_EQ(static_cast<int32_t>(event.sensorType),
              expected.kind == Posted::kMeta ? 0 : row.type);
    if (expected.timestamp == golden::kNow) {
        EXPECT_GE(event.timestamp, begin);
        EXPECT_LE(event.timestamp, SensorBase::getTimestamp());
    } else {
        EXPECT_EQ(event.timestamp, expected.timestamp);
    }
    std::vector<uint32_t> words = expected.words;
    words.resize(16);
    EXPECT_EQ(wordsOf(event), words);
}

/** The lines with the posted event's timestamp where they name the time of its reading. */
std::vector<LogLine> withTime(std::vector<LogLine> lines,
                              const std::vector<RecordingCallback::Post>& posts) {
    for (LogLine& line : lines) {
        const size_t at = line.text.find(golden::kNowText);
        if (at == std::string::npos || posts.empty()) continue;
        const int64_t timestamp = posts.front().events.front().timestamp;
        line.text.replace(at, strlen(golden::kNowText), std::to_string(timestamp));
    }
    return lines;
}

void expectExchange(const DriverRow& row, Bench& bench, const Exchange& exchange) {
    SCOPED_TRACE(exchange.what);
    ASSERT_TRUE(bench.hub().push(row.handle, exchange.record));
    const int64_t begin = SensorBase::getTimestamp();
    bench.sensor()->readEvents();
    const auto posts = bench.callback().take();
    EXPECT_EQ(LogCapture::take(), withTime(exchange.log, posts));

    const size_t copies = row.direct ? 2 : 1;
    ASSERT_EQ(posts.size(), exchange.posted.size() * copies);
    for (size_t i = 0; i < posts.size(); ++i) {
        ASSERT_EQ(posts[i].events.size(), 1u);
        expectPosted(row, exchange.posted[i / copies], posts[i].events[0], begin);
        EXPECT_EQ(posts[i].direct, row.direct && i % copies == 1);
        if (!posts[i].direct) {
            EXPECT_EQ(posts[i].wakeup, bench.sensor()->isWakeUpSensor());
        }
    }
}

class Conformance : public testing::TestWithParam<DriverRow> {};

TEST_P(Conformance, Identity) {
    const DriverRow& row = GetParam();
    for (const bool wakeUp : {row.plainIsWakeUp, !row.plainIsWakeUp}) {
        SCOPED_TRACE(wakeUp ? "wake-up" : "non-wake-up");
        Bench bench(row, wakeUp);
        if (wakeUp != row.plainIsWakeUp && !row.twinIsReachable) {
            EXPECT_EQ(bench.sensor(), nullptr);
            continue;
        }
        ASSERT_NE(bench.sensor(), nullptr) << "twin not found under its device name";
        const SensorInfo& info = bench.sensor()->getSensorInfo();
        std::string name = std::string("CHIP ") + row.displayName;
        if (wakeUp && !row.plainIsWakeUp) name += " Wake Up";
        if (!wakeUp && row.plainIsWakeUp) name += " Non Wake Up";
        EXPECT_EQ(std::string(info.name), name);
        EXPECT_EQ(static_cast<int32_t>(info.type), row.type);
        EXPECT_EQ(std::string(info.typeAsString), row.stringType);
        EXPECT_EQ(std::string(info.requiredPermission), row.permission);
        EXPECT_EQ(info.flags, row.addedFlags | (wakeUp ? 1u : 0u));
        EXPECT_EQ(bench.sensor()->getHandle(), row.handle);

        bool listed = false;
        for (const SensorInfo& shown : bench.list().getSensorInfoList()) {
            listed = listed || shown.sensorHandle == row.handle;
        }
        EXPECT_EQ(listed, row.shown);
    }
}

TEST_P(Conformance, Records) {
    const DriverRow& row = GetParam();
    Bench bench(row, row.plainIsWakeUp);
    ASSERT_NE(bench.sensor(), nullptr);
    for (const Exchange& exchange : row.exchanges)
        expectExchange(row, bench, exchange);
}

TEST_P(Conformance, WakeUpFlagFollowsTheTwin) {
    const DriverRow& row = GetParam();
    if (!row.twinIsReachable) return;
    Bench bench(row, !row.plainIsWakeUp);
    ASSERT_NE(bench.sensor(), nullptr);
    ASSERT_TRUE(bench.hub().push(row.handle, row.exchanges.front().record));
    bench.sensor()->readEvents();
    const bool wakesUp = !row.plainIsWakeUp || (row.addedFlags & 1) != 0;
    for (const auto& post : bench.callback().take()) {
        if (!post.direct) {
            EXPECT_EQ(post.wakeup, wakesUp);
        }
    }
}

TEST_P(Conformance, FailingRead) {
    const DriverRow& row = GetParam();
    Bench bench(row, row.plainIsWakeUp);
    ASSERT_NE(bench.sensor(), nullptr);
    bench.hub().failRead(row.handle, EIO);
    bench.sensor()->readEvents();
    EXPECT_EQ(LogCapture::take(), (std::vector<LogLine>{{'E', row.readFailure}}));
    EXPECT_TRUE(bench.callback().take().empty());
}

// A driver in the catalogue without a row here would go untested.
TEST(Coverage, EveryDriverHasARow) {
    std::set<int> served;
    std::string spec;
    for (int handle = 1; handle <= 71; ++handle) {
        served.insert(handle);
        simulator::SensorSpec sensor;
        sensor.handle = handle;
        spec += encodeSpec(sensor);
    }
    for (const int handle :
         {3, 7, 9, 10, 12, 13, 20, 21, 23, 24, 26, 28, 30, 32, 33, 40, 44, 51, 66, 67}) {
        served.erase(handle);
    }
    std::set<int> rows;
    for (const DriverRow& row : allRows())
        rows.insert(row.handle);
    EXPECT_EQ(rows, served);

    LogCapture log;
    simulator::SimulatedHub hub;
    hub.setRawSpec(spec);
    RecordingCallback callback;
    const SensorList list(&callback);
    for (int handle = 1; handle <= 71; ++handle) {
        EXPECT_EQ(
            LogCapture::contains('E', "pushSensorList invalid handle " + std::to_string(handle)),
            rows.count(handle) == 0)
            << handle;
    }
}

INSTANTIATE_TEST_SUITE_P(Drivers, Conformance, testing::ValuesIn(allRows()),
                         [](const testing::TestParamInfo<DriverRow>& tested) {
                             return std::string(tested.param.className) +
                                    std::to_string(tested.param.handle);
                         });

}  // namespace
