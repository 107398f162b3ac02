#include "tests/support/LoadedSubHal.h"

#include <gtest/gtest.h>

namespace testing_support {

// The library looks at the hub as soon as it is loaded.
LoadedSubHal::LoadedSubHal(const Options& options,
                           const std::function<void(simulator::SimulatedHub&)>& prepare)
    : mHub(options), mProxy(new HalProxyCallback), mLibrary((prepare(mHub), SENSORHUB_LIBRARY)) {
    if (mLibrary.subHal() == nullptr) {
        ADD_FAILURE() << mLibrary.error();
        abort();
    }
    EXPECT_EQ(mLibrary.version(), 0x02000000u);
}

LoadedSubHal::~LoadedSubHal() {
    unload();
}

void LoadedSubHal::initialize() {
    EXPECT_EQ(hal().initialize(&proxy()), Result::OK);
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

int32_t LoadedSubHal::openChannel(const ClientMemory& memory) {
    const Handle handle = handleOf(memory.share());
    const SharedMemInfo shared{SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT,
                               static_cast<uint32_t>(memory.size()), handle.get()};
    return host_proxy::registerDirectChannel(hal(), shared).value;
}

std::vector<std::string> LoadedSubHal::requests() {
    std::vector<std::string> lines;
    for (const Request& request : mHub.requests()) {
        EXPECT_EQ(request.error, 0);
        const std::string handle = std::to_string(request.handle);
        if (request.kind == Request::Kind::kEnable) {
            lines.push_back("enable " + handle + " " + std::to_string(request.enable));
        } else if (request.kind == Request::Kind::kBatch) {
            lines.push_back("batch " + handle + " " + std::to_string(request.periodNs) + " " +
                            std::to_string(request.latencyNs));
        }
    }
    mHub.clearRequests();
    return lines;
}

bool LoadedSubHal::unload() {
    const simulator::ShutdownHelper helper(mHub);
    return mLibrary.unload();
}

}  // namespace testing_support
