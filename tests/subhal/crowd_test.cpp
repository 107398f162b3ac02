// Every entry function from several threads at once while events stream and the proxy restarts
// again and again. It is the thread sanitizer that looks on; at rest everything works.

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::OperationMode;
using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V1_0::SharedMemType;
using testing_support::LoadedSubHal;

constexpr int kVdis = 38;
constexpr int kHandles[] = {1, 17, 32, kVdis};  // streaming, one-shot, context, direct report
constexpr int kCallers = 3;
constexpr int kCalls = 3000;

int32_t registerChannel(LoadedSubHal& subHal, const testing_support::ClientMemory& memory) {
    const auto handle = testing_support::handleOf(memory.share());
    const SharedMemInfo mem{SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT,
                            static_cast<uint32_t>(memory.size()), handle.get()};
    return host_proxy::registerDirectChannel(subHal.hal(), mem).value;
}

TEST(Crowd, MayCallAnythingWhileEventsStreamAndTheProxyRestarts) {
    LoadedSubHal subHal(testing_support::onlySensors({1, 17, kVdis}));
    subHal.initialize();
    auto& hal = subHal.hal();
    const testing_support::ClientMemory memory;
    std::atomic<int32_t> channel{0};
    std::atomic<int> calling{kCallers};
    const auto call = [&](unsigned seed) {
        std::mt19937 random(seed);
        const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
        for (int i = 0; i < kCalls; ++i) {
            const int handle = kHandles[below(4)];
            Event event = {};
            event.sensorHandle = handle;
            event.u.data[0] = static_cast<float>(below(3));
            switch (below(10)) {
                case 0:
                case 1:
                    hal.activate(handle, below(2) == 0);
                    break;
                case 2:
                    hal.batch(handle, 1'000'000 * below(50), 1'000'000 * below(3));
                    break;
                case 3:
                    hal.flush(handle);
                    break;
                case 4:
                    // A message is one caller's.
                    if (seed == 0 || handle != 32) hal.injectSensorData(event);
                    break;
                case 5:
                    channel = registerChannel(subHal, memory);
                    break;
                case 6:
                    hal.unregisterDirectChannel(channel);
                    break;
                case 7:
                case 8:
                    host_proxy::configDirectReport(hal, below(4) == 0 ? -1 : kVdis, channel,
                                                   static_cast<RateLevel>(below(4)));
                    break;
                default:
                    hal.setOperationMode(OperationMode::DATA_INJECTION);
                    EXPECT_EQ(host_proxy::sensorsOf(hal).size(), 4u);
            }
        }
        --calling;
    };
    std::vector<std::thread> callers;
    for (unsigned seed = 0; seed < kCallers; ++seed)
        callers.emplace_back(call, seed);
    const std::string sample = simulator::RecordBuilder().i16(1).i16(2).i16(3).u64(4).bytes();
    while (calling > 0) {
        for (const int handle : {1, kVdis})
            EXPECT_TRUE(subHal.deliver(handle, sample));
        subHal.deliver(17, simulator::RecordBuilder().u8(1).u64(5).bytes());
        hal.initialize(&subHal.proxy());
    }
    for (std::thread& caller : callers)
        caller.join();

    // A restart leaves no channel, and what is asked now holds.
    hal.initialize(&subHal.proxy());
    for (const int handle : {1, kVdis}) {
        EXPECT_EQ(hal.activate(handle, false), Result::OK);
        EXPECT_FALSE(subHal.hub().device(handle).enabled);
        EXPECT_EQ(hal.activate(handle, true), Result::OK);
        EXPECT_EQ(hal.batch(handle, 20'000'000, 0), Result::OK);
        EXPECT_EQ(subHal.hub().device(handle).periodNs, 20'000'000);
        subHal.proxy().take();
        EXPECT_EQ(subHal.timestamps(handle, sample).size(), 1u);
    }
    EXPECT_TRUE(memory.isZero());
}

}  // namespace
