#include <set>

#include "tests/drivers/DriverBench.h"
#include "tests/drivers/Golden.h"

namespace driver_tests {
namespace {

using android::hardware::sensors::V1_0::SensorInfo;
using golden::DriverRow;
using golden::Exchange;
using golden::Posted;

std::vector<DriverRow> allRows() {
    std::vector<DriverRow> rows;
    for (const auto& family : {golden::physicalRows(), golden::lightRows(), golden::motionRows(),
                               golden::orientationRows(), golden::foldableRows()}) {
        rows.insert(rows.end(), family.begin(), family.end());
    }
    return rows;
}

std::vector<uint32_t> expectedWords(const Posted& posted) {
    std::vector<uint32_t> words;
    for (const golden::Word& word : posted.payload)
        words.push_back(word.bits);
    words.resize(16);
    return words;
}

void expectPosted(const DriverRow& row, const Posted& expected, const Event& event, int64_t begin) {
    EXPECT_EQ(event.sensorHandle, row.handle);
    EXPECT_EQ(static_cast<int32_t>(event.sensorType), expected.meta ? 0 : row.type);
    if (expected.timestamp == golden::kNow) {
        EXPECT_GE(event.timestamp, begin);
        EXPECT_LE(event.timestamp, SensorBase::getTimestamp());
    } else {
        EXPECT_EQ(event.timestamp, expected.timestamp);
    }
    std::vector<uint32_t> words(16);
    memcpy(words.data(), &event.u, sizeof(event.u));
    EXPECT_EQ(words, expectedWords(expected));
}

/** The lines with the posted event's timestamp where they name the time of its reading. */
Lines withTime(Lines lines, const std::vector<RecordingCallback::Post>& posts) {
    for (LogLine& line : lines) {
        const size_t at = line.text.find(golden::kNowText);
        if (at == std::string::npos || posts.empty()) continue;
        const int64_t timestamp = posts.front().events.front().timestamp;
        line.text.replace(at, strlen(golden::kNowText), std::to_string(timestamp));
    }
    return lines;
}

void expectExchange(const DriverRow& row, DriverBench& bench, const Exchange& exchange) {
    SCOPED_TRACE(exchange.what);
    const int64_t begin = SensorBase::getTimestamp();
    const auto posts = bench.read(row.handle, exchange.record);
    EXPECT_EQ(LogCapture::take(), withTime(exchange.log, posts));

    const size_t copies = row.direct ? 2 : 1;
    ASSERT_EQ(posts.size(), exchange.posted ? copies : 0);
    for (size_t i = 0; i < posts.size(); ++i) {
        ASSERT_EQ(posts[i].events.size(), 1u);
        expectPosted(row, *exchange.posted, posts[i].events[0], begin);
        EXPECT_EQ(posts[i].direct, i == 1);
    }
}

class Conformance : public testing::TestWithParam<DriverRow> {};

TEST_P(Conformance, Twins) {
    const DriverRow& row = GetParam();
    for (const bool wakeUp : {row.plainIsWakeUp, !row.plainIsWakeUp}) {
        SCOPED_TRACE(wakeUp ? "wake-up" : "non-wake-up");
        DriverBench bench({{row.handle, wakeUp}});
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

        const bool wakesUp = wakeUp || (row.addedFlags & 1) != 0;
        for (const auto& post : bench.read(row.handle, row.exchanges.front().record)) {
            EXPECT_EQ(post.wakeup, wakesUp && !post.direct);
        }
    }
}

TEST_P(Conformance, Records) {
    const DriverRow& row = GetParam();
    DriverBench bench({{row.handle, row.plainIsWakeUp}});
    ASSERT_NE(bench.mList->get(row.handle), nullptr);
    for (const Exchange& exchange : row.exchanges)
        expectExchange(row, bench, exchange);

    bench.mHub.failRead(row.handle, EIO);
    bench.sensor(row.handle).readEvents();
    EXPECT_EQ(LogCapture::take(), (Lines{{'E', row.readFailure}}));
    EXPECT_TRUE(bench.mCallback.take().empty());
}

// A driver in the catalogue without a row here would go untested.
TEST(Coverage, EveryDriverHasARow) {
    std::set<int> rows;
    for (const DriverRow& row : allRows())
        rows.insert(row.handle);
    EXPECT_EQ(rows.size(), 51u);

    LogCapture log;
    simulator::SimulatedHub hub;
    std::string spec;
    for (int handle = 1; handle <= 71; ++handle) {
        simulator::SensorSpec sensor;
        sensor.handle = handle;
        spec += encodeSpec(sensor);
    }
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
}  // namespace driver_tests
