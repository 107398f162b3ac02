// The root of every interface. Declaration order is virtual-table order.
#pragma once

#include <cstdint>
#include <functional>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <utils/RefBase.h>

namespace android::hidl::base::V1_0 {

struct DebugInfo {
    enum class Architecture : int32_t { UNKNOWN = 0, IS_64BIT, IS_32BIT };

    int32_t pid;   // -1: not known
    uint64_t ptr;  // 0: not known
    Architecture arch;
};

struct IBase : virtual public RefBase {
    using interfaceChain_cb =
        std::function<void(const hardware::hidl_vec<hardware::hidl_string>& descriptors)>;
    using interfaceDescriptor_cb = std::function<void(const hardware::hidl_string& descriptor)>;
    using getHashChain_cb =
        std::function<void(const hardware::hidl_vec<hardware::hidl_array<uint8_t, 32>>& hashchain)>;
    using getDebugInfo_cb = std::function<void(const DebugInfo& info)>;

    static const char* descriptor;

    virtual bool isRemote() const = 0;
    virtual hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) = 0;
    virtual hardware::Return<void> debug(
        const hardware::hidl_handle& fd,
        const hardware::hidl_vec<hardware::hidl_string>& options) = 0;
    virtual hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) = 0;
    virtual hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) = 0;
    virtual hardware::Return<void> setHALInstrumentation() = 0;
    virtual hardware::Return<bool> linkToDeath(const sp<hardware::hidl_death_recipient>& recipient,
                                               uint64_t cookie) = 0;
    virtual hardware::Return<void> ping() = 0;
    virtual hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) = 0;
    virtual hardware::Return<void> notifySyspropsChanged() = 0;
    virtual hardware::Return<bool> unlinkToDeath(
        const sp<hardware::hidl_death_recipient>& recipient) = 0;
};

}  // namespace android::hidl::base::V1_0
