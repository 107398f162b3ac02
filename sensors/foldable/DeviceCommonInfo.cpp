#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The hub's codes for the device type, the table mode and the active screen. */
class DeviceCommonInfo : public SensorBase {
    struct __attribute__((packed)) Record {
        uint8_t deviceType;
        uint8_t tableMode;
        uint8_t activeScreen;
        int64_t timestamp;  // ns

        bool isFlushMarker() const { return timestamp == 0; }
    };
    static_assert(sizeof(Record) == 11);

  public:
    DeviceCommonInfo(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("device_common_info", "DeviceCommonInfo", "Device Common Info", info, callback,
                     kPlainIsWakeUp) {
        describePrivate(113, "com.tavrine.sensor.device_common_info", kNoPermission, kOnChange,
                        {ANDROID_LOG_ERROR, "DeviceCommonInfo : Meta event"});
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.data[0] = record.deviceType;
            payload.data[1] = record.tableMode;
            payload.data[2] = record.activeScreen;
            ALOGI(
                "DeviceCommonInfo : device_type=%d table_mode=%d active_screen=%d, time = %" PRId64,
                record.deviceType, record.tableMode, record.activeScreen, record.timestamp);
        });
    }
};

template struct Driver<DeviceCommonInfo>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
