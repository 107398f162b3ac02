#include "simulator/SimulatedHub.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "simulator/SignalGenerator.h"

namespace simulator {

using Kind = Request::Kind;

SimulatedHub::SimulatedHub(const Options& options) {
    buildDevices(options);
    createNode(kEnablePath).takes = Kind::kEnable;
    createNode(kFlushPath).takes = Kind::kFlush;
    createNode(kBatchPath).takes = Kind::kWrite;
    createNode(kShubInjectionPath).takes = Kind::kInjection;
    createNode(kHbxInjectionPath).takes = Kind::kInjection;
    mTree.makeDirectory(kDataDirectory);
    if (options.generateSignals) {
        mGenerator = std::make_unique<SignalGenerator>(
            World(options.seed, options.still),
            [this](int handle, const std::string& record) { push(handle, record); });
        for (const auto& [handle, device] : mDevices)
            mGenerator->addSensor(device->known(), device->spec());
    }
    if (tapFiles(this)) return;
    std::fprintf(stderr, "simulator: another hub is in use\n");
    std::abort();
}

SimulatedHub::~SimulatedHub() {
    untapFiles();
}

void SimulatedHub::buildDevices(const Options& options) {
    // Other IIO devices, as every phone has them.
    mTree.write(kIioDirectory + std::string("iio:device0/name"), "pmic-adc\n");
    mTree.write(kIioDirectory + std::string("trigger0/name"), "timer\n");
    std::string specFile;
    for (const SensorSpec& spec : options.sensors) {
        specFile += encodeSpec(spec);
        buildDevice(spec);
    }
    mTree.write(kSpecPath, specFile);
    buildDevice(findKnownSensor(kContextHandle)->chip);
    if (options.hasSensorHub) buildDevice(findKnownSensor(kHousekeepingHandle)->chip);
}

void SimulatedHub::buildDevice(const SensorSpec& spec) {
    if (spec.handle == 0) return;  // an empty slot
    const KnownSensor* known = findKnownSensor(spec.handle);
    if (known == nullptr) {
        std::fprintf(stderr,
                     "simulator: no device for handle %d, which is not in the table of sensors\n",
                     spec.handle);
        return;
    }
    if (find(spec.handle) != nullptr) return;
    const int number = static_cast<int>(mDevices.size()) + 1;
    mDevices[spec.handle] = std::make_unique<IioDevice>(*known, spec, number, mTree);
    IioDevice* device = find(spec.handle);

    mTree.write(device->attributePath("name"), iioNameOf(*known, spec.wakeUp) + "\n");
    const auto describe = [&](const std::string& path, Kind takes, auto text) {
        Node& node = createNode(path);
        node.device = device;
        node.takes = takes;
        node.text = text;
    };
    const auto attribute = [&](const char* name, Kind takes, auto text) {
        describe(device->attributePath(name), takes, text);
    };
    attribute("buffer/length", Kind::kBufferLength, &IioDevice::lengthText);
    attribute("buffer/watermark", Kind::kBufferWatermark, &IioDevice::watermarkText);
    attribute("buffer/enable", Kind::kBufferEnable, &IioDevice::bufferEnabledText);
    attribute("buffer/data_available", Kind::kWrite, &IioDevice::dataAvailableText);
    describe(device->devicePath(), Kind::kWrite, nullptr);
}

SimulatedHub::Node& SimulatedHub::createNode(const std::string& path) {
    if (!mTree.exists(path)) mTree.write(path, "");
    return mNodes[path];
}

IioDevice* SimulatedHub::find(int handle) const {
    const auto found = mDevices.find(handle);
    return found != mDevices.end() ? found->second.get() : nullptr;
}

bool SimulatedHub::push(int handle, const std::string& record) {
    std::lock_guard<std::mutex> lock(mMutex);
    IioDevice* device = find(handle);
    if (device == nullptr || !device->push(record)) return false;
    mReadable.notify_all();
    return true;
}

bool SimulatedHub::pushFlushMarker(int handle) {
    const KnownSensor* known = findKnownSensor(handle);
    return known != nullptr && push(handle, std::string(known->recordSize, '\0'));
}

bool SimulatedHub::waitIdle(Milliseconds timeout) {
    const auto isUnread = [](const auto& entry) {
        return entry.second->openCount > 0 && entry.second->isReadable();
    };
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this, isUnread] {
        return mPolling > 0 && std::none_of(mDevices.begin(), mDevices.end(), isUnread);
    });
}

void SimulatedHub::wakeLibrary() {
    constexpr size_t kEnough = 4;  // unread records will wake it anyway
    std::lock_guard<std::mutex> lock(mMutex);
    IioDevice* target = nullptr;
    for (const auto& [handle, device] : mDevices) {
        if (device->openCount == 0 || device->isRemoved()) continue;
        // The library ignores an all-zero record of the housekeeping device. A thread that waits in
        // read() needs a record of that very device.
        const bool preferred = handle == kHousekeepingHandle || device->waitingReads > 0;
        if (target == nullptr || preferred) target = device.get();
        if (device->waitingReads > 0) break;
    }
    if (target == nullptr || target->queued() >= kEnough) return;
    target->push(std::string(target->known().recordSize, '\0'), true);
    mReadable.notify_all();
}

DeviceState SimulatedHub::device(int handle) const {
    std::lock_guard<std::mutex> lock(mMutex);
    const IioDevice* device = find(handle);
    if (device == nullptr) return {};
    DeviceState state = device->state;
    state.queued = device->queued();
    return state;
}

std::string SimulatedHub::devicePath(int handle) const {
    const IioDevice* device = find(handle);
    return device != nullptr ? device->devicePath() : "";
}

std::string SimulatedHub::attributePath(int handle, const std::string& attribute) const {
    const IioDevice* device = find(handle);
    return device != nullptr ? device->attributePath(attribute) : "";
}

std::vector<Request> SimulatedHub::requests() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRequests;
}

std::vector<Request> SimulatedHub::requests(Request::Kind kind) const {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<Request> chosen;
    std::copy_if(mRequests.begin(), mRequests.end(), std::back_inserter(chosen),
                 [kind](const Request& request) { return request.kind == kind; });
    return chosen;
}

void SimulatedHub::clearRequests() {
    std::lock_guard<std::mutex> lock(mMutex);
    mRequests.clear();
}

bool SimulatedHub::waitForRequest(const std::function<bool(const Request&)>& predicate,
                                  Milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this, &predicate] {
        return std::any_of(mRequests.begin(), mRequests.end(), predicate);
    });
}

void SimulatedHub::setHandler(const std::string& path, NodeHandler handler) {
    std::lock_guard<std::mutex> lock(mMutex);
    createNode(path).handler = std::make_shared<const NodeHandler>(std::move(handler));
}

void SimulatedHub::cutNextRecord(int handle, size_t bytes) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (IioDevice* device = find(handle)) device->cutNext = bytes;
}

void SimulatedHub::dropDevice(int handle) {
    std::lock_guard<std::mutex> lock(mMutex);
    IioDevice* device = find(handle);
    if (device == nullptr) return;
    device->remove();
    mTree.remove(device->devicePath());
    mTree.remove(device->attributePath(""));
    mReadable.notify_all();
    mChanged.notify_all();
}

void SimulatedHub::setDataAvailable(int handle, const std::optional<std::string>& text) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (IioDevice* device = find(handle)) device->fixedDataAvailable = text;
}

ShutdownHelper::ShutdownHelper(SimulatedHub& hub)
    : mThread([this, &hub] {
          while (!mStop) {
              hub.wakeLibrary();
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
          }
      }) {}

ShutdownHelper::~ShutdownHelper() {
    mStop = true;
    mThread.join();
}

}  // namespace simulator
