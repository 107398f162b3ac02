#include "tools/subhalctl/Proxy.h"

#include <unistd.h>

#include <cinttypes>
#include <cstdio>

#include "simulator/NodePaths.h"
#include "tools/subhalctl/SensorLookup.h"

namespace subhalctl {
namespace {

constexpr char kFromBuildTree[] = "/../../subhal/" SUBHALCTL_LIBRARY_NAME;

std::string defaultLibrary() {
    char program[4096];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    if (length > 0) {
        std::string path(program, static_cast<size_t>(length));
        path = path.substr(0, path.rfind('/')) + kFromBuildTree;
        if (access(path.c_str(), R_OK) == 0) return path;
    }
    return SUBHALCTL_LIBRARY_NAME;
}

void printCandidates(const std::vector<const SensorInfo*>& candidates) {
    for (const SensorInfo* sensor : candidates) {
        std::fprintf(stderr, "%8" PRId32 "  %s (%s)\n", sensor->sensorHandle,
                     typeName(*sensor).c_str(), sensor->name.c_str());
    }
}

}  // namespace

std::string resultName(Result result) {
    switch (result) {
        case Result::OK:
            return "OK";
        case Result::PERMISSION_DENIED:
            return "PERMISSION_DENIED";
        case Result::NO_MEMORY:
            return "NO_MEMORY";
        case Result::BAD_VALUE:
            return "BAD_VALUE";
        case Result::INVALID_OPERATION:
            return "INVALID_OPERATION";
    }
    return std::to_string(static_cast<int32_t>(result));
}

ExitCode Proxy::open() {
    if (mOptions.sim) makeHub();
    mLibrary.emplace(mOptions.library.empty() ? defaultLibrary() : mOptions.library);
    if (mLibrary->subHal() == nullptr) {
        std::fprintf(stderr, "subhalctl: cannot load the library: %s\n", mLibrary->error().c_str());
        return kCannotLoad;
    }
    return initialize();
}

void Proxy::makeHub() {
    simulator::SimulatedHub::Options hubOptions;
    hubOptions.seed = mOptions.seed;
    hubOptions.generateSignals = true;
    mHub.emplace(hubOptions);
    mHubServices.emplace(*mHub);
    mRearLight.emplace(*mHub);
    mHub->setFile(simulator::kNfcCoverPath, "0\n");  // or the flip cover detector stays hidden
}

ExitCode Proxy::initialize() {
    if (mLibrary->version() != SUB_HAL_2_0_VERSION) {
        std::fprintf(stderr, "subhalctl: the library speaks version 0x%08" PRIx32 ", not 0x%08x\n",
                     mLibrary->version(), SUB_HAL_2_0_VERSION);
        return kCannotLoad;
    }
    mCallback = new HalProxyCallback(
        [this](const auto& events, bool wakelock) { mEvents.push(events, wakelock); });
    const Result result = subHal().initialize(mCallback);
    if (result != Result::OK) {
        std::fprintf(stderr, "subhalctl: initialize: %s\n", resultName(result).c_str());
        return kRefused;
    }
    mSensors = host_proxy::sensorsOf(subHal());
    return kOk;
}

const SensorInfo* Proxy::find(const std::string& text) const {
    const std::vector<const SensorInfo*> found = findSensors(mSensors, text);
    if (found.size() == 1) return found.front();
    if (found.empty()) {
        std::fprintf(stderr, "subhalctl: no sensor is called \"%s\"\n", text.c_str());
    } else {
        std::fprintf(stderr, "subhalctl: \"%s\" may be one of these:\n", text.c_str());
        printCandidates(found);
    }
    return nullptr;
}

bool Proxy::close() {
    if (!mLibrary) return true;
    if (!mHub) return mLibrary->subHal() == nullptr;
    const simulator::ShutdownHelper helper(*mHub);
    return mLibrary->unload();
}

ActiveSensor::ActiveSensor(Proxy& proxy, const SensorInfo& sensor, int64_t periodNs,
                           int64_t latencyNs)
    : mProxy(proxy), mHandle(sensor.sensorHandle) {
    const Result batched = mProxy.subHal().batch(mHandle, periodNs, latencyNs);
    if (batched != Result::OK) {
        std::fprintf(stderr, "subhalctl: %s: batch: %s\n", typeName(sensor).c_str(),
                     resultName(batched).c_str());
        return;
    }
    const Result activated = mProxy.subHal().activate(mHandle, true);
    mActive = activated == Result::OK;
    if (!mActive) {
        std::fprintf(stderr, "subhalctl: %s: activate: %s\n", typeName(sensor).c_str(),
                     resultName(activated).c_str());
    }
}

ActiveSensor::~ActiveSensor() {
    mProxy.subHal().activate(mHandle, false);
}

}  // namespace subhalctl
