#include "tools/subhalctl/Statistics.h"

#include <cutils/ashmem.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "tools/subhalctl/RingReader.h"
#include "tools/subhalctl/SensorLookup.h"
#include "tools/subhalctl/SensorValues.h"

namespace subhalctl {
namespace {

constexpr int64_t kMs = 1'000'000;

IntervalStatistics statisticsOf(int64_t expectedNs, const std::vector<int64_t>& timestampsMs) {
    IntervalStatistics statistics(expectedNs);
    for (const int64_t timestamp : timestampsMs)
        statistics.add(timestamp * kMs);
    return statistics;
}

TEST(IntervalStatistics, RateAndJitterComeFromTheTimestamps) {
    const auto steady = statisticsOf(0, {1000, 1010, 1020, 1030});
    EXPECT_EQ(steady.events(), 4);
    EXPECT_DOUBLE_EQ(steady.rateHz(), 100.0);
    EXPECT_DOUBLE_EQ(steady.jitterNs(), 0.0);

    const auto uneven = statisticsOf(0, {0, 8, 20});
    EXPECT_DOUBLE_EQ(uneven.rateHz(), 100.0);
    EXPECT_DOUBLE_EQ(uneven.jitterNs(), 2.0 * kMs);
    EXPECT_EQ(uneven.shortestNs(), 8 * kMs);
    EXPECT_EQ(uneven.longestNs(), 12 * kMs);

    EXPECT_DOUBLE_EQ(statisticsOf(0, {5}).rateHz(), 0.0);
}

TEST(IntervalStatistics, CountsLostAndBackwardTimestamps) {
    EXPECT_EQ(statisticsOf(10 * kMs, {0, 10, 24, 38}).lost(), 0) << "late is not lost";
    EXPECT_EQ(statisticsOf(10 * kMs, {0, 10, 40, 61}).lost(), 3);
    EXPECT_EQ(statisticsOf(0, {0, 10, 1000}).lost(), 0) << "no period, nothing to miss";

    const auto backward = statisticsOf(10 * kMs, {100, 110, 90, 90, 100});
    EXPECT_EQ(backward.backward(), 2);
    EXPECT_DOUBLE_EQ(backward.rateHz(), 100.0) << "only intervals in order count";
}

TEST(DurationStatistics, QuantilesAreTrueToAFewPercent) {
    DurationStatistics durations;
    EXPECT_EQ(durations.quantileNs(0.5), 0);
    for (int64_t i = 1; i <= 10000; ++i)
        durations.add(i * 1000);
    EXPECT_NEAR(static_cast<double>(durations.quantileNs(0.5)), 5e6, 0.03 * 5e6);
    EXPECT_NEAR(static_cast<double>(durations.quantileNs(0.99)), 9.9e6, 0.03 * 9.9e6);
    durations.add(-5);
    durations.add(INT64_MAX);
    EXPECT_EQ(durations.quantileNs(0), 0) << "before its time is no time";
    EXPECT_EQ(durations.longestNs(), INT64_MAX);
    EXPECT_GT(durations.quantileNs(1), INT64_MAX / 100 * 97);
}

SensorInfo sensor(int32_t handle, int32_t type, const char* name, const char* stringType) {
    SensorInfo info{};
    info.sensorHandle = handle;
    info.type = static_cast<decltype(info.type)>(type);
    info.name = name;
    info.typeAsString = stringType;
    return info;
}

TEST(SensorLookup, PrefersHandleThenTypeThenPart) {
    const std::vector<SensorInfo> sensors = {
        sensor(1, 1, "LSM6 Accelerometer", ""),
        sensor(43, 35, "LSM6 Accelerometer Uncalibrated", ""),
        sensor(58, 65687, "LSM6 Accelerometer-Sub", "com.tavrine.sensor.accelerometer_sub"),
        sensor(27, 27, "Orientation", ""),
        sensor(52, 27, "Orientation Wake Up", ""),
        sensor(99, 70001, "", ""),
    };
    const auto handles = [&](const char* text) {
        std::vector<int32_t> found;
        for (const SensorInfo* one : findSensors(sensors, text))
            found.push_back(one->sensorHandle);
        return found;
    };
    using Handles = std::vector<int32_t>;
    EXPECT_EQ(handles("43"), Handles{43});
    EXPECT_EQ(handles("4"), Handles{}) << "a number is a whole handle";
    EXPECT_EQ(handles("accelerometer"), Handles{1}) << "a whole type name beats a part";
    EXPECT_EQ(handles("com.tavrine.sensor.Accelerometer_Sub"), Handles{58});
    EXPECT_EQ(handles("ACCELEROMETER_SUB"), Handles{58});
    EXPECT_EQ(handles("-sub"), Handles{58});
    EXPECT_EQ(handles("LSM6 accelerometer"), Handles{1}) << "a whole name beats a longer one";
    EXPECT_EQ(handles("lsm6"), (Handles{1, 43, 58}));
    EXPECT_EQ(handles("device_orientation"), (Handles{27, 52}));
    EXPECT_EQ(handles("type 70001"), Handles{99});
    EXPECT_EQ(handles(""), Handles{});
}

TEST(SensorLookup, SelectorCarriesARate) {
    EXPECT_EQ(parseSelector("gyroscope@12.5")->sensor, "gyroscope");
    EXPECT_EQ(parseSelector("gyroscope@12.5")->rateHz, 12.5);
    EXPECT_FALSE(parseSelector("gyroscope")->rateHz);
    for (const char* wrong :
         {"1@", "1@fast", "1@0", "1@-5", "1@inf", "1@nan", "1@5Hz", "1@1e-300"}) {
        EXPECT_FALSE(parseSelector(wrong)) << wrong;
    }
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
    EXPECT_EQ(check.missed(), 6);

    sensors_event_t older = record(10);
    older.timestamp = 1;
    EXPECT_FALSE(check.add(older));
    sensors_event_t half = record(11);
    half.sensor = 0;
    EXPECT_FALSE(check.add(half));
    sensors_event_t flush = half;
    flush.reserved0 = 12;
    flush.type = SENSOR_TYPE_META_DATA;
    flush.meta_data = {META_DATA_FLUSH_COMPLETE, kHandle};
    EXPECT_TRUE(check.add(flush));
    EXPECT_EQ(check.torn(), 2);
    EXPECT_EQ(check.records(), 6);
}

/** Shared memory of a few slots, written as the library does. */
class WrittenRing {
  public:
    static constexpr uint32_t kSlots = 8;
    static constexpr size_t kBytes = kSlots * sizeof(sensors_event_t);

    WrittenRing() : mFd(ashmem_create_region("test", kBytes)) {
        mBase = static_cast<sensors_event_t*>(
            mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, mFd, 0));
    }
    ~WrittenRing() {
        munmap(mBase, kBytes);
        close(mFd);
    }
    WrittenRing(const WrittenRing&) = delete;
    WrittenRing& operator=(const WrittenRing&) = delete;

    void write(uint32_t records) {
        while (records-- > 0) {
            ++mCounter;
            sensors_event_t* slot = mBase + (mCounter - 1) % kSlots;
            const auto before = slot->reserved0;
            *slot = record(mCounter);
            slot->reserved0 = before;
            __atomic_store_n(&slot->reserved0, static_cast<int32_t>(mCounter), __ATOMIC_SEQ_CST);
        }
    }
    /** A record of which only the body has been written yet. */
    void writeHalf() { mBase[mCounter % kSlots].timestamp = 0; }

    int fd() const { return mFd; }

  private:
    int mFd;
    sensors_event_t* mBase;
    uint32_t mCounter = 0;
};

/** Counters of the records that a reader new to the ring finds. */
std::vector<int32_t> countersIn(const WrittenRing& ring) {
    RingReader reader(ring.fd(), WrittenRing::kBytes);
    reader.stop();
    std::vector<int32_t> counters;
    sensors_event_t found;
    while (reader.read(&found, 5000))
        counters.push_back(found.reserved0);
    return counters;
}

TEST(RingReader, ReadsEachWholeRecordOnce) {
    WrittenRing ring;
    ring.write(5);
    EXPECT_EQ(countersIn(ring), (std::vector<int32_t>{1, 2, 3, 4, 5}));
    ring.write(3);
    ring.writeHalf();
    EXPECT_EQ(countersIn(ring), (std::vector<int32_t>{2, 3, 4, 5, 6, 7, 8}))
        << "the slot that is being written is left out";
    ring.write(2 * WrittenRing::kSlots + 1);
    EXPECT_EQ(countersIn(ring), std::vector<int32_t>{3 * WrittenRing::kSlots + 1})
        << "where the writer has lapped it, it goes on";
}

}  // namespace
}  // namespace subhalctl
