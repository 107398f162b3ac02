// What a sensors implementation reports to its client. Declaration order is virtual-table order.
#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <android/hidl/base/1.0/IBase.h>

namespace android::hardware::sensors::V2_0 {

struct ISensorsCallback : public hidl::base::V1_0::IBase {
    static const char* descriptor;

    bool isRemote() const override { return false; }

    virtual Return<void> onDynamicSensorsConnected(
        const hidl_vec<V1_0::SensorInfo>& sensorInfos) = 0;
    virtual Return<void> onDynamicSensorsDisconnected(const hidl_vec<int32_t>& sensorHandles) = 0;

    Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
    Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    Return<void> setHALInstrumentation() override;
    Return<bool> linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) override;
    Return<void> ping() override;
    Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    Return<void> notifySyspropsChanged() override;
    Return<bool> unlinkToDeath(const sp<hidl_death_recipient>& recipient) override;
};

}  // namespace android::hardware::sensors::V2_0
