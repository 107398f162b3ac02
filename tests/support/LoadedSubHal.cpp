#include "tests/support/LoadedSubHal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace android::hardware::sensors::V2_0::implementation {

void HalProxyCallback::postEvents(const std::vector<Event>& events, ScopedWakelock wakelock) {
    const std::lock_guard<std::mutex> lock(mLock);
    mPosts.push_back({events, wakelock.isLocked()});
}

Return<void> HalProxyCallback::onDynamicSensorsConnected(const hidl_vec<SensorInfo>&) {
    return Void();
}

Return<void> HalProxyCallback::onDynamicSensorsDisconnected(const hidl_vec<int32_t>&) {
    return Void();
}

bool WakelockCounter::incrementRefCountAndMaybeAcquireWakelock(size_t delta, int64_t*) {
    mTaken += static_cast<int>(delta);
    mHeld += static_cast<int>(delta);
    return true;
}

void WakelockCounter::decrementRefCountAndMaybeReleaseWakelock(size_t delta, int64_t) {
    mHeld -= static_cast<int>(delta);
}

std::vector<HalProxyCallback::Post> HalProxyCallback::take() {
    const std::lock_guard<std::mutex> lock(mLock);
    return std::exchange(mPosts, {});
}

}  // namespace android::hardware::sensors::V2_0::implementation

namespace testing_support {

namespace {

simulator::SimulatedHub& prepared(simulator::SimulatedHub& hub,
                                  const std::function<void(simulator::SimulatedHub&)>& prepare) {
    if (prepare) prepare(hub);
    return hub;
}

}  // namespace

LoadedSubHal::LoadedSubHal(const Options& options,
                           const std::function<void(simulator::SimulatedHub&)>& prepare)
    : mHub(options),
      mProxy(new HalProxyCallback),
      mLibrary(prepared(mHub, prepare), SENSORHUB_LIBRARY) {
    using EntryPoint = ISensorsSubHal* (*)(uint32_t*);
    if (mLibrary.entryPoint() == nullptr) {
        ADD_FAILURE() << mLibrary.error();
        abort();
    }
    uint32_t version = 0;
    mHal = reinterpret_cast<EntryPoint>(mLibrary.entryPoint())(&version);
    EXPECT_EQ(version, 0x02000000u);
}

void LoadedSubHal::initialize() {
    const android::sp<android::hardware::sensors::V2_0::implementation::IHalProxyCallback>
        callback = mProxy;
    EXPECT_EQ(mHal->initialize(callback), android::hardware::sensors::V1_0::Result::OK);
    mHub.waitIdle();
    LogCapture::take();
    mHub.clearRequests();
}

bool LoadedSubHal::deliver(int handle, const std::string& record) {
    return mHub.push(handle, record) && mHub.waitIdle();
}

std::vector<int64_t> LoadedSubHal::timestamps() {
    std::vector<int64_t> all;
    for (const auto& post : mProxy->take()) {
        for (const auto& event : post.events)
            all.push_back(event.timestamp);
    }
    return all;
}

std::vector<int64_t> LoadedSubHal::timestamps(int handle, const std::string& record) {
    EXPECT_TRUE(deliver(handle, record));
    return timestamps();
}

bool LoadedSubHal::unload() {
    return mLibrary.unload();
}

LoadedSubHal::Options onlySensors(const std::vector<int>& handles) {
    LoadedSubHal::Options options;
    std::vector<simulator::SensorSpec> chosen;
    for (const simulator::SensorSpec& spec : options.sensors) {
        if (std::count(handles.begin(), handles.end(), spec.handle) != 0) chosen.push_back(spec);
    }
    EXPECT_EQ(chosen.size(), handles.size());
    options.sensors = chosen;
    return options;
}

}  // namespace testing_support
