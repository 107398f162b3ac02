#include "simulator/kernel/KernelHub.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace simulator {
namespace {

uint64_t address(const void* data) {
    return reinterpret_cast<uintptr_t>(data);
}

}  // namespace

KernelHub::KernelHub() : mFd(open(HUB_CONTROL_DEVICE, O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
    if (ok()) ioctl(mFd, HUB_IOC_RESET);
}

KernelHub::~KernelHub() {
    if (!ok()) return;
    ioctl(mFd, HUB_IOC_RESET);
    close(mFd);
}

int KernelHub::addDevice(int handle, const std::string& name, size_t recordSize) {
    hub_device device{};
    device.handle = handle;
    device.record_size = static_cast<uint32_t>(recordSize);
    std::strncpy(device.name, name.c_str(), sizeof(device.name) - 1);
    const int number = ioctl(mFd, HUB_IOC_ADD, &device);
    if (number < 0) return -errno;
    return mNumbers[handle] = number;
}

bool KernelHub::addSensors(const std::vector<SensorSpec>& sensors,
                           const std::map<int, size_t>& recordSizes) {
    std::vector<SensorSpec> all = sensors;
    std::string file;
    for (const SensorSpec& spec : sensors)
        file += encodeSpec(spec);
    for (const int handle : {kContextHandle, kHousekeepingHandle})
        all.push_back(findKnownSensor(handle)->chip);
    bool good = setFile(HUB_NODE_SPEC, file);
    for (const SensorSpec& spec : all) {
        const KnownSensor* known = findKnownSensor(spec.handle);
        if (known == nullptr || mNumbers.count(spec.handle) != 0) continue;
        const auto other = recordSizes.find(spec.handle);
        const size_t size = other != recordSizes.end() ? other->second : known->recordSize;
        good &= addDevice(spec.handle, iioNameOf(*known, spec.wakeUp), size) >= 0;
    }
    return good;
}

bool KernelHub::unplug(int handle) {
    __s32 value = handle;
    return ioctl(mFd, HUB_IOC_REMOVE, &value) == 0 && mNumbers.erase(handle) == 1;
}

int KernelHub::number(int handle) const {
    const auto found = mNumbers.find(handle);
    return found != mNumbers.end() ? found->second : -1;
}

std::string KernelHub::devicePath(int handle) const {
    return "/dev/iio:device" + std::to_string(number(handle));
}

std::string KernelHub::attributePath(int handle, const std::string& attribute) const {
    return "/sys/bus/iio/devices/iio:device" + std::to_string(number(handle)) + "/" + attribute;
}

hub_state KernelHub::state(int handle) const {
    hub_state state{};
    state.handle = handle;
    ioctl(mFd, HUB_IOC_STATE, &state);
    return state;
}

int KernelHub::push(int handle, const std::string& records, size_t count) {
    hub_records pushed{handle, static_cast<uint32_t>(count), address(records.data())};
    const int taken = ioctl(mFd, HUB_IOC_PUSH, &pushed);
    return taken < 0 ? -errno : taken;
}

bool KernelHub::stream(int handle, const std::string& record, size_t stampOffset, uint64_t count,
                       std::chrono::nanoseconds period, unsigned perTick) {
    hub_stream stream{handle,
                      perTick,
                      static_cast<uint64_t>(period.count()),
                      count,
                      address(record.data()),
                      static_cast<uint32_t>(stampOffset),
                      0};
    return ioctl(mFd, HUB_IOC_STREAM, &stream) == 0;
}

bool KernelHub::setFile(hub_node node, const std::string& bytes) {
    hub_file file{node, static_cast<uint32_t>(bytes.size()), address(bytes.data())};
    return ioctl(mFd, HUB_IOC_FILE, &file) == 0;
}

std::optional<KernelRequest> KernelHub::nextRequest(Milliseconds timeout) {
    pollfd ready{mFd, POLLIN, 0};
    std::array<char, sizeof(hub_request) + HUB_MAX_FILE> buffer;
    if (poll(&ready, 1, static_cast<int>(timeout.count())) != 1) return std::nullopt;
    const ssize_t got = read(mFd, buffer.data(), buffer.size());
    hub_request head{};
    if (got < static_cast<ssize_t>(sizeof(head))) return std::nullopt;
    std::memcpy(&head, buffer.data(), sizeof(head));
    return KernelRequest{static_cast<hub_node>(head.node),
                         head.handle,
                         head.error,
                         head.number,
                         head.flag != 0,
                         {buffer.data() + sizeof(head), head.size}};
}

std::vector<KernelRequest> KernelHub::takeRequests() {
    std::vector<KernelRequest> requests;
    while (auto request = nextRequest())
        requests.push_back(std::move(*request));
    return requests;
}

}  // namespace simulator
