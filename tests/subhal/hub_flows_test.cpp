#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "simulator/HubServices.h"
#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::Result;
using simulator::HubServices;
using simulator::Request;
using simulator::SimulatedHub;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using testing_support::onlySensors;

constexpr int kContextHandle = 32;
constexpr char kFile[] = "/data/vendor/sensorhub/calibration";

/** The library on a hub whose firmware is at work. */
class HubFlowsTest : public testing::Test {
  protected:
    HubFlowsTest()
        : mSubHal(onlySensors({1}),
                  [this](SimulatedHub& hub) { mServices = std::make_unique<HubServices>(hub); }) {}
    ~HubFlowsTest() override { EXPECT_EQ(mServices->violations(), std::vector<std::string>{}); }

    SimulatedHub& hub() { return mSubHal.hub(); }

    Result inject(int32_t kind, uint32_t length, const std::string& chunk) {
        Event event = {};
        event.sensorHandle = kContextHandle;
        auto* payload = reinterpret_cast<uint8_t*>(&event.u);
        memcpy(payload, &kind, 4);
        memcpy(payload + 4, &length, 4);
        memcpy(payload + 8, chunk.data(), chunk.size());
        return mSubHal.hal().injectSensorData(event);
    }

    std::unique_ptr<HubServices> mServices;
    LoadedSubHal mSubHal;
};

TEST_F(HubFlowsTest, ReadySignalComesOnceBeforeAnyRequest) {
    ASSERT_TRUE(mServices->waitReady());
    ASSERT_TRUE(hub().waitIdle());
    mSubHal.initialize();
    hub().wakeLibrary();
    ASSERT_TRUE(hub().waitIdle());
    EXPECT_EQ(hub().requests(Request::Kind::kWrite).size(), 0u);
}

TEST_F(HubFlowsTest, FileManagerServesTheFirmware) {
    ASSERT_TRUE(mServices->waitReady());
    // As much as a request holds, with bytes that look like separators.
    std::string content;
    for (int i = 0; i < 4000; ++i)
        content += static_cast<char>(i % 251);
    ASSERT_TRUE(mServices->writeFile(kFile, content, 0));
    EXPECT_EQ(hub().readFile(kFile), content);
}

TEST_F(HubFlowsTest, ContextListAndRecordsReachTheProxy) {
    mSubHal.initialize();
    mServices->setContextList({1, 2, 3, 4});
    ASSERT_TRUE(mServices->pushContext(8, 0, 7, "dropped", 4));
    ASSERT_TRUE(hub().waitIdle());
    ASSERT_EQ(mSubHal.hal().activate(kContextHandle, true), Result::OK);
    ASSERT_TRUE(mServices->pushContext(8, 0, 7, "context!", 5));
    ASSERT_TRUE(hub().waitIdle());

    const auto posts = mSubHal.proxy().take();
    ASSERT_EQ(posts.size(), 2u);
    ASSERT_EQ(posts[0].events.size(), 3u);
    EXPECT_EQ(static_cast<int32_t>(posts[0].events[1].sensorType), 33);
    ASSERT_EQ(posts[1].events.size(), 1u);
    EXPECT_EQ(posts[1].events[0].timestamp, 5);
    EXPECT_EQ(memcmp(reinterpret_cast<const char*>(&posts[1].events[0].u) + 8, "context!", 9), 0);
}

TEST_F(HubFlowsTest, InjectedMessagesReachTheFirmwareWhole) {
    const std::string first(56, 'a');
    EXPECT_EQ(inject(0, 60, ""), Result::OK);
    EXPECT_TRUE(LogCapture::contains("I QContextSensor::injecet_sensor_data"));
    inject(0x42554853, 56, first);
    inject(0x42554853, 4, "tail");
    inject(1, 60, "");
    inject(0, 5, "short");
    // Refused by the writer, which nobody hears of.
    EXPECT_EQ(inject(0, 2000, ""), Result::OK);
    EXPECT_EQ(mServices->messages(), (std::vector<std::string>{first + "tail", "short"}));
}

}  // namespace
