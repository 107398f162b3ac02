#include "simulator/SimulatedHub.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <utility>

#include "simulator/IioDevice.h"
#include "simulator/NodePaths.h"
#include "simulator/SignalGenerator.h"

namespace simulator {
namespace {

[[noreturn]] void fail(const std::string& message) {
    std::fprintf(stderr, "simulator: %s\n", message.c_str());
    std::abort();
}

}  // namespace

SimulatedHub::SimulatedHub(const Options& options) {
    buildDevices(options);
    describe(kEnablePath, NodeKind::kEnable);
    describe(kFlushPath, NodeKind::kFlush);
    describe(kBatchPath, NodeKind::kBatch);
    describe(kShubInjectionPath, NodeKind::kInjection);
    describe(kHbxInjectionPath, NodeKind::kInjection);
    mTree.makeDirectory(kDataDirectory);
    if (options.generateSignals) {
        mGenerator = std::make_unique<SignalGenerator>(
            World(options.seed, options.still),
            [this](int handle, const std::string& record) { push(handle, record); });
        for (const auto& device : mDevices)
            mGenerator->addSensor(device->known(), device->spec());
    }
    if (!installBackend(this)) fail("another hub is still there");
}

SimulatedHub::~SimulatedHub() {
    removeBackend();
}

void SimulatedHub::buildDevices(const Options& options) {
    // Neighbours of the hub's devices, as every phone has them.
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
                     "simulator: sensor %d gets no device: it has no row in the table of "
                     "simulator/KnownSensors.cpp\n",
                     spec.handle);
        return;
    }
    if (mByHandle.count(spec.handle) != 0) return;
    const int number = static_cast<int>(mDevices.size()) + 1;
    mDevices.push_back(std::make_unique<IioDevice>(*known, spec, number));
    IioDevice* device = mDevices.back().get();
    mByHandle[spec.handle] = device;
    mHandles.insert(spec.handle);

    mTree.write(device->attributePath("name"), iioNameOf(*known, spec.wakeUp) + "\n");
    describe(device->attributePath("buffer/length"), NodeKind::kBufferLength, device);
    describe(device->attributePath("buffer/watermark"), NodeKind::kBufferWatermark, device);
    describe(device->attributePath("buffer/enable"), NodeKind::kBufferEnable, device);
    describe(device->attributePath("buffer/data_available"), NodeKind::kDataAvailable, device);
    mTree.makeFifo(device->devicePath());
    describe(device->devicePath(), NodeKind::kRecords, device);
    if (!device->attach(mTree.real(device->devicePath()))) fail("a FIFO cannot be opened");
}

void SimulatedHub::describe(const std::string& path, NodeKind kind, IioDevice* device) {
    if (!mTree.exists(path)) mTree.write(path, "");
    Node& node = mNodes[nodeNumber(path) - 1];
    node.kind = kind;
    node.device = device;
}

uint32_t SimulatedHub::nodeNumber(const std::string& path) {
    const auto found = mNodeNumbers.find(path);
    if (found != mNodeNumbers.end()) return found->second;
    mNodes.emplace_back();
    mNodes.back().path = path;
    const auto number = static_cast<uint32_t>(mNodes.size());
    mNodeNumbers[path] = number;
    return number;
}

IioDevice* SimulatedHub::find(int handle) const {
    const auto found = mByHandle.find(handle);
    return found != mByHandle.end() ? found->second : nullptr;
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

bool SimulatedHub::allRead() const {
    return std::none_of(mDevices.begin(), mDevices.end(), [](const auto& device) {
        return device->openCount > 0 && device->isReadable();
    });
}

bool SimulatedHub::waitIdle(Milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this] { return mPolling > 0 && allRead(); });
}

void SimulatedHub::wakeLibrary() {
    constexpr size_t kEnough = 4;  // unread, so there is no point in adding to them
    std::lock_guard<std::mutex> lock(mMutex);
    IioDevice* target = nullptr;
    for (const auto& device : mDevices) {
        if (device->openCount == 0 || device->isRemoved()) continue;
        // The housekeeping device takes an all-zero record for nothing at all. A thread that waits
        // in read() sees nothing but its own device.
        const bool preferred = device->handle() == kHousekeepingHandle || device->waitingReads > 0;
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
    return device != nullptr ? device->state() : DeviceState();
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

void SimulatedHub::setRawSpec(const std::string& bytes) {
    setFile(kSpecPath, bytes);
}

void SimulatedHub::setHandler(const std::string& path, NodeHandler handler) {
    if (!mTree.exists(path)) mTree.write(path, "");
    std::lock_guard<std::mutex> lock(mMutex);
    mNodes[nodeNumber(path) - 1].handler = std::make_shared<const NodeHandler>(std::move(handler));
}

void SimulatedHub::addFault(Call call, const std::string& path, int error, int nth, int count) {
    std::lock_guard<std::mutex> lock(mMutex);
    mFaults.add(call, path, error, nth, count);
}

void SimulatedHub::clearFaults() {
    std::lock_guard<std::mutex> lock(mMutex);
    mFaults.clear();
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

void SimulatedHub::setDataAvailable(int handle, const std::string& text) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (IioDevice* device = find(handle)) device->fixedDataAvailable = text;
}

void SimulatedHub::clearDataAvailable(int handle) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (IioDevice* device = find(handle)) device->fixedDataAvailable.reset();
}

class ShutdownHelper::Worker {
  public:
    explicit Worker(SimulatedHub& hub) : mHub(hub), mThread(&Worker::run, this) {}

    ~Worker() {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mStop = true;
        }
        mChanged.notify_all();
        mThread.join();
    }

  private:
    void run() {
        constexpr auto kInterval = std::chrono::milliseconds(2);
        std::unique_lock<std::mutex> lock(mMutex);
        while (!mStop) {
            mHub.wakeLibrary();
            mChanged.wait_for(lock, kInterval, [this] { return mStop; });
        }
    }

    SimulatedHub& mHub;
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mStop = false;   // guarded by mMutex
    std::thread mThread;  // last, so that it sees everything above built
};

ShutdownHelper::ShutdownHelper(SimulatedHub& hub) : mWorker(std::make_unique<Worker>(hub)) {}
ShutdownHelper::~ShutdownHelper() = default;

}  // namespace simulator
