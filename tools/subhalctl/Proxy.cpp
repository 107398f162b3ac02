#include "tools/subhalctl/Proxy.h"

#include <fcntl.h>
#include <unistd.h>
#include <utils/SystemClock.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "tools/subhalctl/DevicePaths.h"
#include "tools/subhalctl/Output.h"
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
    return "result " + std::to_string(static_cast<int32_t>(result));
}

ExitCode refused(const std::string& sensor, const char* what, Result result) {
    complain("%s: %s: %s", sensor.c_str(), what, resultName(result).c_str());
    return kRefused;
}

ExitCode Proxy::openHub() {
    if (!mOptions.hub.sim || mHub != nullptr) return kOk;
    return makeSimulatedHub(mOptions.hub, &mHub);
}

ExitCode Proxy::open() {
    const ExitCode made = openHub();
    if (made != kOk) return made;
    const std::string path = mOptions.library.empty() ? defaultLibrary() : mOptions.library;
    mLibrary = std::make_unique<host_proxy::SubHalLibrary>(path);
    if (mLibrary->subHal() == nullptr) {
        complain("%s: %s", path.c_str(), mLibrary->error().c_str());
        return kCannotLoad;
    }
    const ExitCode initialized = initialize();
    if (initialized != kOk) return initialized;
    return mSensors.empty() ? tellNoSensors() : kOk;
}

ExitCode Proxy::initialize() {
    if (mLibrary->version() != SUB_HAL_2_0_VERSION) {
        complain("the library speaks version 0x%08" PRIx32 ", not 0x%08x", mLibrary->version(),
                 SUB_HAL_2_0_VERSION);
        return kCannotLoad;
    }
    mCallback = new HalProxyCallback([this](const std::vector<Event>& events, bool wakelock) {
        mEvents.push(events, wakelock);
    });
    const Result result = subHal().initialize(mCallback);
    if (result != Result::OK) return refused("library", "initialize", result);
    mSensors = host_proxy::sensorsOf(subHal());
    return kOk;
}

ExitCode Proxy::tellNoSensors() const {
    const int fd = ::open(kSpecPath, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        ::close(fd);
        complain(
            "there is a sensor hub, but none of its sensors works; \"subhalctl doctor\" tells why");
        return kNoSuchSensor;
    }
    const int error = errno;
    complain("no sensor hub here: %s: %s", kSpecPath, std::strerror(error));
    if (error == ENOENT) {
        complain("on a machine without one, --sim runs the library on a simulated hub");
    } else {
        complain("\"subhalctl doctor\" tells what is needed");
    }
    return kNoHub;
}

const SensorInfo* Proxy::find(const std::string& text) const {
    const std::vector<const SensorInfo*> found = findSensors(mSensors, text);
    if (found.size() == 1) return found.front();
    if (found.empty()) {
        complain("no sensor is called %s; \"subhalctl list\" shows them all", quoted(text).c_str());
        return nullptr;
    }
    complain("%s may be one of these; name it by its handle:", quoted(text).c_str());
    for (const SensorInfo* sensor : found) {
        std::fprintf(stderr, "%8" PRId32 "  %s (%s)\n", sensor->sensorHandle,
                     typeName(*sensor).c_str(), sensor->name.c_str());
    }
    return nullptr;
}

bool Proxy::close() {
    if (mLibrary == nullptr || mLibrary->entryPoint() == nullptr) return true;
    return mHub != nullptr && mHub->unload(*mLibrary);
}

ActiveSensor::ActiveSensor(Proxy& proxy, const SensorInfo& sensor, int64_t periodNs,
                           int64_t latencyNs)
    : mProxy(proxy), mHandle(sensor.sensorHandle), mStartNs(android::elapsedRealtimeNano()) {
    const Result batched = mProxy.subHal().batch(mHandle, periodNs, latencyNs);
    if (batched != Result::OK) {
        refused(typeName(sensor), "batch", batched);
        return;
    }
    const Result activated = mProxy.subHal().activate(mHandle, true);
    mActive = activated == Result::OK;
    if (!mActive) refused(typeName(sensor), "activate", activated);
}

ActiveSensor::~ActiveSensor() {
    mProxy.subHal().activate(mHandle, false);
}

}  // namespace subhalctl
