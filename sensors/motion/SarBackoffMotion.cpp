#include "sensors/motion/SarBackoffMotion.h"

#include <inttypes.h>
#include <log/log.h>

#include <cerrno>

#include "sensors/InjectedEvent.h"
#include "sensors/motion/EventCodeRecord.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) ValuePacket {
    uint8_t kind;
    uint8_t handle;
    int32_t value;
};
static_assert(sizeof(ValuePacket) == 6);

}  // namespace

SarBackoffMotion::SarBackoffMotion(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("sar_backoff_motion", "SarBackoffMotion", "SBM", info, callback, true) {
    setType(kPrivateType + 107);
    setStringType("com.tavrine.sensor.sar_backoff_motion");
    requirePermission();
    addFlags(kOneShot);
}

void SarBackoffMotion::readEvents() {
    readFrame<EventCodeRecord>(
        NoTimestamp(), [] { ALOGI("SarBackoffMotion: Meta event"); },
        [this](const EventCodeRecord& record) {
            ALOGI("SarBackoffMotion: event = %d, time = %" PRId64, record.event,
                  mPendingEvent.timestamp);
            mPendingEvent.u.scalar = record.event;
        });
}

int SarBackoffMotion::injectSensorData(const Event& event) {
    const uint32_t code = injectedSubCommand(event);
    if (code < kFirstSubCommand) return 0;
    if (code != kSubCommand0) return -EINVAL;

    const int32_t value = injectedArgument(event, 2);
    ALOGI("%s::%s: data %d", mTag, "injectSensorData", value);
    return writePacket(ValuePacket{kInjectionPacketKind, static_cast<uint8_t>(mHandle), value});
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
