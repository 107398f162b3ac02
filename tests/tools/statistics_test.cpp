#include "tools/subhalctl/judging/Statistics.h"

#include <cutils/ashmem.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace subhalctl {
namespace {

constexpr int64_t kMs = 1'000'000;

IntervalStatistics statisticsOf(int64_t expectedNs, const std::vector<int64_t>& timestampsMs) {
    IntervalStatistics statistics(expectedNs);
    for (const int64_t timestamp : timestampsMs)
        statistics.add(timestamp * kMs);
    return statistics;
}

// One too old and one from the future, which tear no holes into the others; twice the same is none.
TEST(IntervalStatistics, CountInOrderOfTime) {
    const auto uneven = statisticsOf(10 * kMs, {100, 108, 165, 90, 120, 90, 100, 124});
    EXPECT_EQ(uneven.events(), 8);
    EXPECT_EQ(uneven.backward(), 2);
    EXPECT_EQ(uneven.lost(), 3);
    EXPECT_DOUBLE_EQ(uneven.rateHz().value(), 1000.0 / 15);
    EXPECT_NEAR(uneven.jitterNs().value(), 13.266499 * kMs, 1);
    EXPECT_EQ(statisticsOf(0, {5}).rateHz(), std::nullopt);

    IntervalStatistics longRun(10 * kMs);
    for (int64_t i = 0; i < 10'000; ++i)
        longRun.add((i == 200 ? 9'000 : i == 9'000 ? 200 : i) * 10 * kMs);
    EXPECT_EQ(longRun.lost(), 1) << "too late for its place";
    EXPECT_EQ(longRun.longestNs(), 20 * kMs);
}

TEST(IntervalStatistics, TakeSilenceBeforeTheEndForLost) {
    auto died = statisticsOf(100 * kMs, {1000, 1100});
    died.end(1600 * kMs, 0);
    EXPECT_EQ(died.lost(), 0);
    died.end(1601 * kMs, 0);
    EXPECT_EQ(died.lost(), 5);
    died.end(1601 * kMs, 50 * kMs);
    EXPECT_EQ(died.lost(), 0) << "they may still be held back";
}

// Of three slices the second has no event; what was lost there belongs to the third, in which one
// comes that the first should have had.
TEST(IntervalStatistics, GoOnAcrossARestart) {
    auto slices = statisticsOf(10 * kMs, {100, 110});
    slices.restart();
    EXPECT_EQ(slices.events() + slices.intervals(), 0);
    slices.restart();
    slices.add(150 * kMs);
    EXPECT_EQ(slices.events(), 1);
    EXPECT_EQ(slices.lost(), 3);
    EXPECT_DOUBLE_EQ(slices.rateHz().value(), 25.0);
    slices.add(105 * kMs);
    EXPECT_EQ(slices.lost(), 3);
}

TEST(Spacing, GoesByTheGrantedPeriodUnlessTheHubIsSlow) {
    const Spacing uneven({0, 50, 400, 450, 800}, 200);
    EXPECT_EQ(uneven.lost, 2);
    EXPECT_DOUBLE_EQ(uneven.rateHz, 5e6);
    EXPECT_EQ(Spacing({0, 220, 440, 880}, 200).lost, 1);
    EXPECT_EQ(Spacing({0, 400, 800}, 200).lost, 0);
}

TEST(DurationStatistics, AreExactForAMillion) {
    DurationStatistics durations;
    for (int64_t i = 1'000'000; i > 0; --i)
        durations.add(i * 1000 + 1);
    EXPECT_EQ(durations.quantileNs(0.5), 500'000'001);
    EXPECT_EQ(durations.quantileNs(0.99), 990'000'001);
    EXPECT_TRUE(durations.exact());
    durations.add(5);
    EXPECT_FALSE(durations.exact());
    EXPECT_LT(std::abs(durations.quantileNs(0.99).value() - 990'000'001), 990'000);
    EXPECT_EQ(durations.quantileNs(0), 5);
}

TEST(DurationStatistics, TakeAnyDuration) {
    DurationStatistics durations;
    EXPECT_EQ(durations.quantileNs(0.5), std::nullopt);
    durations.add(INT64_MIN);
    durations.add(INT64_MAX);
    EXPECT_EQ(durations.quantileNs(0.5), INT64_MIN) << "before its time, as with another clock";
    EXPECT_EQ(durations.quantileNs(1), INT64_MAX);
    EXPECT_EQ(elapsedNs(INT64_MAX, INT64_MIN), INT64_MIN);
}

TEST(SensorValues, NameWhatThePayloadHolds) {
    Payload payload{};
    payload[1] = 0x100;  // 2^40
    EXPECT_EQ(decode(19, payload).values.at(0).exactText(), "1099511627776");

    payload[15] = 0xABC;
    const Reading unknown = decode(0x1FFFF, payload);
    ASSERT_EQ(unknown.values.size(), 16U);
    EXPECT_EQ(unknown.values[15].exactText(), "0x00000abc");
    EXPECT_STREQ(unknown.meaning, "");

    payload[0] = 0x404BA427;
    EXPECT_EQ(decode(1, payload).values[0].exactText(), "3.181894") << "no digit of noise";
    payload[4] = 0x40E00000;  // 7.0F
    const Reading colour = decode(65587, payload);
    ASSERT_EQ(colour.values.size(), 4U) << "word 3 says nothing";
    EXPECT_STREQ(colour.values[3].name, "raw_lux");
    EXPECT_EQ(colour.values[3].exactText(), "7");
}

constexpr int32_t kHandle = 38;
constexpr int32_t kType = 65607;

sensors_event_t record(uint32_t counter) {
    sensors_event_t event{};
    event.version = sizeof(event);
    event.sensor = kHandle;
    event.type = kType;
    event.reserved0 = static_cast<int32_t>(counter);
    event.timestamp = counter * kMs;
    return event;
}

TEST(RingCheck, TellsMissedAndTornRecords) {
    RingCheck check(kHandle, kType);
    EXPECT_TRUE(check.add(record(3))) << "two were overwritten before the first look";
    EXPECT_TRUE(check.add(record(4)));
    EXPECT_TRUE(check.add(record(9)));
    EXPECT_EQ(check.figures().missed, 6);

    sensors_event_t future = record(10);
    future.timestamp = INT64_MAX;
    for (const sensors_event_t& one : {future, record(11), record(12)})
        EXPECT_TRUE(check.add(one));
    sensors_event_t half = record(13);
    half.sensor = 0;
    EXPECT_FALSE(check.add(half));
    sensors_event_t flush = half;
    flush.reserved0 = 14;
    flush.type = SENSOR_TYPE_META_DATA;
    flush.meta_data = {META_DATA_FLUSH_COMPLETE, kHandle};
    EXPECT_TRUE(check.add(flush));
    EXPECT_EQ(check.figures().torn, 1);
    EXPECT_EQ(check.figures().backward, 1);
    EXPECT_EQ(check.figures().records, 8);
}

using Ring = std::array<sensors_event_t, 8>;

/** Counters of the records that a reader new to the ring finds. */
std::vector<int32_t> countersIn(const Ring& ring) {
    const int fd = ashmem_create_region("test", sizeof(ring));
    EXPECT_EQ(pwrite(fd, ring.data(), sizeof(ring), 0), static_cast<ssize_t>(sizeof(ring)));
    RingReader reader(fd, sizeof(ring));
    close(fd);
    reader.stop();
    std::vector<int32_t> counters;
    RingReader::Record found;
    while (reader.read(&found, 5000))
        counters.push_back(found.record.reserved0);
    return counters;
}

TEST(RingReader, ReadsEachWholeRecordOnce) {
    Ring ring{};
    const auto write = [&ring](uint32_t first, uint32_t last) {
        for (uint32_t counter = first; counter <= last; ++counter)
            ring[(counter - 1) % ring.size()] = record(counter);
    };
    write(1, 5);
    EXPECT_EQ(countersIn(ring), (std::vector<int32_t>{1, 2, 3, 4, 5}));
    write(6, 8);
    EXPECT_EQ(countersIn(ring), (std::vector<int32_t>{2, 3, 4, 5, 6, 7, 8}))
        << "the slot that may be written into is left out";
    write(9, 25);
    EXPECT_EQ(countersIn(ring), std::vector<int32_t>{25})
        << "where the writer has lapped it, it goes on";
}

}  // namespace
}  // namespace subhalctl
