#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/LoadedSubHal.h"

namespace {

using namespace testing_support;
using Reply = std::pair<Result, int32_t>;
using Requests = std::vector<std::string>;

constexpr int kAccelerometer = 1;
constexpr int kVdis = 38;
constexpr int kStillwave = 50;

// Rate levels.
constexpr int32_t kStop = 0;
constexpr int32_t kNormal = 1;
constexpr int32_t kFast = 2;
constexpr int32_t kVeryFast = 3;

class DirectChannels : public testing::Test, protected LoadedSubHal {
  protected:
    static Options sensors() {
        Options options = onlySensors({kAccelerometer, kVdis, kStillwave});
        for (auto& sensor : options.sensors)
            sensor.minDelayUs = 1000;
        return options;
    }

    DirectChannels() : LoadedSubHal(sensors()) { initialize(); }

    Reply config(int32_t sensor, int32_t channel, int32_t rate) {
        const auto reply =
            host_proxy::configDirectReport(hal(), sensor, channel, static_cast<RateLevel>(rate));
        return {reply.result, reply.value};
    }
};

TEST_F(DirectChannels, RegistrationLogsWhatItWasGiven) {
    const ClientMemory client;
    const auto given = handleOf(client.share());
    const auto add = [&](int type, int format, uint32_t size, const native_handle_t* handle) {
        const SharedMemInfo mem{static_cast<SharedMemType>(type),
                                static_cast<SharedMemFormat>(format), size, handle};
        const auto reply = host_proxy::registerDirectChannel(hal(), mem);
        return Reply(reply.result, reply.value);
    };
    EXPECT_EQ(add(1, 1, 1000, given.get()), Reply(Result::OK, 1));
    std::ostringstream line;
    line << "I convertFromSharedMemInfo type: 1 format: 1 memout size: 1000 handle: "
         << given.get();
    EXPECT_LOG("I registerDirectChannel++", line.str(), "I addDirectChannel++", "I mem->type 1",
               "I mem->type ASHMEM", "I addDirectChannel 1");

    const Reply refused(Result::BAD_VALUE, -1);
    EXPECT_EQ(add(2, 1, 1000, given.get()), refused);
    EXPECT_TRUE(LogCapture::contains("E type is not supported: 2"));
    EXPECT_EQ(add(0, 1, 1000, given.get()), refused);
    EXPECT_EQ(add(1, 0, 1000, given.get()), refused);
    EXPECT_EQ(add(1, 1, 1000, nullptr), refused);
    given->data[0] = client.share();
    EXPECT_EQ(add(1, 1, 0xFFFFFFFF, given.get()), refused);
    EXPECT_TRUE(LogCapture::contains("W Direct channel object(type:1) has error -22 upon init"));
}

TEST_F(DirectChannels, RefusedConfigurations) {
    const ClientMemory client;
    const int32_t channel = openChannel(client);
    const Reply bad(Result::BAD_VALUE, -22);
    for (const int32_t level : {-1, 4})
        EXPECT_EQ(config(kVdis, channel, level), Reply(Result::BAD_VALUE, 0));
    for (const int32_t sensor : {0, -1, -2, 73, 12345, 2, kAccelerometer})
        EXPECT_EQ(config(sensor, channel, kNormal), bad) << sensor;
    LogCapture::take();
    EXPECT_EQ(config(kVdis, 9, kNormal), bad);
    EXPECT_LOG("I configDirectReport 38 9 1", "I configDirectChannel 38 9 1",
               "I mDirectChannel not found");
    EXPECT_EQ(requests(), Requests{});
}

/** Expected requests and results, by rules of the test's own. */
struct Model {
    struct Sensor {
        bool enabled = false;
        int64_t periodNs = 0;
        int64_t latencyNs = 0;
        std::map<int32_t, int32_t> rates;  // by channel
    };

    std::string enable(int32_t handle, bool on) {
        return "enable " + std::to_string(handle) + (on ? " 1" : " 0");
    }
    std::string batch(int32_t handle) {
        const Sensor& sensor = sensors[handle];
        int64_t periodNs = sensor.periodNs;
        int64_t latencyNs = sensor.latencyNs;
        int32_t fastest = kStop;
        for (const auto& [channel, rate] : sensor.rates)
            fastest = std::max(fastest, rate);
        if (fastest != kStop) {
            const int64_t directNs = fastest == kNormal ? 20000000 : 2500000;
            periodNs = sensor.enabled ? std::min(periodNs, directNs) : directNs;
            latencyNs = 0;
        }
        return "batch " + std::to_string(handle) + " " + std::to_string(periodNs) + " " +
               std::to_string(latencyNs);
    }
    /** Handles of the sensors that this leaves without a channel, as a removal logs them. */
    std::string stopAll(int32_t channel, Requests* sent) {
        std::string handles;
        for (auto& [handle, sensor] : sensors) {
            if (sensor.rates.erase(channel) == 0 || !sensor.rates.empty()) continue;
            handles += std::to_string(handle) + ",";
            if (!sensor.enabled) sent->push_back(enable(handle, false));
        }
        return handles;
    }

    std::map<int32_t, Sensor> sensors = {{kVdis, {}}, {kStillwave, {}}};
    std::set<int32_t> channels;
    int32_t next = 1;
};

TEST_F(DirectChannels, RandomRequestsAgainstAModel) {
    Model model;
    const ClientMemory client;
    std::mt19937 random(1);
    const auto pick = [&random](const std::vector<int32_t>& from) {
        return from[random() % from.size()];
    };
    for (int step = 0; step < 2000; ++step) {
        SCOPED_TRACE(step);
        const int32_t handle = pick({kVdis, kStillwave});
        const int32_t channel = model.next - 1 - static_cast<int32_t>(random() % 4);
        const bool isKnown = model.channels.count(channel) != 0;
        Model::Sensor& sensor = model.sensors[handle];
        Requests expected;
        LogCapture::take();
        switch (random() % 14) {
            case 0:
                sensor.enabled = random() % 2 == 0;
                EXPECT_EQ(hal().activate(handle, sensor.enabled), Result::OK);
                expected = {model.enable(handle, sensor.enabled)};
                break;
            case 1: {  // the row keeps what the driver refuses, too
                const bool refused = random() % 4 == 0;
                if (refused) hub().fail("ioctl", "/dev/batch_io", EIO);
                sensor.periodNs = pick({1000000, 2500000, 5000000, 50000000});
                sensor.latencyNs = pick({0, 300000000});
                EXPECT_EQ(hal().batch(handle, sensor.periodNs, sensor.latencyNs),
                          refused ? Result::BAD_VALUE : Result::OK);
                if (refused) hub().clearRequests();
                if (!refused) expected = {model.batch(handle)};
                break;
            }
            case 2:
            case 3:
            case 4:
                EXPECT_EQ(openChannel(client), model.next);  // the same region again and again
                model.channels.insert(model.next++);
                break;
            case 5: {
                EXPECT_EQ(hal().unregisterDirectChannel(channel), Result::OK);
                EXPECT_TRUE(
                    LogCapture::contains("I removeDirectChannel: " + std::to_string(channel)));
                const std::string stopped = model.stopAll(channel, &expected);
                model.channels.erase(channel);
                const std::string line = "W Removing channel " + std::to_string(channel) +
                                         " when sensors (" + stopped + ") are not stopped.";
                EXPECT_EQ(LogCapture::contains(line), !stopped.empty()) << line;
                break;
            }
            case 6:
                EXPECT_EQ(config(-1, channel, kStop),
                          isKnown ? Reply(Result::OK, 0) : Reply(Result::BAD_VALUE, -22));
                model.stopAll(channel, &expected);
                break;
            case 7:
                if (random() % 8 != 0) break;
                EXPECT_EQ(hal().initialize(&proxy()), Result::OK);
                for (const int32_t removed : model.channels) {
                    EXPECT_EQ(LogCapture::count("E initialize: remove direct-channel handle=" +
                                                std::to_string(removed)),
                              1);
                    model.stopAll(removed, &expected);
                }
                model.channels.clear();
                EXPECT_TRUE(client.isZero());
                break;
            default: {
                const int32_t rate = pick({kStop, kNormal, kFast, kVeryFast});
                const Reply good(Result::OK, rate == kStop ? 0 : handle);
                EXPECT_EQ(config(handle, channel, rate),
                          isKnown ? good : Reply(Result::BAD_VALUE, -22));
                if (!isKnown) break;
                sensor.rates.erase(channel);
                if (rate == kStop) break;  // leaves the sensor on
                sensor.rates[channel] = rate;
                if (!sensor.enabled) expected = {model.enable(handle, true)};
                expected.push_back(model.batch(handle));
            }
        }
        Requests actual = requests();
        std::sort(actual.begin(), actual.end());  // initialize removes in any order
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(actual, expected);
    }
}

TEST_F(DirectChannels, EventsReachEveryChannelOfTheirSensor) {
    const ClientMemory both;
    const ClientMemory vdisOnly;
    const int32_t bothChannel = openChannel(both);
    const int32_t vdisChannel = openChannel(vdisOnly);
    config(kVdis, bothChannel, kNormal);
    config(kStillwave, bothChannel, kFast);
    config(kVdis, vdisChannel, kFast);

    ASSERT_TRUE(deliver(kVdis, sample(111)));
    ASSERT_TRUE(deliver(kStillwave, sample(222)));
    ASSERT_TRUE(deliver(kAccelerometer, sample(333)));
    ASSERT_TRUE(hub().pushFlushMarker(kVdis) && hub().waitIdle());
    const uint32_t head[] = {104, 38, 65536 + 71, 1, 111};
    for (size_t i = 0; i < std::size(head); ++i) {
        EXPECT_EQ(both.word(0, 4 * i), head[i]) << i;
        EXPECT_EQ(vdisOnly.word(0, 4 * i), head[i]) << i;
    }
    EXPECT_EQ(both.sensor(1), 50U);
    EXPECT_EQ(both.counter(1), 2U);
    EXPECT_EQ(both.counter(2), 0U);
    EXPECT_EQ(vdisOnly.counter(1), 0U);
    // Not enabled by the proxy, so it saw none of them.
    EXPECT_TRUE(proxy().take().empty());

    config(kVdis, bothChannel, kStop);
    ASSERT_TRUE(deliver(kVdis, sample(444)));
    EXPECT_EQ(both.counter(2), 0U);
}

}  // namespace
