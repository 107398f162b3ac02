#include "sensors/Driver.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** The device was picked up, once per activation. */
class PickupGesture : public SensorBase {
    struct Record : EventCodeRecord {
        /** Every record is an event, even without a timestamp. */
        static bool isFlushMarker() { return false; }
    };

  public:
    PickupGesture(const SensorInfo& info, ISensorsEventCallback* callback)
        : SensorBase("pickup_gesture", "PickupGesture", "Pick Up Gesture", info, callback,
                     kPlainIsWakeUp) {
        describe(SensorType::PICK_UP_GESTURE, kOneShot, kNoFlushLine);
    }

    void readEvents() override {
        readAndPost<Record>([](const Record& record, EventPayload& payload) {
            payload.scalar = record.event;
            ALOGI("PickupGesture: event = %d, time = %" PRId64, record.event, record.timestamp);
        });
    }
};

template struct Driver<PickupGesture>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
