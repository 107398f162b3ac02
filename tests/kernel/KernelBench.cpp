#include "tests/kernel/KernelBench.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>
#include <utility>

namespace kernel_tests {
namespace {

constexpr int kHousekeeping = 33;
constexpr int64_t kSettleTime = int64_t{0x7E57} << 48;  // of no other record

}  // namespace

std::string axesRecord(uint64_t timestamp, int16_t x) {
    return simulator::RecordBuilder().i16(x).i16(-2).i16(3).u64(timestamp).bytes();
}

KernelBench::KernelBench(const std::vector<int>& handles) {
    EXPECT_TRUE(mHub.addSensors(testing_support::onlySensors(handles).sensors));
    load();
}

KernelBench::~KernelBench() {
    unload();
}

void KernelBench::load(bool initialized) {
    mProxy = new host_proxy::HalProxyCallback(
        [this](const std::vector<Event>& events, bool wakelock) { post(events, wakelock); });
    mLibrary.emplace(SENSORHUB_LIBRARY);
    if (mLibrary->subHal() == nullptr) {
        ADD_FAILURE() << mLibrary->error();
        abort();
    }
    if (initialized) initialize();
}

void KernelBench::initialize() {
    const android::sp<android::hardware::sensors::V2_0::implementation::IHalProxyCallback>
        callback = mProxy;
    EXPECT_EQ(hal().initialize(callback), Result::OK);
}

void KernelBench::post(const std::vector<Event>& events, bool wakelock) {
    std::unique_lock<std::mutex> lock(mMutex);
    for (const Event& event : events)
        mPosted.push_back({event, wakelock, events.size()});
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return !mHeld; });
}

void KernelBench::unload() {
    if (!mLibrary) return;
    release();
    // The poll thread sees its stop flag at the next record only.
    std::atomic<bool> stop{false};
    std::thread waker([&] {
        while (!stop) {
            mHub.push(kHousekeeping, std::string(11, '\0'));
            usleep(1000);
        }
    });
    EXPECT_TRUE(mLibrary->unload());
    stop = true;
    waker.join();
    mLibrary.reset();
    EXPECT_EQ(mProxy->wakelock().held(), 0);
}

void KernelBench::activate(int handle, bool on) {
    EXPECT_EQ(hal().activate(handle, on), Result::OK) << handle;
}

std::vector<Posted> KernelBench::take(size_t count) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, kPatience, [&] { return mPosted.size() >= count; });
    return std::exchange(mPosted, {});
}

std::vector<int64_t> KernelBench::times(size_t count) {
    std::vector<int64_t> times;
    for (const Posted& posted : take(count))
        times.push_back(posted.event.timestamp);
    return times;
}

bool KernelBench::passOnce(int marker) {
    if (mHub.push(marker, axesRecord(static_cast<uint64_t>(kSettleTime))) != 1) return false;
    std::unique_lock<std::mutex> lock(mMutex);
    const auto isMarker = [](const Posted& posted) {
        return posted.event.timestamp == kSettleTime;
    };
    auto found = mPosted.end();
    mChanged.wait_for(lock, kPatience, [&] {
        found = std::find_if(mPosted.begin(), mPosted.end(), isMarker);
        return found != mPosted.end();
    });
    if (found == mPosted.end()) return false;
    mPosted.erase(found);
    return true;
}

bool KernelBench::pass(int marker) {
    return passOnce(marker) && passOnce(marker);
}

bool KernelBench::settle(int marker) {
    for (int handle = 0; handle < HUB_HANDLES; ++handle) {
        if (mHub.number(handle) >= 0 && !drained(handle)) return false;
    }
    return passOnce(marker);  // what is read but not yet posted is the poll thread's
}

bool KernelBench::hold(int marker) {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mHeld = true;
    }
    return passOnce(marker);
}

void KernelBench::release() {
    const std::lock_guard<std::mutex> lock(mMutex);
    mHeld = false;
    mChanged.notify_all();
}

bool KernelBench::drained(int handle) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (std::string text; std::chrono::steady_clock::now() < end; usleep(500)) {
        std::ifstream file(mHub.attributePath(handle, "buffer/data_available"));
        if (std::getline(file, text) && text == "0") return true;
    }
    return false;
}

}  // namespace kernel_tests
