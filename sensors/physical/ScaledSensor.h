#pragma once

#include <cstdint>

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Three axis counts. */
struct __attribute__((packed)) VectorRecord {
    int16_t x;
    int16_t y;
    int16_t z;
    int64_t timestamp;  // ns

    bool isFlushMarker() const { return timestamp == 0 && x == 0 && y == 0 && z == 0; }

    /** Fills payload words 0 to 2; the status word stays. */
    void scaleTo(EventPayload& payload, float scale) const {
        payload.vec3.x = scale * static_cast<float>(x);
        payload.vec3.y = scale * static_cast<float>(y);
        payload.vec3.z = scale * static_cast<float>(z);
    }
};
static_assert(sizeof(VectorRecord) == 14);

/** The gyroscopes' record: 18 bytes are asked for, and what comes behind the 14 is ignored. */
struct __attribute__((packed)) PaddedVectorRecord : VectorRecord {
    uint8_t ignored[4];
};
static_assert(sizeof(PaddedVectorRecord) == 18);

/** Three axis counts before calibration, and their biases. */
template <typename Count>
struct __attribute__((packed)) UncalibratedRecord {
    Count x;
    Count y;
    Count z;
    Count biasX;
    Count biasY;
    Count biasZ;
    int64_t timestamp;  // ns

    bool isFlushMarker() const {
        return timestamp == 0 && x == 0 && y == 0 && z == 0 && biasX == 0 && biasY == 0 &&
               biasZ == 0;
    }

    /** Fills payload words 0 to 5. */
    void scaleTo(EventPayload& payload, float scale) const {
        payload.uncal.x = scale * static_cast<float>(x);
        payload.uncal.y = scale * static_cast<float>(y);
        payload.uncal.z = scale * static_cast<float>(z);
        payload.uncal.x_bias = scale * static_cast<float>(biasX);
        payload.uncal.y_bias = scale * static_cast<float>(biasY);
        payload.uncal.z_bias = scale * static_cast<float>(biasZ);
    }
};
static_assert(sizeof(UncalibratedRecord<int16_t>) == 20);
static_assert(sizeof(UncalibratedRecord<int32_t>) == 32);

/** Base of the sensors whose record has counts, to be scaled by the hub's resolution. */
template <typename Record>
class ScaledSensor : public SensorBase {
  public:
    void readEvents() override {
        readAndPost<Record>([this](const Record& record, EventPayload& payload) {
            record.scaleTo(payload, mScale);
        });
    }

  protected:
    ScaledSensor(const char* iioName, const char* tag, const char* displayName,
                 const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase(iioName, tag, displayName, info, callback, kPlainIsNonWakeUp),
          mScale(info.resolution) {}

  private:
    const float mScale;  // physical unit per count
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
