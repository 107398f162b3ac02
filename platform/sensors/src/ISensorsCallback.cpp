#include <android/hardware/sensors/2.0/ISensorsCallback.h>

namespace android::hardware::sensors::V2_0 {

const char* ISensorsCallback::descriptor = "android.hardware.sensors@2.0::ISensorsCallback";

Return<void> ISensorsCallback::interfaceChain(interfaceChain_cb _hidl_cb) {
    _hidl_cb({ISensorsCallback::descriptor, IBase::descriptor});
    return Void();
}

Return<void> ISensorsCallback::debug(const hidl_handle& /*fd*/,
                                     const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> ISensorsCallback::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(ISensorsCallback::descriptor);
    return Void();
}

Return<void> ISensorsCallback::getHashChain(getHashChain_cb _hidl_cb) {
    _hidl_cb(hidl_vec<hidl_array<uint8_t, 32>>(2));  // zeros: nothing here compares hashes
    return Void();
}

Return<void> ISensorsCallback::setHALInstrumentation() {
    return Void();
}

Return<bool> ISensorsCallback::linkToDeath(const sp<hidl_death_recipient>& recipient,
                                           uint64_t /*cookie*/) {
    return recipient != nullptr;
}

Return<void> ISensorsCallback::ping() {
    return Void();
}

Return<void> ISensorsCallback::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    using hidl::base::V1_0::DebugInfo;
    constexpr auto kArchitecture =
        sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT : DebugInfo::Architecture::IS_32BIT;
    _hidl_cb(DebugInfo{-1, 0, kArchitecture});
    return Void();
}

Return<void> ISensorsCallback::notifySyspropsChanged() {
    return Void();
}

Return<bool> ISensorsCallback::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

}  // namespace android::hardware::sensors::V2_0
