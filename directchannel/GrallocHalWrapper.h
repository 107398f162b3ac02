#pragma once

#include <cutils/native_handle.h>
#include <hardware/gralloc.h>
#include <hardware/gralloc1.h>
#include <hardware/hardware.h>
#include <utils/Singleton.h>

#include <cerrno>
#include <cstdint>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The device's graphics buffer allocator, of the legacy interface or of version 1, behind one set
 * of operations.
 *
 * One instance per process, made at first use, by getInstance(), and never destroyed. Operations
 * return 0 or a negative status and take no lock; without a working allocator all of them return
 * -ENODEV.
 */
class GrallocHalWrapper : public Singleton<GrallocHalWrapper> {
  public:
    GrallocHalWrapper(const GrallocHalWrapper&) = delete;
    GrallocHalWrapper& operator=(const GrallocHalWrapper&) = delete;

    /** Why no allocator was opened; 0 also for a module of an unknown version. */
    int32_t getError() const { return mError; }

    /** 0 legacy, 1 version 1, -1 none. */
    int32_t getVersion() const { return mVersion; }

    /** Whether unregisterBuffer() also closes and frees the handle. */
    bool isReleaseImplyDelete() const { return mReleaseImplyDelete; }

    /** Makes a buffer that another process allocated usable in this one, handle by handle. */
    int32_t registerBuffer(const native_handle_t* handle);
    /** Ends registerBuffer(); where the allocator says so, also closes and frees the handle. */
    int32_t unregisterBuffer(const native_handle_t* handle);

    /**
     * Maps a rectangle of a registered buffer for writing, until unlock(). Does not wait for a
     * fence.
     *
     * @param usage legacy usage bits; version 1 always locks for frequent writes by the CPU
     * @param vaddr receives the address
     */
    int32_t lock(const native_handle_t* handle, int usage, int left, int top, int width, int height,
                 void** vaddr);
    /** Ends lock(): its address is no longer valid. The release fence, if any, is left unread. */
    int32_t unlock(const native_handle_t* handle);

    /** Whether both handles have the same backing store; the legacy interface does not know. */
    bool isSameMemory(const native_handle_t* handle1, const native_handle_t* handle2);

    /** A version 1 error number as status. */
    static int32_t mapGralloc1Error(int error);

  protected:
    GrallocHalWrapper();
    ~GrallocHalWrapper();

  private:
    friend class Singleton<GrallocHalWrapper>;

    void openGralloc1(const hw_module_t* module);
    bool fetchGralloc1Functions();
    void readGralloc1Capabilities();
    void openLegacy(const hw_module_t* module);

    int32_t mError = -ENODEV;
    int32_t mVersion = -1;
    const gralloc_module_t* mGrallocModule = nullptr;
    alloc_device_t* mAllocDevice = nullptr;        // legacy only
    gralloc1_device_t* mGralloc1Device = nullptr;  // version 1 only, as are its functions
    GRALLOC1_PFN_RETAIN mPfnRetain = nullptr;
    GRALLOC1_PFN_RELEASE mPfnRelease = nullptr;
    GRALLOC1_PFN_LOCK mPfnLock = nullptr;
    GRALLOC1_PFN_UNLOCK mPfnUnlock = nullptr;
    GRALLOC1_PFN_GET_BACKING_STORE mPfnGetBackingStore = nullptr;
    bool mReleaseImplyDelete = false;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
