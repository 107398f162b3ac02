#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LoadedSubHal.h"

using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V1_0::SharedMemType;
using simulator::Request;
using simulator::SimulatedHub;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using Client = testing_support::ClientMemory;

namespace {

constexpr int kAccelerometer = 1;
constexpr int kVdis = 38;
constexpr int kStillwave = 50;

constexpr RateLevel kStop = RateLevel::STOP;
constexpr RateLevel kNormal = RateLevel::NORMAL;
constexpr RateLevel kFast = RateLevel::FAST;
constexpr RateLevel kVeryFast = RateLevel::VERY_FAST;

using Answer = std::pair<Result, int32_t>;

class DirectChannels : public testing::Test {
  protected:
    static LoadedSubHal::Options sensors() {
        auto options = testing_support::onlySensors({kAccelerometer, kVdis, kStillwave});
        for (auto& sensor : options.sensors)
            sensor.minDelayUs = 1000;
        return options;
    }

    DirectChannels() : subHal(sensors()), hub(subHal.hub()) { subHal.initialize(); }

    Answer registerMemory(int32_t type, uint32_t size, const native_handle_t* handle) {
        const SharedMemInfo mem{static_cast<SharedMemType>(type), static_cast<SharedMemFormat>(1),
                                size, handle};
        Answer answer(Result::OK, -100);
        subHal.hal().registerDirectChannel(mem, [&](Result result, int32_t channel) {
            answer = {result, channel};
        });
        return answer;
    }

    int32_t open(const Client& client) {
        const auto handle = testing_support::handleOf(client.share());
        const auto [result, channel] =
            registerMemory(1, static_cast<uint32_t>(client.size()), handle.get());
        EXPECT_EQ(result, Result::OK);
        return channel;
    }

    Answer config(int32_t sensor, int32_t channel, RateLevel rate) {
        Answer answer(Result::OK, -100);
        subHal.hal().configDirectReport(sensor, channel, rate, [&](Result result, int32_t token) {
            answer = {result, token};
        });
        return answer;
    }

    void remove(int32_t channel) {
        EXPECT_EQ(subHal.hal().unregisterDirectChannel(channel), Result::OK);
    }

    /** "enable H V" and "batch H period latency" lines since the last call. */
    std::vector<std::string> told() {
        std::vector<std::string> lines;
        for (const Request& request : hub.requests()) {
            EXPECT_EQ(request.error, 0);
            const std::string handle = std::to_string(request.handle);
            if (request.kind == Request::Kind::kEnable) {
                lines.push_back("enable " + handle + " " + std::to_string(request.enable));
            } else if (request.kind == Request::Kind::kBatch) {
                lines.push_back("batch " + handle + " " + std::to_string(request.periodNs) + " " +
                                std::to_string(request.latencyNs));
            }
        }
        hub.clearRequests();
        return lines;
    }

    bool deliver(int handle, int16_t x, uint64_t timestamp) {
        simulator::RecordBuilder record;
        record.i16(x).i16(2).i16(3).u64(timestamp);
        if (handle != kAccelerometer) record.u32(0);
        return subHal.deliver(handle, record.bytes());
    }

    LoadedSubHal subHal;
    SimulatedHub& hub;
};

using Lines = std::vector<std::string>;

TEST_F(DirectChannels, HandlesGrowAndAreNeverReused) {
    const Client client;
    EXPECT_EQ(open(client), 1);
    EXPECT_EQ(open(client), 2);  // the same region again
    remove(2);
    remove(1);
    EXPECT_EQ(open(client), 3);
    remove(77);
    remove(-1);
    EXPECT_EQ(open(client), 4);
    EXPECT_EQ(told(), Lines{});
}

TEST_F(DirectChannels, RegistrationLogsWhatItWasGiven) {
    const Client client;
    const auto handle = testing_support::handleOf(client.share());
    EXPECT_EQ(registerMemory(1, 1000, handle.get()), Answer(Result::OK, 1));
    char line[160];
    snprintf(line, sizeof(line),
             "I convertFromSharedMemInfo type: 1 format: 1 memout size: 1000 handle: %p",
             static_cast<void*>(handle.get()));
    EXPECT_LOG("I registerDirectChannel++", line, "I addDirectChannel++", "I mem->type 1",
               "I mem->type ASHMEM", "I addDirectChannel 1");

    const Answer refused(Result::BAD_VALUE, -1);
    EXPECT_EQ(registerMemory(2, 1000, handle.get()), refused);
    EXPECT_TRUE(LogCapture::contains("E type is not supported: 2"));
    EXPECT_EQ(registerMemory(1, 1000, nullptr), refused);
    handle->data[0] = client.share();
    EXPECT_EQ(registerMemory(1, 0xFFFFFFFF, handle.get()), refused);
    EXPECT_TRUE(LogCapture::contains("W Direct channel object(type:1) has error -22 upon init"));
}

TEST_F(DirectChannels, ConfigurationAnswers) {
    const Client client;
    const int32_t channel = open(client);
    const Answer bad(Result::BAD_VALUE, -22);
    EXPECT_EQ(config(kVdis, channel, static_cast<RateLevel>(4)), Answer(Result::BAD_VALUE, 0));
    for (const int32_t sensor : {0, -1, -2, 73, 12345, 2, kAccelerometer}) {
        EXPECT_EQ(config(sensor, channel, kNormal), bad) << sensor;
    }
    LogCapture::take();
    EXPECT_EQ(config(kVdis, 9, kNormal), bad);
    EXPECT_TRUE(LogCapture::contains("I configDirectReport 38 9 1"));
    EXPECT_TRUE(LogCapture::contains("I configDirectChannel 38 9 1"));
    EXPECT_TRUE(LogCapture::contains("I mDirectChannel not found"));
    EXPECT_EQ(config(kVdis, 9, kStop), bad);
    EXPECT_EQ(config(-1, 9, kStop), bad);
    EXPECT_EQ(told(), Lines{});

    EXPECT_EQ(config(kVdis, channel, kNormal), Answer(Result::OK, kVdis));
    EXPECT_EQ(config(kStillwave, channel, kFast), Answer(Result::OK, kStillwave));
    EXPECT_EQ(config(kVdis, channel, kStop), Answer(Result::OK, 0));
    EXPECT_EQ(config(-1, channel, kStop), Answer(Result::OK, 0));
}

TEST_F(DirectChannels, RatesMergeIntoTheBatchRequest) {
    // Whether the proxy has the sensor on, the period in µs that it asked for, the channels' rates,
    // and the period that comes of it.
    const struct {
        bool enabled;
        int64_t period;
        std::vector<RateLevel> rates;
        int64_t merged;
    } cases[] = {
        {true, 50000, {kNormal}, 20000},
        {true, 5000, {kNormal}, 5000},
        {true, 5000, {kFast}, 2500},
        {true, 5000, {kVeryFast}, 2500},
        {true, 1000, {kVeryFast}, 1000},
        {true, 2500, {kFast}, 2500},
        {true, 50000, {kNormal, kVeryFast}, 2500},
        {true, 50000, {kFast, kNormal}, 2500},
        {true, 50000, {kFast, kStop}, 2500},
        {true, 50000, {kStop, kNormal}, 20000},
        {true, 50000, {kStop, kStop}, 50000},
        {false, 50000, {kNormal}, 20000},
        {false, 5000, {kNormal}, 20000},
        {false, 1000, {kFast}, 2500},
        {false, 1000, {kNormal, kFast}, 2500},
        {false, 1000, {}, 1000},
    };
    const Client client;
    for (const int sensor : {kVdis, kStillwave}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(&c - cases);
            const auto expectBatch = [&](int64_t period, bool isReporting) {
                told();
                EXPECT_EQ(subHal.hal().batch(sensor, c.period * 1000, 300000000), Result::OK);
                EXPECT_EQ(told(), Lines{"batch " + std::to_string(sensor) + " " +
                                        std::to_string(period * 1000) +
                                        (isReporting ? " 0" : " 300000000")});
            };
            EXPECT_EQ(subHal.hal().activate(sensor, c.enabled), Result::OK);
            expectBatch(c.period, false);
            bool isReporting = false;
            std::vector<int32_t> channels;
            for (const RateLevel rate : c.rates) {
                channels.push_back(open(client));
                config(sensor, channels.back(), rate);
                isReporting |= rate != kStop;
            }
            expectBatch(c.merged, isReporting);
            for (const int32_t channel : channels)
                remove(channel);
            expectBatch(c.period, false);
        }
    }
}

TEST_F(DirectChannels, NeverBatchedSensorRunsAtItsOwnPeriodOnlyWhenEnabled) {
    const Client client;
    const int32_t channel = open(client);
    config(kVdis, channel, kNormal);
    EXPECT_EQ(told(), (Lines{"enable 38 1", "batch 38 20000000 0"}));
    EXPECT_EQ(subHal.hal().activate(kVdis, true), Result::OK);
    told();
    config(kVdis, channel, kNormal);
    EXPECT_EQ(told(), (Lines{"batch 38 0 0"}));
}

TEST_F(DirectChannels, RowsKeepWhatTheDriverRefused) {
    const Client client;
    const int32_t channel = open(client);
    ASSERT_EQ(subHal.hal().activate(kVdis, true), Result::OK);
    hub.failIoctl("/dev/batch_io", EIO);
    ASSERT_EQ(subHal.hal().batch(kVdis, 10000000, 0), Result::BAD_VALUE);
    ASSERT_EQ(config(kVdis, channel, kNormal), Answer(Result::OK, kVdis));
    EXPECT_EQ(hub.periodNs(kVdis), 10000000);  // shorter than the channel's 20 ms
}

TEST_F(DirectChannels, StopLeavesTheSensorOnAndRemovalSwitchesItOff) {
    const Client client;
    const int32_t first = open(client);
    const int32_t second = open(client);
    config(kVdis, first, kVeryFast);
    config(kVdis, second, kNormal);
    EXPECT_EQ(told(),
              (Lines{"enable 38 1", "batch 38 2500000 0", "enable 38 1", "batch 38 2500000 0"}));
    // The slower channel alone: the next request slows down.
    config(kVdis, first, kStop);
    EXPECT_EQ(told(), Lines{});
    config(kVdis, second, kNormal);
    EXPECT_EQ(told(), (Lines{"enable 38 1", "batch 38 20000000 0"}));
    config(kVdis, second, kStop);
    EXPECT_EQ(told(), Lines{});
    // A channel that no sensor is on any more switches nothing off.
    remove(first);
    remove(second);
    EXPECT_EQ(told(), Lines{});
    EXPECT_TRUE(hub.isEnabled(kVdis));

    const int32_t third = open(client);
    const int32_t fourth = open(client);
    config(kVdis, third, kNormal);
    config(kStillwave, third, kNormal);
    config(kVdis, fourth, kNormal);
    told();
    LogCapture::take();
    remove(third);  // 38 is still on the fourth
    EXPECT_EQ(told(), Lines{"enable 50 0"});
    EXPECT_TRUE(LogCapture::contains("I removeDirectChannel: 3"));
    EXPECT_TRUE(LogCapture::contains("W Removing channel 3 when sensors (50,) are not stopped."));
    config(kStillwave, fourth, kNormal);
    told();
    remove(fourth);
    EXPECT_EQ(told(), (Lines{"enable 38 0", "enable 50 0"}));
    EXPECT_TRUE(
        LogCapture::contains("W Removing channel 4 when sensors (38,50,) are not stopped."));
}

TEST_F(DirectChannels, RemovalAndStopOfAllSpareSensorsThatTheProxyUses) {
    const Client client;
    const int32_t channel = open(client);
    EXPECT_EQ(subHal.hal().activate(kStillwave, true), Result::OK);
    config(kVdis, channel, kFast);
    config(kStillwave, channel, kFast);
    told();
    LogCapture::take();
    EXPECT_EQ(config(-1, channel, kStop), Answer(Result::OK, 0));
    EXPECT_EQ(told(), Lines{"enable 38 0"});
    remove(channel);
    EXPECT_EQ(told(), Lines{});
    for (const auto& line : LogCapture::take())
        EXPECT_NE(line.level, 'W') << line;
}

TEST_F(DirectChannels, InitializeRemovesEveryChannel) {
    const Client client;
    const int32_t first = open(client);
    const int32_t second = open(client);
    config(kVdis, first, kNormal);
    config(kVdis, second, kNormal);
    ASSERT_TRUE(deliver(kVdis, 1, 100));
    EXPECT_FALSE(client.isZero());
    told();
    LogCapture::take();
    EXPECT_EQ(subHal.hal().initialize(&subHal.proxy()), Result::OK);
    EXPECT_EQ(LogCapture::count("E initialize: remove direct-channel handle=1"), 1);
    EXPECT_EQ(LogCapture::count("E initialize: remove direct-channel handle=2"), 1);
    EXPECT_EQ(told(), Lines{"enable 38 0"});
    EXPECT_TRUE(client.isZero());
    EXPECT_EQ(config(kVdis, first, kNormal), Answer(Result::BAD_VALUE, -22));
    EXPECT_EQ(open(client), 3);
}

TEST_F(DirectChannels, EventsReachEveryChannelOfTheirSensor) {
    const Client both;
    const Client vdisOnly;
    const Client idle;
    const int32_t bothChannel = open(both);
    const int32_t vdisChannel = open(vdisOnly);
    open(idle);
    config(kVdis, bothChannel, kNormal);
    config(kStillwave, bothChannel, kFast);
    config(kVdis, vdisChannel, kFast);

    ASSERT_TRUE(deliver(kVdis, 10, 111));
    ASSERT_TRUE(deliver(kStillwave, 20, 222));
    ASSERT_TRUE(deliver(kAccelerometer, 30, 333));
    ASSERT_TRUE(hub.pushFlushMarker(kVdis) && hub.waitIdle());
    const uint32_t head[] = {104, 38, 65536 + 71, 1, 111};
    for (size_t i = 0; i < std::size(head); ++i)
        EXPECT_EQ(both.word(0, 4 * i), head[i]) << i;
    EXPECT_EQ(both.word(1, 4), 50U);
    EXPECT_EQ(both.counter(1), 2U);
    EXPECT_EQ(both.word(1, 16), 222U);
    EXPECT_EQ(both.counter(2), 0U);
    EXPECT_EQ(vdisOnly.counter(0), 1U);
    EXPECT_EQ(vdisOnly.word(0, 24), both.word(0, 24));
    EXPECT_EQ(vdisOnly.counter(1), 0U);
    EXPECT_TRUE(idle.isZero());

    // Not enabled by the proxy, so it saw none of them.
    EXPECT_TRUE(subHal.proxy().take().empty());
    config(kVdis, bothChannel, kStop);
    remove(vdisChannel);
    ASSERT_TRUE(deliver(kVdis, 10, 444));
    EXPECT_EQ(both.counter(2), 0U);
    EXPECT_TRUE(vdisOnly.isZero());
}

TEST_F(DirectChannels, EventsDuringAConfigurationAreDroppedWithoutWaiting) {
    const Client client;
    const int32_t channel = open(client);
    EXPECT_EQ(subHal.hal().activate(kVdis, true), Result::OK);
    config(kVdis, channel, kNormal);

    std::promise<void> reached;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    simulator::NodeHandler blocking;
    std::atomic<bool> first{true};
    blocking.onIoctl = [&, released](unsigned long, void*) {
        if (first.exchange(false)) {
            reached.set_value();
            released.wait();
        }
        return 0;
    };
    hub.setHandler("/dev/batch_io", blocking);
    std::thread configuration([&] { config(kVdis, channel, kFast); });
    reached.get_future().wait();
    EXPECT_TRUE(deliver(kVdis, 1, 111));
    EXPECT_TRUE(client.isZero());
    EXPECT_EQ(subHal.proxy().take().size(), 1U);
    release.set_value();
    configuration.join();
    EXPECT_TRUE(deliver(kVdis, 1, 222));
    EXPECT_EQ(client.counter(0), 1U);
    EXPECT_EQ(client.word(0, 16), 222U);
}

}  // namespace
