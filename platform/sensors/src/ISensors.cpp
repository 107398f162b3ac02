#include <android/hardware/sensors/2.0/ISensors.h>

namespace android::hardware::sensors::V2_0 {

const char* ISensors::descriptor = "android.hardware.sensors@2.0::ISensors";

Return<void> ISensors::interfaceChain(interfaceChain_cb _hidl_cb) {
    _hidl_cb({ISensors::descriptor, IBase::descriptor});
    return Void();
}

Return<void> ISensors::debug(const hidl_handle& /*fd*/, const hidl_vec<hidl_string>& /*options*/) {
    return Void();
}

Return<void> ISensors::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(ISensors::descriptor);
    return Void();
}

Return<void> ISensors::getHashChain(getHashChain_cb _hidl_cb) {
    _hidl_cb(hidl_vec<hidl_array<uint8_t, 32>>(2));  // zeros: nothing here compares hashes
    return Void();
}

Return<void> ISensors::setHALInstrumentation() {
    return Void();
}

Return<bool> ISensors::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t /*cookie*/) {
    return recipient != nullptr;
}

Return<void> ISensors::ping() {
    return Void();
}

Return<void> ISensors::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    using hidl::base::V1_0::DebugInfo;
    constexpr auto kArchitecture =
        sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT : DebugInfo::Architecture::IS_32BIT;
    _hidl_cb(DebugInfo{-1, 0, kArchitecture});
    return Void();
}

Return<void> ISensors::notifySyspropsChanged() {
    return Void();
}

Return<bool> ISensors::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

}  // namespace android::hardware::sensors::V2_0
