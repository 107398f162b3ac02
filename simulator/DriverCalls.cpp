// The calls that are redirected to SimulatedHub.

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "simulator/NodePaths.h"
#include "simulator/SignalGenerator.h"
#include "simulator/SimulatedHub.h"

namespace simulator {
namespace {

constexpr size_t kSysfsPage = 4096;  // one read or write of an attribute moves no more

/** The kernel checks an attribute's mode even for root. */
bool permits(mode_t mode, int flags) {
    const int access = flags & O_ACCMODE;
    return (access == O_WRONLY || (mode & 0444) != 0) && (access == O_RDONLY || (mode & 0222) != 0);
}

ssize_t readText(int fd, const std::string& text, void* buffer, size_t size) {
    const auto begin = static_cast<size_t>(lseek(fd, 0, SEEK_CUR));
    if (begin >= text.size()) return 0;
    const size_t count = text.copy(static_cast<char*>(buffer), size, begin);
    lseek(fd, static_cast<off_t>(count), SEEK_CUR);
    return static_cast<ssize_t>(count);
}

}  // namespace

SimulatedHub::Visit SimulatedHub::visit(const char* call, const std::string& path) {
    std::lock_guard<std::mutex> lock(mMutex);
    const Node& visited = mNodes[path];
    return {visited, mFaults.next(call, path), visited.handler};
}

int SimulatedHub::open(const std::string& path, int flags, mode_t mode) {
    const Visit opened = visit("open", path);
    if (opened.fault != 0) return -opened.fault;
    if (const int error = prepareOpen(path, opened, flags)) return -error;
    if (isKernelNode(path)) flags &= ~(O_CREAT | O_TRUNC | O_EXCL);
    const int fd = real::open(mTree.real(path).c_str(), flags, mode);
    if (fd < 0) return -errno;
    if (!opened.node.isRecordDevice()) return fd;
    // A lock on the open file binds other processes too, and ends with its last descriptor.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        real::close(fd);
        return -EBUSY;
    }
    std::lock_guard<std::mutex> lock(mMutex);
    ++opened.node.device->openCount;
    return fd;
}

int SimulatedHub::prepareOpen(const std::string& path, const Visit& visit, int flags) const {
    if (isKernelNode(path)) {
        const bool exists = mTree.exists(path);
        const bool creates = (flags & O_CREAT) != 0;
        if (creates && exists && (flags & O_EXCL) != 0) return EEXIST;
        if (creates && !exists && mTree.exists(path.substr(0, path.rfind('/')))) return EACCES;
        if (!exists) return ENOENT;
        if (isAttribute(path) && !permits(attributeMode(path), flags)) return EACCES;
    }
    return visit.handler != nullptr && visit.handler->onOpen ? visit.handler->onOpen(flags) : 0;
}

ssize_t SimulatedHub::read(const std::string& path, int fd, void* buffer, size_t size) {
    const Visit visited = visit("read", path);
    IioDevice* device = visited.node.device;
    if (visited.fault != 0) return -visited.fault;
    const bool attribute = isAttribute(path);
    if (attribute) size = std::min(size, kSysfsPage);
    if (visited.handler != nullptr && visited.handler->onRead) {
        const ssize_t got = visited.handler->onRead(buffer, size);
        if (attribute && got > 0) lseek(fd, got, SEEK_CUR);
        return got;
    }
    if (visited.node.isRecordDevice()) return readRecords(*device, fd, buffer, size);
    if (device != nullptr) {
        std::lock_guard<std::mutex> lock(mMutex);
        return readText(fd, (device->*visited.node.text)(), buffer, size);
    }
    return TappedFiles::read(path, fd, buffer, size);
}

ssize_t SimulatedHub::readRecords(IioDevice& device, int fd, void* buffer, size_t size) {
    std::unique_lock<std::mutex> lock(mMutex);
    const auto ready = [&device] { return device.isRemoved() || device.queued() > 0; };
    if (!ready()) {
        if (!device.wasEverEnabled()) return 0;
        if (size < device.known().recordSize) return -EINVAL;
        if ((fcntl(fd, F_GETFL) & O_NONBLOCK) != 0) return -EAGAIN;
        ++device.waitingReads;
        mReadable.wait(lock, ready);
        --device.waitingReads;
    }
    if (device.isRemoved()) return -ENODEV;
    const ssize_t result = device.take(buffer, size);
    mChanged.notify_all();
    return result;
}

ssize_t SimulatedHub::write(const std::string& path, int fd, const void* buffer, size_t size) {
    const Visit visited = visit("write", path);
    const bool attribute = isAttribute(path);
    if (attribute) size = std::min(size, kSysfsPage);
    Request request = parseWrite(visited.node.takes.value_or(Request::Kind::kWrite),
                                 {static_cast<const char*>(buffer), size});
    if (visited.node.device != nullptr) request.handle = visited.node.device->handle();
    request.path = path;
    request.access = fcntl(fd, F_GETFL) & O_ACCMODE;
    if (attribute) request.offset = lseek(fd, 0, SEEK_CUR);
    ssize_t result = static_cast<ssize_t>(size);
    if (request.access == O_RDONLY) {
        request.error = EBADF;
    } else if (visited.fault != 0) {
        request.error = visited.fault;
    } else if (attribute && size == 0) {
        return 0;  // does not reach the driver
    } else if (visited.handler != nullptr && visited.handler->onWrite) {
        result = visited.handler->onWrite(request.bytes);
        request.error = result < 0 ? static_cast<int>(-result) : 0;
    } else if (!visited.node.takes) {
        result = real::write(fd, buffer, size);
        request.error = result < 0 ? errno : 0;
    } else if (request.error == 0) {
        apply(&request);
    }
    const int error = request.error;
    if (attribute && error == 0) lseek(fd, static_cast<off_t>(request.offset + result), SEEK_SET);
    if (isKernelNode(path)) keep(std::move(request));
    return error != 0 ? -error : result;
}

void SimulatedHub::apply(Request* request) {
    const bool on = request->enable == 1;
    IioDevice* device = find(request->handle);
    if (device == nullptr) {
        request->error = EINVAL;
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mMutex);
        switch (request->kind) {
            case Request::Kind::kEnable:
                device->state.enabled = on;
                break;
            case Request::Kind::kBatch:
                device->state.periodNs = request->periodNs;
                device->state.latencyNs = request->latencyNs;
                break;
            case Request::Kind::kBufferLength:
                request->error = device->setLength(request->value);
                break;
            case Request::Kind::kBufferWatermark:
                request->error = device->setWatermark(request->value);
                break;
            case Request::Kind::kBufferEnable:
                request->error = device->setBufferEnabled(on);
                break;
            default:
                break;
        }
    }
    if (mGenerator == nullptr) return;
    if (request->kind == Request::Kind::kEnable) {
        mGenerator->setEnabled(request->handle, on);
    } else if (request->kind == Request::Kind::kBatch) {
        mGenerator->setRate(request->handle, request->periodNs, request->latencyNs);
    } else if (request->kind == Request::Kind::kFlush) {
        mGenerator->flush(request->handle);
    }
}

int SimulatedHub::ioctl(const std::string& path, int fd, unsigned long ioctlNumber,
                        void* argument) {
    const Visit visited = visit("ioctl", path);
    const bool isBatch = path == kBatchPath;
    Request request;
    request.kind = Request::Kind::kIoctl;
    request.ioctlNumber = static_cast<uint32_t>(ioctlNumber);  // the kernel sees 32 bits of it
    if (isBatch) request = parseBatch(ioctlNumber, argument);
    if (visited.node.device != nullptr) request.handle = visited.node.device->handle();
    request.path = path;
    request.access = fcntl(fd, F_GETFL) & O_ACCMODE;
    int result = 0;
    if (visited.fault != 0) {
        request.error = visited.fault;
    } else if (visited.handler != nullptr && visited.handler->onIoctl) {
        result = visited.handler->onIoctl(ioctlNumber, argument);
        request.error = result < 0 ? -result : 0;
    } else if (!isBatch) {
        request.error = visited.node.isRecordDevice() ? ENODEV : ENOTTY;
    } else if (request.error == 0) {
        apply(&request);
    }
    const int error = request.error;
    keep(std::move(request));
    return error != 0 ? -error : result;
}

int SimulatedHub::close(const std::string& path) {
    const Visit closed = visit("close", path);
    std::lock_guard<std::mutex> lock(mMutex);
    if (closed.node.isRecordDevice()) --closed.node.device->openCount;
    return closed.fault;
}

int SimulatedHub::enterPoll() {
    if (const int error = mFaults.next("poll", "")) return error;
    std::lock_guard<std::mutex> lock(mMutex);
    ++mPolling;
    mChanged.notify_all();
    return 0;
}

void SimulatedHub::leavePoll() {
    std::lock_guard<std::mutex> lock(mMutex);
    --mPolling;
}

void SimulatedHub::keep(Request request) {
    std::lock_guard<std::mutex> lock(mMutex);
    mRequests.push_back(std::move(request));
    mChanged.notify_all();
}

}  // namespace simulator
