#include "directchannel/GrallocHalWrapper.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "common/Log.h"

using android::hardware::sensors::V2_0::zelva_sensorhub::GrallocHalWrapper;

ANDROID_SINGLETON_STATIC_INSTANCE(GrallocHalWrapper)

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int kLegacyVersion = 0;
constexpr int kGralloc1Version = 1;

template <typename Function>
void* address(Function function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

GrallocHalWrapper::GrallocHalWrapper() {
    const hw_module_t* module = nullptr;
    const int result = hw_get_module(GRALLOC_HARDWARE_MODULE_ID, &module);
    if (result != 0) {
        ALOGE("couldn't load %s module (%s)", GRALLOC_HARDWARE_MODULE_ID, strerror(-result));
    }
    if (module == nullptr) {
        mError = result < 0 ? result : -ENODEV;
        return;
    }
    const int majorVersion = module->module_api_version >> 8;
    if (majorVersion == kGralloc1Version) {
        openGralloc1(module);
    } else if (majorVersion == kLegacyVersion) {
        openLegacy(module);
    } else {
        ALOGE("Unknown version, not supported");
        mError = result;
    }
}

GrallocHalWrapper::~GrallocHalWrapper() {
    if (mAllocDevice != nullptr) gralloc_close(mAllocDevice);
}

void GrallocHalWrapper::openGralloc1(const hw_module_t* module) {
    mError = gralloc1_open(module, &mGralloc1Device);
    if (mError != 0) {
        ALOGE("cannot open gralloc1 device (%s)", strerror(-mError));
        return;
    }
    if (mGralloc1Device == nullptr || mGralloc1Device->getFunction == nullptr) {
        ALOGE("gralloc1_open returns no error, but result is nullptr");
        mError = -ENOSYS;
        return;
    }
    if (!fetchGralloc1Functions()) {
        mError = -EINVAL;
        return;
    }
    readGralloc1Capabilities();
    mGrallocModule = reinterpret_cast<const gralloc_module_t*>(module);
    mVersion = kGralloc1Version;
}

bool GrallocHalWrapper::fetchGralloc1Functions() {
    const auto fetch = [this](auto* function, gralloc1_function_descriptor_t descriptor) {
        *function = reinterpret_cast<std::remove_pointer_t<decltype(function)>>(
            mGralloc1Device->getFunction(mGralloc1Device, descriptor));
    };
    fetch(&mPfnRetain, GRALLOC1_FUNCTION_RETAIN);
    fetch(&mPfnRelease, GRALLOC1_FUNCTION_RELEASE);
    fetch(&mPfnLock, GRALLOC1_FUNCTION_LOCK);
    fetch(&mPfnUnlock, GRALLOC1_FUNCTION_UNLOCK);
    fetch(&mPfnGetBackingStore, GRALLOC1_FUNCTION_GET_BACKING_STORE);
    if (mPfnRetain != nullptr && mPfnRelease != nullptr && mPfnLock != nullptr &&
        mPfnUnlock != nullptr && mPfnGetBackingStore != nullptr) {
        return true;
    }
    ALOGE(
        "Function pointer for retain, release, lock, unlock and getBackingStore are "
        "%p, %p, %p, %p, %p",
        address(mPfnRetain), address(mPfnRelease), address(mPfnLock), address(mPfnUnlock),
        address(mPfnGetBackingStore));
    return false;
}

void GrallocHalWrapper::readGralloc1Capabilities() {
    int32_t capabilities[3] = {};
    uint32_t count = std::size(capabilities);
    mGralloc1Device->getCapabilities(mGralloc1Device, &count, capabilities);
    // The device may report more than there was room for.
    const size_t known = std::min<size_t>(count, std::size(capabilities));
    mReleaseImplyDelete = std::count(capabilities, capabilities + known,
                                     GRALLOC1_CAPABILITY_RELEASE_IMPLY_DELETE) > 0;
    ALOGI("gralloc hal %ssupport RELEASE_IMPLY_DELETE", mReleaseImplyDelete ? "" : "does not ");
}

void GrallocHalWrapper::openLegacy(const hw_module_t* module) {
    mError = gralloc_open(module, &mAllocDevice);
    if (mError != 0) {
        ALOGE("cannot open alloc device (%s)", strerror(-mError));
        return;
    }
    if (mAllocDevice == nullptr) {
        ALOGE("gralloc_open returns no error, but result is nullptr");
        mError = -ENOSYS;
        return;
    }
    mGrallocModule = reinterpret_cast<const gralloc_module_t*>(module);
    mVersion = kLegacyVersion;
}

int32_t GrallocHalWrapper::registerBuffer(const native_handle_t* handle) {
    if (mVersion == kGralloc1Version) return mapGralloc1Error(mPfnRetain(mGralloc1Device, handle));
    if (mVersion != kLegacyVersion) return -ENODEV;
    return mGrallocModule->registerBuffer(mGrallocModule, handle);
}

int32_t GrallocHalWrapper::unregisterBuffer(const native_handle_t* handle) {
    if (mVersion == kGralloc1Version) return mapGralloc1Error(mPfnRelease(mGralloc1Device, handle));
    if (mVersion != kLegacyVersion) return -ENODEV;
    return mGrallocModule->unregisterBuffer(mGrallocModule, handle);
}

int32_t GrallocHalWrapper::lock(const native_handle_t* handle, int usage, int left, int top,
                                int width, int height, void** vaddr) {
    if (mVersion == kGralloc1Version) {
        constexpr int32_t kNoFence = -1;
        const gralloc1_rect_t region = {left, top, width, height};
        return mapGralloc1Error(mPfnLock(mGralloc1Device, handle,
                                         GRALLOC1_PRODUCER_USAGE_CPU_WRITE_OFTEN,
                                         GRALLOC1_CONSUMER_USAGE_NONE, &region, vaddr, kNoFence));
    }
    if (mVersion != kLegacyVersion) return -ENODEV;
    return mGrallocModule->lock(mGrallocModule, handle, usage, left, top, width, height, vaddr);
}

int32_t GrallocHalWrapper::unlock(const native_handle_t* handle) {
    if (mVersion == kGralloc1Version) {
        int32_t ignoredFence = -1;
        return mapGralloc1Error(mPfnUnlock(mGralloc1Device, handle, &ignoredFence));
    }
    if (mVersion != kLegacyVersion) return -ENODEV;
    return mGrallocModule->unlock(mGrallocModule, handle);
}

bool GrallocHalWrapper::isSameMemory(const native_handle_t* handle1,
                                     const native_handle_t* handle2) {
    if (mVersion != kGralloc1Version) return false;
    gralloc1_backing_store_t store1 = 0;
    gralloc1_backing_store_t store2 = 0;
    return mPfnGetBackingStore(mGralloc1Device, handle1, &store1) == GRALLOC1_ERROR_NONE &&
           mPfnGetBackingStore(mGralloc1Device, handle2, &store2) == GRALLOC1_ERROR_NONE &&
           store1 == store2;
}

int32_t GrallocHalWrapper::mapGralloc1Error(int error) {
    // None; bad descriptor, handle, value; not shared, no resources; undefined, unsupported.
    constexpr int32_t kStatus[] = {0,       -EINVAL, -EINVAL, -EINVAL,
                                   -ENOMEM, -ENOMEM, -ENOSYS, -ENOSYS};
    const auto index = static_cast<size_t>(error);
    return index < std::size(kStatus) ? kStatus[index] : INT32_MIN;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
