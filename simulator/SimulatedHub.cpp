#include "simulator/SimulatedHub.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "simulator/HubDriver.h"
#include "simulator/HubPaths.h"

namespace simulator {

class SimulatedHub::Impl {
  public:
    explicit Impl(const Options& options) : driver(options) {
        if (installBackend(&driver)) return;
        std::fprintf(stderr, "simulator: another hub is still there\n");
        std::abort();
    }
    ~Impl() { removeBackend(); }

    HubDriver driver;
};

SimulatedHub::SimulatedHub() : SimulatedHub(Options()) {}
SimulatedHub::SimulatedHub(const Options& options) : mImpl(std::make_unique<Impl>(options)) {}
SimulatedHub::~SimulatedHub() = default;

const std::string& SimulatedHub::root() const {
    return mImpl->driver.tree().root();
}

bool SimulatedHub::push(int handle, const std::string& record) {
    return mImpl->driver.push(handle, record);
}

bool SimulatedHub::push(int handle, const void* record, size_t size) {
    return push(handle, std::string(static_cast<const char*>(record), size));
}

bool SimulatedHub::pushFlushMarker(int handle) {
    const DeviceProfile* profile = findProfile(handle);
    return profile != nullptr && push(handle, std::string(profile->recordSize, '\0'));
}

size_t SimulatedHub::queued(int handle) const {
    size_t count = 0;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { count = device.queued(); });
    return count;
}

bool SimulatedHub::waitIdle(Milliseconds timeout) {
    return mImpl->driver.waitIdle(timeout);
}

int SimulatedHub::deviceNumber(int handle) const {
    int number = -1;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { number = device.number(); });
    return number;
}

std::vector<Request> SimulatedHub::requests() const {
    return mImpl->driver.requests();
}

std::vector<Request> SimulatedHub::requests(Request::Kind kind) const {
    std::vector<Request> all = requests();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [kind](const Request& request) { return request.kind != kind; }),
              all.end());
    return all;
}

void SimulatedHub::clearRequests() {
    mImpl->driver.clearRequests();
}

bool SimulatedHub::waitForRequest(const std::function<bool(const Request&)>& predicate,
                                  Milliseconds timeout) {
    return mImpl->driver.waitForRequest(predicate, timeout);
}

bool SimulatedHub::isEnabled(int handle) const {
    bool enabled = false;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { enabled = device.enabled; });
    return enabled;
}

bool SimulatedHub::isBufferEnabled(int handle) const {
    bool enabled = false;
    mImpl->driver.withDevice(handle,
                             [&](const IioDevice& device) { enabled = device.bufferEnabled(); });
    return enabled;
}

int64_t SimulatedHub::periodNs(int handle) const {
    int64_t period = 0;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { period = device.periodNs; });
    return period;
}

int64_t SimulatedHub::latencyNs(int handle) const {
    int64_t latency = 0;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { latency = device.latencyNs; });
    return latency;
}

void SimulatedHub::setFile(const std::string& path, const std::string& contents) {
    mImpl->driver.tree().write(path, contents);
}

void SimulatedHub::removeFile(const std::string& path) {
    mImpl->driver.tree().remove(path);
}

bool SimulatedHub::hasFile(const std::string& path) const {
    return mImpl->driver.tree().exists(path);
}

std::string SimulatedHub::readFile(const std::string& path) const {
    return mImpl->driver.tree().read(path);
}

std::vector<std::string> SimulatedHub::listDirectory(const std::string& path) const {
    return mImpl->driver.tree().list(path);
}

void SimulatedHub::setRawSpec(const std::string& bytes) {
    setFile(kSpecPath, bytes);
}

void SimulatedHub::setHandler(const std::string& path, NodeHandler handler) {
    mImpl->driver.setHandler(path, std::move(handler));
}

void SimulatedHub::failOpen(const std::string& path, int error, int nth, int count) {
    mImpl->driver.addFault(Call::kOpen, path, error, nth, count);
}

void SimulatedHub::failRead(const std::string& path, int error, int nth, int count) {
    mImpl->driver.addFault(Call::kRead, path, error, nth, count);
}

void SimulatedHub::failWrite(const std::string& path, int error, int nth, int count) {
    mImpl->driver.addFault(Call::kWrite, path, error, nth, count);
}

void SimulatedHub::failIoctl(const std::string& path, int error, int nth, int count) {
    mImpl->driver.addFault(Call::kIoctl, path, error, nth, count);
}

void SimulatedHub::failClose(const std::string& path, int error, int nth, int count) {
    mImpl->driver.addFault(Call::kClose, path, error, nth, count);
}

void SimulatedHub::failRead(int handle, int error, int nth, int count) {
    std::string path;
    mImpl->driver.withDevice(handle, [&](const IioDevice& device) { path = device.devicePath(); });
    failRead(path, error, nth, count);
}

void SimulatedHub::failPoll(int error, int nth, int count) {
    mImpl->driver.addFault(Call::kPoll, "", error, nth, count);
}

void SimulatedHub::cutNextRecord(int handle, size_t bytes) {
    mImpl->driver.withDevice(handle, [&](IioDevice& device) { device.cutNext = bytes; });
}

void SimulatedHub::dropDevice(int handle) {
    mImpl->driver.withDevice(handle, [](IioDevice& device) { device.dropped = true; });
}

void SimulatedHub::setDataAvailable(int handle, const std::string& text) {
    mImpl->driver.withDevice(handle, [&](IioDevice& device) { device.fixedDataAvailable = text; });
}

void SimulatedHub::clearDataAvailable(int handle) {
    mImpl->driver.withDevice(handle, [](IioDevice& device) { device.fixedDataAvailable.reset(); });
}

void SimulatedHub::clearFaults() {
    mImpl->driver.clearFaults();
}

void SimulatedHub::wakeLibrary() {
    mImpl->driver.wake();
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
