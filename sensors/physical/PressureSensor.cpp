#include "sensors/Driver.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Difference that wraps as the hub's own 32-bit arithmetic does. */
static int32_t wrappingDifference(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) - static_cast<uint32_t>(right));
}

/**
 * Air pressure in hPa. The hub sends the chip's raw count and its calibration offset; the vendor
 * decides the scale.
 */
class PressureSensor : public SensorBase {
    struct __attribute__((packed)) Record {
        int32_t pressure;
        uint16_t temperature;
        int32_t pressureOffset;
        int32_t reserved;
        int64_t timestamp;  // ns

        bool isFlushMarker() const {
            return timestamp == 0 && pressure == 0 && temperature == 0 && pressureOffset == 0;
        }
    };
    static_assert(sizeof(Record) == 22);

  public:
    PressureSensor(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("pressure_sensor", "PressureSensor", "Barometer", info, callback,
                     kPlainIsNonWakeUp) {
        describe(SensorType::PRESSURE, kContinuous,
                 {ANDROID_LOG_ERROR, "PressureSensor : Meta event"});
        if (info.vendor == "STM") {
            mPressureScale = 1.0f / 4096;
            mTemperatureScale = 1.0f / 480;
            mTemperatureOffset = 42.5f;
        } else if (info.vendor == "Bosch Sensortec") {
            mPressureScale = 1.0f / 6400;
            mTemperatureScale = 0.01f;
            mTemperatureOffset = 0.0f;
        } else {
            ALOGW("PressureSensor : There is no vendor name");
        }
    }

    void readEvents() override {
        readAndPost<Record>([this](const Record& record, EventPayload& payload) {
            const int32_t counts = wrappingDifference(record.pressure, record.pressureOffset);
            payload.scalar = mPressureScale * static_cast<float>(counts);
        });
    }

  private:
    // Only the pressure scale enters the events; the others describe the chip.
    [[maybe_unused]] float mSeaLevelPressure = 1013.25f;  // hPa
    float mPressureScale = 1.0f;                          // hPa per count
    [[maybe_unused]] float mTemperatureScale = 1.0f;      // °C per count
    [[maybe_unused]] float mTemperatureOffset = 0.0f;     // °C
};

template struct Driver<PressureSensor>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
