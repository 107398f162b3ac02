#include "sensors/foldable/DeviceCommonInfo.h"

#include <log/log.h>

#include <cinttypes>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) DeviceRecord {
    uint8_t deviceType;
    uint8_t tableMode;
    uint8_t activeScreen;
    uint64_t timestamp;  // ns
};
static_assert(sizeof(DeviceRecord) == 11);

}  // namespace

DeviceCommonInfo::DeviceCommonInfo(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("device_common_info", "DeviceCommonInfo", "Device Common Info", info, callback,
                 true) {
    setType(kPrivateType + 113);
    setStringType("com.tavrine.sensor.device_common_info");
    addFlags(kOnChange);
}

void DeviceCommonInfo::readEvents() {
    readFrame<DeviceRecord>(
        NoTimestamp(), [] { ALOGE("DeviceCommonInfo : Meta event"); },
        [this](const DeviceRecord& record) {
            mPendingEvent.u.data[0] = static_cast<float>(record.deviceType);
            mPendingEvent.u.data[1] = static_cast<float>(record.tableMode);
            mPendingEvent.u.data[2] = static_cast<float>(record.activeScreen);
            ALOGI(
                "DeviceCommonInfo : device_type=%d table_mode=%d active_screen=%d, time = %" PRId64,
                record.deviceType, record.tableMode, record.activeScreen,
                static_cast<int64_t>(record.timestamp));
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
