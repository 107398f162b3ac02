#include "tools/subhalctl/proxy/Proxy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <utility>

#include "tools/subhalctl/doctor/Findings.h"
#include "tools/subhalctl/hubs/DevicePaths.h"
#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

std::string defaultLibrary() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string built = program.parent_path() / "../../subhal/" SUBHALCTL_LIBRARY_NAME;
    return !error && access(built.c_str(), R_OK) == 0 ? built : SUBHALCTL_LIBRARY_NAME;
}

}  // namespace

std::string resultName(Result result) {
    static const std::map<Result, const char*> names = {
        {Result::OK, "OK"},
        {Result::PERMISSION_DENIED, "PERMISSION_DENIED"},
        {Result::NO_MEMORY, "NO_MEMORY"},
        {Result::BAD_VALUE, "BAD_VALUE"},
        {Result::INVALID_OPERATION, "INVALID_OPERATION"}};
    const auto found = names.find(result);
    if (found != names.end()) return found->second;
    return "result " + std::to_string(static_cast<int32_t>(result));
}

ExitCode refused(const std::string& sensor, const char* what, Result result) {
    complain("%s: %s: %s", sensor.c_str(), what, resultName(result).c_str());
    return kRefused;
}

ExitCode Proxy::openHub() {
    if (mHub != nullptr) return kOk;
    if (!mOptions.hub.recording.empty()) {
        return openReplay(mOptions.hub.recording, {mOptions.hub.fast, [this] { mEvents.end(); },
                                                   [this] { return mEvents.full(); }});
    }
    return mOptions.hub.sim ? makeSignalHub(mOptions.hub, &mHub) : kOk;
}

ExitCode Proxy::openReplay(const std::string& path, const ReplayOptions& options) {
    mRecording = std::make_unique<Recording>();
    if (!loadRecording(path, mRecording.get())) return kUsage;
    if (options.fast) mEvents.waitForRoom();
    return makeReplayHub(*mRecording, options, &mHub);
}

bool Proxy::recordTo(const std::string& path) {
    mRecorder = std::make_unique<Recorder>();
    if (mRecorder->open(path)) return true;
    mRecorder.reset();
    return false;
}

/** Before the library is loaded, which opens its files at once. */
void Proxy::tapCalls() {
    if (mOptions.trace) gPropertySink = traceProperty;
    if (mRecorder && gPlatformHooks == nullptr) gPlatformHooks = mRecorder.get();
    if (!mOptions.trace && !mCallsAreKept && !mRecorder) return;
    mTap = std::make_unique<CallTap>(mHub == nullptr, [this](const FileCall& call) {
        if (mOptions.trace) traceCall(call);
        if (mRecorder) mRecorder->call(call);
        if (!mCallsAreKept) return;
        const std::lock_guard<std::mutex> lock(mCallLock);
        mCalls.push_back(call);
    });
}

bool isSwitch(const FileCall& call, int32_t handle, bool on) {
    const std::string text = std::to_string(handle) + (on ? '1' : '0');
    return call.kind == FileCall::Kind::kWrite && call.path == kEnablePath &&
           call.bytes.substr(0, call.bytes.find('\0')) == text;
}

std::vector<FileCall> Proxy::takeCalls() {
    const std::lock_guard<std::mutex> lock(mCallLock);
    return std::exchange(mCalls, {});
}

ExitCode Proxy::open() {
    const ExitCode made = openHub();
    if (made != kOk) return made;
    tapCalls();
    const std::string path = mOptions.library.empty() ? defaultLibrary() : mOptions.library;
    mLibrary = std::make_unique<host_proxy::SubHalLibrary>(path);
    if (mLibrary->subHal() == nullptr) {
        const std::string& why = mLibrary->error();  // the loader's begins with the path
        complain("%s", why.find(path) == 0 ? why.c_str() : (path + ": " + why).c_str());
        return kCannotLoad;
    }
    return initialize();
}

ExitCode Proxy::initialize() {
    if (mLibrary->version() != SUB_HAL_2_0_VERSION) {
        complain("the library has version 0x%08" PRIx32 " instead of 0x%08x", mLibrary->version(),
                 SUB_HAL_2_0_VERSION);
        return kCannotLoad;
    }
    mCallback = new HalProxyCallback([this](const std::vector<Event>& events, bool wakelock) {
        mEvents.push(events, wakelock);
    });
    if (mRecorder) mCallback->wakelock().observe([this](bool held) { mRecorder->wakelock(held); });
    const Result result = subHal().initialize(mCallback);
    if (result != Result::OK) return refused("library", "initialize", result);
    mSensors = host_proxy::sensorsOf(subHal());
    return mSensors.empty() ? reportNoSensors() : kOk;
}

ExitCode Proxy::reportNoSensors() const {
    const int error = tryOpen(kSpecPath, O_RDONLY);
    if (error == 0) {
        complain(
            "there is a sensor hub, but none of its sensors works; \"subhalctl doctor\" shows why");
        return kNoSuchSensor;
    }
    complain("no sensor hub here: %s: %s", kSpecPath, std::strerror(error));
    if (error == ENOENT) {
        complain("on a machine without one, --sim runs the library on a simulated hub");
    } else {
        complain("\"subhalctl doctor\" shows what is needed");
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
                     typeName(*sensor).c_str(), printable(sensor->name).c_str());
    }
    return nullptr;
}

template <typename Call>
Result Proxy::request(ProxyRequest request, const Call& call) {
    const int64_t startNs = hubNowNs();
    const Result result = call();
    request.result = resultName(result);
    request.durationNs = std::max<int64_t>(hubNowNs() - startNs, 0);
    if (mRecorder) mRecorder->request(startNs, request);
    return result;
}

Result Proxy::batch(int32_t handle, int64_t periodNs, int64_t latencyNs) {
    return request({"batch", handle, periodNs, latencyNs, false, ""},
                   [&] { return subHal().batch(handle, periodNs, latencyNs); });
}

Result Proxy::activate(int32_t handle, bool enable) {
    return request({"activate", handle, 0, 0, enable, ""},
                   [&] { return subHal().activate(handle, enable); });
}

Result Proxy::flush(int32_t handle) {
    return request({"flush", handle, 0, 0, false, ""}, [&] { return subHal().flush(handle); });
}

void Proxy::switchOff(int32_t handle) {
    const Result result = activate(handle, false);
    if (result == Result::OK) return;
    mLeftOn = true;
    refused("handle " + std::to_string(handle), "switching off", result);
}

bool Proxy::close() {
    mEvents.waitForRoom(false);
    if (mLibrary == nullptr || mLibrary->entryPoint() == nullptr) return true;
    return mHub != nullptr && mHub->unload(*mLibrary);
}

ActiveSensor::ActiveSensor(Proxy& proxy, const SensorInfo& sensor, int64_t periodNs,
                           int64_t latencyNs)
    : mProxy(proxy), mHandle(sensor.sensorHandle) {
    const Result batched = mProxy.batch(mHandle, periodNs, latencyNs);
    if (batched != Result::OK) {
        refused(typeName(sensor), "batch", batched);
        return;
    }
    mStartNs = hubNowNs();
    const Result activated = mProxy.activate(mHandle, true);
    mActive = activated == Result::OK;
    if (!mActive) refused(typeName(sensor), "activate", activated);
}

ActiveSensor::~ActiveSensor() {
    mProxy.switchOff(mHandle);
}

}  // namespace subhalctl
