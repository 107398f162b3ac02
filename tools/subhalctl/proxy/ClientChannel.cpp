#include "tools/subhalctl/proxy/ClientChannel.h"

#include <cutils/ashmem.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace subhalctl {

using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;

ClientChannel::~ClientChannel() {
    unregister();
    if (mReporting) mProxy.activate(mSensor, false);
}

Result ClientChannel::registerMemory(const SharedMemory& memory) {
    native_handle_t* handle = native_handle_create(1, 0);
    handle->data[0] = dup(memory.fd());  // the library takes it over
    const auto answer = host_proxy::registerDirectChannel(
        mProxy.subHal(), {SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT, memory.bytes(),
                          android::hardware::hidl_handle(handle)});
    native_handle_delete(handle);
    mHandle = answer.value;
    return answer.result;
}

host_proxy::Answer ClientChannel::setRate(RateLevel level) {
    const auto answer = host_proxy::configDirectReport(mProxy.subHal(), mSensor, mHandle, level);
    mReporting |= answer.result == Result::OK;
    return answer;
}

void ClientChannel::unregister() {
    if (mHandle > 0) mProxy.subHal().unregisterDirectChannel(mHandle);
    mHandle = -1;
}

SharedMemory::SharedMemory(size_t bytes)
    : mBytes(bytes), mFd(ashmem_create_region("subhalctl", bytes)) {
    if (mFd < 0) return;
    void* base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, mFd, 0);
    if (base != MAP_FAILED) mBase = static_cast<char*>(base);
}

SharedMemory::~SharedMemory() {
    if (mBase != nullptr) munmap(mBase, mBytes);
    if (mFd >= 0) close(mFd);
}

sensors_event_t SharedMemory::record(size_t index) const {
    sensors_event_t record;
    std::memcpy(&record, mBase + index * sizeof(record), sizeof(record));
    return record;
}

void SharedMemory::fill(char byte) {
    std::memset(mBase, byte, mBytes);
}

bool SharedMemory::allZero() const {
    return std::all_of(mBase, mBase + mBytes, [](char byte) { return byte == 0; });
}

}  // namespace subhalctl
