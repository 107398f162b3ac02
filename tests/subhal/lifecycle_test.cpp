#include <gtest/gtest.h>

#include <thread>

#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::hidl_vec;
using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::OperationMode;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V2_0::implementation::IHalProxyCallback;
using testing_support::ISensorsSubHal;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using testing_support::LogLine;
using testing_support::onlySensors;

TEST(Lifecycle, OneObjectWithItsVersionAndName) {
    LoadedSubHal subHal(onlySensors({1}));
    const auto again =
        reinterpret_cast<ISensorsSubHal* (*)(uint32_t*)>(subHal.library().entryPoint());
    uint32_t version = 0;
    EXPECT_EQ(again(&version), &subHal.hal());
    EXPECT_EQ(version, 0x02000000u);
    EXPECT_EQ(subHal.hal().getName(), "sensorhub");
    EXPECT_EQ(subHal.hal().setOperationMode(OperationMode::NORMAL), Result::BAD_VALUE);
    EXPECT_EQ(subHal.hal().setOperationMode(OperationMode::DATA_INJECTION), Result::BAD_VALUE);
    EXPECT_TRUE(subHal.hal().debug({}, {}).isOk());
    EXPECT_EQ(subHal.hal().initialize({}, {}, nullptr), Result::INVALID_OPERATION);
}

TEST(Lifecycle, StartAndStopAreLogged) {
    LoadedSubHal subHal(onlySensors({1}));
    ASSERT_TRUE(subHal.hub().waitIdle());
    EXPECT_EQ(LogCapture::lines().front(), (LogLine("I create SensorsSubHal")));
    EXPECT_TRUE(LogCapture::contains("I thread run"));
    LogCapture::take();
    ASSERT_TRUE(subHal.unload());
    const auto log = LogCapture::take();
    ASSERT_GE(log.size(), 2u);
    const auto stop = std::find(log.begin(), log.end(), LogLine("I thread stop"));
    const auto destroy = std::find(log.begin(), log.end(), LogLine("I destroy SensorsSubHal"));
    EXPECT_LT(stop, destroy);
    EXPECT_NE(destroy, log.end());
}

TEST(Lifecycle, ListIsTheCatalogueInFileOrder) {
    LoadedSubHal subHal(onlySensors({1, 4, 6}));
    std::vector<int> handles;
    int calls = 0;
    subHal.hal().getSensorsList([&](const hidl_vec<SensorInfo>& list) {
        ++calls;
        for (const SensorInfo& info : list)
            handles.push_back(info.sensorHandle);
    });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(handles, (std::vector<int>{1, 4, 6, 32}));
}

TEST(Lifecycle, EmptyCatalogueStartsNoThread) {
    LoadedSubHal subHal({}, [](simulator::SimulatedHub& hub) {
        hub.removeFile("/sys/class/sensors/hbx_sensor/sensor_spec");
    });
    EXPECT_LOG("I create SensorsSubHal",
               "E makeSensorList: open failed. No such file or directory");
    EXPECT_EQ(subHal.hal().activate(1, true), Result::BAD_VALUE);
    LogCapture::take();
    EXPECT_TRUE(subHal.unload());
    EXPECT_LOG("I destroy SensorsSubHal");
}

TEST(Lifecycle, InitializeKeepsSensorsAndReplacesTheCallback) {
    LoadedSubHal subHal(onlySensors({1}));
    ASSERT_TRUE(subHal.hub().waitIdle());
    LogCapture::take();
    const android::sp<IHalProxyCallback> first = new testing_support::HalProxyCallback;
    EXPECT_EQ(subHal.hal().initialize(first), Result::OK);
    EXPECT_LOG("I SensorsSubHal::initialize", "E sensorhub initialize");
    EXPECT_EQ(subHal.hal().activate(1, true), Result::OK);
    subHal.initialize();
    EXPECT_TRUE(subHal.hub().requests().empty());
    ASSERT_TRUE(subHal.deliver(1, simulator::RecordBuilder().i16(1).i16(2).i16(3).u64(4).bytes()));
    EXPECT_EQ(subHal.proxy().take().size(), 1u);
}

TEST(Lifecycle, InjectionGoesToTheSensorOrIsRefused) {
    LoadedSubHal subHal(onlySensors({1}));
    subHal.initialize();
    Event event = {};
    for (const int handle : {0, -1, 5, 73, INT32_MAX, INT32_MIN}) {
        event.sensorHandle = handle;
        EXPECT_EQ(subHal.hal().injectSensorData(event), Result::BAD_VALUE);
        EXPECT_LOG("E injectSensorData: unhandled handle=" + std::to_string(handle));
    }
    event.sensorHandle = 1;
    EXPECT_EQ(subHal.hal().injectSensorData(event), Result::OK);
    EXPECT_TRUE(subHal.hub().requests().empty());
    const uint32_t code = 2;
    memcpy(&event.u, &code, sizeof(code));
    EXPECT_EQ(subHal.hal().injectSensorData(event), Result::OK);
    EXPECT_EQ(subHal.hub().requests().size(), 1u);
    subHal.hub().failWrite("/dev/shub_data_injection", EIO);
    EXPECT_EQ(subHal.hal().injectSensorData(event), Result::BAD_VALUE);
}

// For the thread sanitizer: a proxy that restarts and switches sensors while events flow.
TEST(Lifecycle, ProxyRestartsUnderLoad) {
    LoadedSubHal subHal(onlySensors({1, 4}));
    subHal.initialize();
    ASSERT_EQ(subHal.hal().activate(1, true), Result::OK);
    std::atomic<bool> stop{false};
    std::thread restarts([&] {
        while (!stop) {
            const android::sp<IHalProxyCallback> proxy = new testing_support::HalProxyCallback;
            subHal.hal().initialize(proxy);
        }
    });
    std::thread requests([&] {
        for (int64_t period = 1; !stop; ++period) {
            subHal.hal().batch(1, period, period % 2);
            subHal.hal().activate(4, period % 2 == 0);
            subHal.hal().flush(1);
        }
    });
    const std::string record = simulator::RecordBuilder().i16(1).i16(2).i16(3).u64(4).bytes();
    for (int i = 0; i < 300; ++i) {
        EXPECT_TRUE(subHal.hub().push(1, record));
        if (i % 10 == 9) {
            EXPECT_TRUE(subHal.hub().waitIdle());
        }
    }
    stop = true;
    restarts.join();
    requests.join();
}

}  // namespace
