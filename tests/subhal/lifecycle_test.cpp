#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::hidl_vec;
using android::hardware::sensors::V1_0::Event;
using android::hardware::sensors::V1_0::OperationMode;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V2_0::implementation::IHalProxyCallback;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;
using testing_support::LogLine;
using testing_support::onlySensors;

TEST(Lifecycle, OneObjectWithItsVersionAndName) {
    LoadedSubHal subHal(onlySensors({1}));
    uint32_t version = 0;
    EXPECT_EQ(subHal.library().entryPoint()(&version), &subHal.hal());
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
    EXPECT_EQ(LogCapture::lines().front(), "I create SensorsSubHal");
    EXPECT_TRUE(LogCapture::contains("I thread run"));
    LogCapture::take();
    ASSERT_TRUE(subHal.unload());
    const auto log = LogCapture::take();
    const auto stop = std::find(log.begin(), log.end(), "I thread stop");
    EXPECT_NE(std::find(stop, log.end(), "I destroy SensorsSubHal"), log.end());
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

}  // namespace
