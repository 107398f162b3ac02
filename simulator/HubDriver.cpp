#include "simulator/HubDriver.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "simulator/HubPaths.h"
#include "simulator/RequestParser.h"

namespace simulator {
namespace {

constexpr size_t kSysfsPage = 4096;  // one read of an attribute gives no more
constexpr int kQContextHandle = 32;
constexpr int kSensorHubHandle = 33;

bool below(const std::string& path, const char* directory) {
    return path.compare(0, std::strlen(directory), directory) == 0;
}

/** Nodes of the kernel, which a user can neither create nor truncate. */
bool isKernelNode(const std::string& path) {
    return below(path, "/sys/") || below(path, "/dev/");
}

}  // namespace

HubDriver::HubDriver(const SimulatedHub::Options& options) {
    buildDevices(options);
    describe(kEnablePath, NodeKind::kEnable);
    describe(kFlushPath, NodeKind::kFlush);
    describe(kBatchPath, NodeKind::kBatch);
    if (options.hasShubInjection) describe(kShubInjectionPath, NodeKind::kInjection);
    if (options.hasHbxInjection) describe(kHbxInjectionPath, NodeKind::kInjection);
    mTree.makeDirectory("/data/vendor/sensorhub");
    if (!options.generateSignals) return;
    mGenerator = std::make_unique<SignalGenerator>(
        options.seed, [this](int handle, const std::string& record) { push(handle, record); });
    for (const auto& device : mDevices)
        mGenerator->addSensor(device->profile(), device->spec());
}

HubDriver::~HubDriver() {
    mGenerator.reset();
}

void HubDriver::buildDevices(const SimulatedHub::Options& options) {
    // Neighbours of the hub's devices, as every phone has them.
    mTree.write(kIioDirectory + std::string("iio:device0/name"), "pmic-adc\n");
    mTree.write(kIioDirectory + std::string("trigger0/name"), "timer\n");
    std::string specFile;
    for (const SensorSpec& spec : options.sensors) {
        specFile += encodeSpec(spec);
        buildDevice(spec);
    }
    mTree.write(kSpecPath, specFile);
    SensorSpec own;
    own.handle = kQContextHandle;
    if (options.hasQContext) buildDevice(own);
    own.handle = kSensorHubHandle;
    if (options.hasSensorHub) buildDevice(own);
}

void HubDriver::buildDevice(const SensorSpec& spec) {
    const DeviceProfile* profile = findProfile(spec.handle);
    if (profile == nullptr || mByHandle.count(spec.handle) != 0) return;
    const int number = static_cast<int>(mDevices.size()) + 1;
    mDevices.push_back(std::make_unique<IioDevice>(*profile, spec, number));
    IioDevice* device = mDevices.back().get();
    mByHandle[spec.handle] = device;
    mHandles.insert(spec.handle);

    mTree.write(device->attributePath("name"), deviceName(*profile, spec.wakeUp) + "\n");
    describe(device->attributePath("buffer/length"), NodeKind::kBufferLength, device);
    describe(device->attributePath("buffer/enable"), NodeKind::kBufferEnable, device);
    describe(device->attributePath("buffer/data_available"), NodeKind::kDataAvailable, device);
    mTree.write(device->attributePath("buffer/length"), "2\n");
    mTree.write(device->attributePath("buffer/enable"), "0\n");
    mTree.makeFifo(device->devicePath());
    describe(device->devicePath(), NodeKind::kRecords, device);
    if (!device->attach(mTree.real(device->devicePath()))) std::abort();
}

void HubDriver::describe(const std::string& path, NodeKind kind, IioDevice* device) {
    if (!mTree.exists(path)) mTree.write(path, "");
    Node& node = mNodes[nodeNumber(path) - 1];
    node.kind = kind;
    node.device = device;
}

uint32_t HubDriver::nodeNumber(const std::string& path) {
    const auto found = mNodeNumbers.find(path);
    if (found != mNodeNumbers.end()) return found->second;
    mNodes.emplace_back();
    mNodes.back().path = path;
    const auto number = static_cast<uint32_t>(mNodes.size());
    mNodeNumbers[path] = number;
    return number;
}

const HubDriver::Node& HubDriver::node(uint32_t number) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mNodes[number - 1];
}

std::shared_ptr<const NodeHandler> HubDriver::handlerOf(const Node& node) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return node.handler;
}

void HubDriver::setHandler(const std::string& path, NodeHandler handler) {
    if (!mTree.exists(path)) mTree.write(path, "");
    std::lock_guard<std::mutex> lock(mMutex);
    mNodes[nodeNumber(path) - 1].handler = std::make_shared<const NodeHandler>(std::move(handler));
}

std::string HubDriver::realPath(const std::string& path) const {
    return mTree.real(path);
}

int HubDriver::enterDirectory(const std::string& path) {
    return nextFault(Call::kOpen, path);
}

int HubDriver::open(const std::string& path, int flags, mode_t mode, uint32_t* number) {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        *number = nodeNumber(path);
    }
    if (const int error = nextFault(Call::kOpen, path)) return -error;
    const Node& opened = node(*number);
    if (const int error = prepareOpen(opened, flags)) return -error;
    if (isKernelNode(path)) flags &= ~(O_CREAT | O_TRUNC | O_EXCL);
    const int fd = real::open(mTree.real(path).c_str(), flags, mode);
    if (fd >= 0) return fd;
    const int error = errno;
    if (opened.kind == NodeKind::kRecords) {
        std::lock_guard<std::mutex> lock(mMutex);
        --opened.device->openCount;
    }
    return -error;
}

int HubDriver::prepareOpen(const Node& node, int flags) {
    const auto handler = handlerOf(node);
    if (handler != nullptr && handler->onOpen) {
        if (const int error = handler->onOpen(flags)) return error;
    }
    std::lock_guard<std::mutex> lock(mMutex);
    if (node.kind == NodeKind::kDataAvailable) {
        mTree.write(node.path, node.device->dataAvailable());
    } else if (node.kind == NodeKind::kRecords) {
        if (node.device->dropped) return ENODEV;
        if (node.device->openCount > 0) return EBUSY;
        ++node.device->openCount;
    }
    return 0;
}

ssize_t HubDriver::read(uint32_t number, int fd, void* buffer, size_t size) {
    const Node& opened = node(number);
    if (const int error = nextFault(Call::kRead, opened.path)) return -error;
    const auto handler = handlerOf(opened);
    if (handler != nullptr && handler->onRead) return handler->onRead(buffer, size);
    if (opened.kind == NodeKind::kRecords) return readRecord(opened, fd, buffer, size);
    if (below(opened.path, "/sys/")) size = std::min(size, kSysfsPage);
    const ssize_t got = real::read(fd, buffer, size);
    return got < 0 ? -errno : got;
}

ssize_t HubDriver::readRecord(const Node& node, int fd, void* buffer, size_t size) {
    IioDevice& device = *node.device;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (device.dropped) {
            device.drain();
            mChanged.notify_all();
            return -ENODEV;
        }
        if (device.queued() > 0) {
            const ssize_t result = device.take(fd, buffer, size);
            mChanged.notify_all();
            return result;
        }
        if (!device.everEnabled()) return 0;
    }
    // Nothing there: wait as the kernel does, or not when the descriptor says so.
    const ssize_t got = real::read(fd, buffer, size);
    if (got < 0) return -errno;
    std::lock_guard<std::mutex> lock(mMutex);
    device.taken();
    mChanged.notify_all();
    return got;
}

ssize_t HubDriver::write(uint32_t number, int fd, const void* buffer, size_t size) {
    const Node& opened = node(number);
    const int fault = nextFault(Call::kWrite, opened.path);
    const auto handler = handlerOf(opened);
    const std::string bytes(static_cast<const char*>(buffer), size);
    const int access = fcntl(fd, F_GETFL) & O_ACCMODE;
    int length = 0;
    Request request = parse(opened, bytes, &length);
    request.access = access;
    ssize_t result = static_cast<ssize_t>(size);
    if (access == O_RDONLY) {
        request.error = EBADF;
    } else if (fault != 0) {
        request.error = fault;
    } else if (handler != nullptr && handler->onWrite) {
        result = handler->onWrite(bytes);
        request.error = result < 0 ? static_cast<int>(-result) : 0;
    } else if (opened.kind == NodeKind::kPlain) {
        result = real::write(fd, buffer, size);
        request.error = result < 0 ? errno : 0;
    } else if (request.error == 0) {
        apply(opened, length, &request);
    }
    const int error = request.error;
    if (isKernelNode(opened.path)) keep(std::move(request));
    return error != 0 ? -error : result;
}

Request HubDriver::parse(const Node& node, const std::string& bytes, int* length) const {
    Request request;
    switch (node.kind) {
        case NodeKind::kEnable:
            request = parseEnable(bytes, mHandles);
            break;
        case NodeKind::kFlush:
            request = parseFlush(bytes, mHandles);
            break;
        case NodeKind::kInjection:
            request = parseInjection(bytes, mHandles);
            break;
        case NodeKind::kBufferLength:
            request = parseBufferLength(bytes, length);
            break;
        case NodeKind::kBufferEnable:
            request = parseBufferEnable(bytes);
            break;
        case NodeKind::kPlain:
            request.bytes = bytes;
            break;
        default:
            request.bytes = bytes;
            request.error = EINVAL;
            break;
    }
    if (node.device != nullptr) request.handle = node.device->handle();
    request.path = node.path;
    return request;
}

void HubDriver::apply(const Node& node, int length, Request* request) {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        switch (request->kind) {
            case Request::Kind::kEnable:
                mByHandle[request->handle]->enabled = request->enable == 1;
                break;
            case Request::Kind::kBatch:
                mByHandle[request->handle]->periodNs = request->periodNs;
                mByHandle[request->handle]->latencyNs = request->latencyNs;
                break;
            case Request::Kind::kBufferLength:
                request->error = node.device->setLength(length);
                if (request->error == 0) mTree.write(node.path, request->bytes);
                break;
            case Request::Kind::kBufferEnable:
                node.device->setBufferEnabled(request->enable == 1);
                mTree.write(node.path, request->bytes);
                break;
            default:
                break;
        }
    }
    if (mGenerator != nullptr && request->error == 0) notifyGenerator(*request);
}

void HubDriver::notifyGenerator(const Request& request) {
    if (request.kind == Request::Kind::kEnable) {
        mGenerator->setEnabled(request.handle, request.enable == 1);
    } else if (request.kind == Request::Kind::kBatch) {
        mGenerator->setRate(request.handle, request.periodNs, request.latencyNs);
    } else if (request.kind == Request::Kind::kFlush) {
        mGenerator->flush(request.handle);
    }
}

int HubDriver::ioctl(uint32_t number, int fd, unsigned long ioctlNumber, void* argument) {
    const Node& opened = node(number);
    const int fault = nextFault(Call::kIoctl, opened.path);
    Request request;
    request.kind = Request::Kind::kIoctl;
    request.ioctlNumber = static_cast<uint32_t>(ioctlNumber);  // the kernel sees 32 bits of it
    if (opened.kind == NodeKind::kBatch) request = parseBatch(ioctlNumber, argument, mHandles);
    if (opened.device != nullptr) request.handle = opened.device->handle();
    request.path = opened.path;
    request.access = fcntl(fd, F_GETFL) & O_ACCMODE;
    const auto handler = handlerOf(opened);
    int result = 0;
    if (fault != 0) {
        request.error = fault;
    } else if (handler != nullptr && handler->onIoctl) {
        result = handler->onIoctl(ioctlNumber, argument);
        request.error = result < 0 ? -result : 0;
    } else if (opened.kind == NodeKind::kBatch) {
        if (request.error == 0) apply(opened, 0, &request);
    } else {
        request.error = opened.kind == NodeKind::kRecords ? ENODEV : ENOTTY;
    }
    const int error = request.error;
    keep(std::move(request));
    return error != 0 ? -error : result;
}

int HubDriver::close(uint32_t number) {
    std::lock_guard<std::mutex> lock(mMutex);
    const Node& closed = mNodes[number - 1];
    if (closed.kind == NodeKind::kRecords) --closed.device->openCount;
    return mFaults.next(Call::kClose, closed.path);
}

int HubDriver::enterPoll() {
    std::lock_guard<std::mutex> lock(mMutex);
    if (const int error = mFaults.next(Call::kPoll, "")) return error;
    ++mPolling;
    mChanged.notify_all();
    return 0;
}

void HubDriver::leavePoll() {
    std::lock_guard<std::mutex> lock(mMutex);
    --mPolling;
}

bool HubDriver::push(int handle, const std::string& record) {
    std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mByHandle.find(handle);
    return found != mByHandle.end() && found->second->push(record);
}

bool HubDriver::allRead() const {
    return std::none_of(mDevices.begin(), mDevices.end(), [](const auto& device) {
        return device->openCount > 0 && device->queued() > 0;
    });
}

bool HubDriver::waitIdle(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this] { return mPolling > 0 && allRead(); });
}

void HubDriver::wake() {
    constexpr size_t kEnough = 4;  // unread, so there is no point in adding to them
    std::lock_guard<std::mutex> lock(mMutex);
    IioDevice* target = nullptr;
    for (const auto& device : mDevices) {
        if (device->openCount == 0) continue;
        // The housekeeping device takes an all-zero record for nothing at all.
        if (target == nullptr || device->handle() == kSensorHubHandle) target = device.get();
    }
    if (target == nullptr || target->queued() >= kEnough) return;
    target->push(std::string(target->profile().recordSize, '\0'), true);
}

void HubDriver::keep(Request request) {
    std::lock_guard<std::mutex> lock(mMutex);
    mRequests.push_back(std::move(request));
    mChanged.notify_all();
}

std::vector<Request> HubDriver::requests() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRequests;
}

void HubDriver::clearRequests() {
    std::lock_guard<std::mutex> lock(mMutex);
    mRequests.clear();
}

bool HubDriver::waitForRequest(const std::function<bool(const Request&)>& predicate,
                               std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this, &predicate] {
        return std::any_of(mRequests.begin(), mRequests.end(), predicate);
    });
}

void HubDriver::addFault(Call call, const std::string& path, int error, int nth, int count) {
    std::lock_guard<std::mutex> lock(mMutex);
    mFaults.add(call, path, error, nth, count);
}

void HubDriver::clearFaults() {
    std::lock_guard<std::mutex> lock(mMutex);
    mFaults.clear();
}

int HubDriver::nextFault(Call call, const std::string& path) {
    std::lock_guard<std::mutex> lock(mMutex);
    return mFaults.next(call, path);
}

}  // namespace simulator
