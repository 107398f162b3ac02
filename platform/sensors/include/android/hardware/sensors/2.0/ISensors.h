// The sensors interface 2.0. Declaration order is virtual-table order.
#pragma once

#include <cstdint>
#include <functional>

#include <android/hardware/sensors/1.0/types.h>
#include <android/hardware/sensors/2.0/ISensorsCallback.h>
#include <android/hardware/sensors/2.0/types.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/MQDescriptor.h>

namespace android::hardware::sensors::V2_0 {

/// Times are nanoseconds. Callbacks are called once, before the call returns.
struct ISensors : public hidl::base::V1_0::IBase {
    using getSensorsList_cb = std::function<void(const hidl_vec<V1_0::SensorInfo>& list)>;
    using registerDirectChannel_cb =
        std::function<void(V1_0::Result result, int32_t channelHandle)>;
    using configDirectReport_cb = std::function<void(V1_0::Result result, int32_t reportToken)>;

    static const char* descriptor;

    bool isRemote() const override { return false; }

    virtual Return<void> getSensorsList(getSensorsList_cb _hidl_cb) = 0;
    virtual Return<V1_0::Result> setOperationMode(V1_0::OperationMode mode) = 0;
    virtual Return<V1_0::Result> activate(int32_t sensorHandle, bool enabled) = 0;
    virtual Return<V1_0::Result> initialize(
        const MQDescriptorSync<V1_0::Event>& eventQueueDescriptor,
        const MQDescriptorSync<uint32_t>& wakeLockDescriptor,
        const sp<ISensorsCallback>& sensorsCallback) = 0;
    virtual Return<V1_0::Result> batch(int32_t sensorHandle, int64_t samplingPeriodNs,
                                       int64_t maxReportLatencyNs) = 0;
    virtual Return<V1_0::Result> flush(int32_t sensorHandle) = 0;
    virtual Return<V1_0::Result> injectSensorData(const V1_0::Event& event) = 0;
    virtual Return<void> registerDirectChannel(const V1_0::SharedMemInfo& mem,
                                               registerDirectChannel_cb _hidl_cb) = 0;
    virtual Return<V1_0::Result> unregisterDirectChannel(int32_t channelHandle) = 0;
    virtual Return<void> configDirectReport(int32_t sensorHandle, int32_t channelHandle,
                                            V1_0::RateLevel rate,
                                            configDirectReport_cb _hidl_cb) = 0;

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
