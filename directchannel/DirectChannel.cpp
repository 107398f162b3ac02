#include "directchannel/DirectChannel.h"

#include <cutils/ashmem.h>
#include <hardware/gralloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include "common/Log.h"
#include "directchannel/GrallocHalWrapper.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

AshmemDirectChannel::AshmemDirectChannel(const sensors_direct_mem_t* mem) {
    const native_handle_t* handle = mem->handle;
    if (handle != nullptr && handle->numFds > 0) mAshmemFd = handle->data[0];
    if (handle == nullptr || handle->numFds <= 0 || ashmem_valid(mAshmemFd) == 0) {
        mError = -EINVAL;
        return;
    }
    const auto size = static_cast<size_t>(ashmem_get_size_region(mAshmemFd));
    if (size != mem->size) {
        mError = -EINVAL;
        return;
    }
    mSize = size;
    void* base = mmap(nullptr, mem->size, PROT_WRITE, MAP_SHARED, mAshmemFd, 0);
    // What has no bytes cannot be mapped, but makes a channel all the same: nothing is written.
    if (base != MAP_FAILED || mSize == 0) mBase = base;
    if (mBase == nullptr) {
        mError = -ENOMEM;
        return;
    }
    mBuffer = std::make_unique<LockfreeBuffer>(mBase, mSize);
}

AshmemDirectChannel::~AshmemDirectChannel() {
    if (mBase != nullptr) {
        mBuffer.reset();
        munmap(mBase, mSize);
    }
    close(mAshmemFd);
}

GrallocDirectChannel::GrallocDirectChannel(const sensors_direct_mem_t* mem) {
    if (mem->handle == nullptr) {
        ALOGE("mem->handle == nullptr");
        mError = -EINVAL;
        return;
    }
    mNativeHandle = native_handle_clone(mem->handle);
    if (mNativeHandle == nullptr) {
        ALOGE("clone mem->handle failed...");
        mError = -ENOMEM;
        return;
    }
    GrallocHalWrapper& gralloc = GrallocHalWrapper::getInstance();
    mError = gralloc.registerBuffer(mNativeHandle);
    if (mError != 0) {
        ALOGE("registerBuffer failed");
        return;
    }
    // The buffer counts as one row of bytes.
    mError = gralloc.lock(mNativeHandle, GRALLOC_USAGE_SW_WRITE_OFTEN, 0, 0,
                          static_cast<int>(mem->size), 1, &mBase);
    if (mError != 0) {
        ALOGE("lock buffer failed");
        return;
    }
    if (mBase == nullptr) {
        ALOGE("lock buffer => nullptr");
        mError = -ENOMEM;
        return;
    }
    mSize = mem->size;
    mBuffer = std::make_unique<LockfreeBuffer>(mBase, mSize);
}

GrallocDirectChannel::~GrallocDirectChannel() {
    if (mNativeHandle == nullptr) return;
    GrallocHalWrapper& gralloc = GrallocHalWrapper::getInstance();
    if (mBase != nullptr) {
        mBuffer.reset();
        gralloc.unlock(mNativeHandle);
    }
    gralloc.unregisterBuffer(mNativeHandle);
    if (!gralloc.isReleaseImplyDelete()) {
        native_handle_close(mNativeHandle);
        native_handle_delete(mNativeHandle);
    }
}

bool GrallocDirectChannel::memoryMatches(const sensors_direct_mem_t* mem) const {
    return mem->type == SENSOR_DIRECT_MEM_TYPE_GRALLOC &&
           GrallocHalWrapper::getInstance().isSameMemory(mem->handle, mNativeHandle);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
