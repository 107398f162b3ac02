#include "sensors/orientation/DeviceOrientation.h"

#include <log/log.h>

#include <cerrno>
#include <cinttypes>
#include <cstddef>
#include <cstring>

#include "sensors/InjectedEvent.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

struct __attribute__((packed)) OrientationRecord {
    uint8_t orientation;  // 0 to 3: quarter turns
    uint64_t timestamp;   // ns
};
static_assert(sizeof(OrientationRecord) == 9);

struct __attribute__((packed)) ModePacket {
    uint8_t kind;
    uint8_t handle;
    uint8_t mode;
    uint8_t reserved[3];
};
static_assert(sizeof(ModePacket) == 6);

constexpr uint8_t kOrientations = 4;
constexpr float kUnknownOrientation = -1.0f;
constexpr size_t kModeWord = 2;

}  // namespace

DeviceOrientation::DeviceOrientation(const SensorInfo& info, ISensorsEventCallback* callback)
    : SensorBase("device_orientation", "DeviceOrientation", "Device Orientataion", info, callback,
                 false) {
    setType(27);
    addFlags(kOnChange);
}

int DeviceOrientation::injectSensorData(const Event& event) {
    const uint32_t subCommand = injectedSubCommand(event);
    if (subCommand < kFirstSubCommand) return 0;
    if (subCommand != kSubCommand0) return -EINVAL;

    const int32_t mode = injectedArgument(event, kModeWord);
    ModePacket packet = {};
    packet.kind = kInjectionPacketKind;
    packet.handle = static_cast<uint8_t>(mHandle);
    packet.mode = static_cast<uint8_t>(mode);
    mMode = packet.mode;
    ALOGI("%s::%s: mode %d", "DeviceOrientation", "injectSensorData", mode);
    return writePacket(packet);
}

void DeviceOrientation::readEvents() {
    OrientationRecord record;
    if (readRecordQuietly(&record) < 0) {
        ALOGE("%s(%d) :input data file descriptor not available - (%s)", "DeviceOrientation",
              isWakeUpSensor(), strerror(errno));
        return;
    }
    postRecord(
        record, NoTimestamp(),
        [this] { ALOGI("%s(%d): Meta event", "DeviceOrientation", isWakeUpSensor()); },
        [this](const OrientationRecord& sample) {
            ALOGI("%s(%d): event = %d, time = %" PRId64, "DeviceOrientation", isWakeUpSensor(),
                  sample.orientation, static_cast<int64_t>(sample.timestamp));
            mPendingEvent.u.vec3.x = sample.orientation < kOrientations
                                         ? static_cast<float>(sample.orientation)
                                         : kUnknownOrientation;
            mPendingEvent.u.vec3.status =
                mMode != 0 ? V1_0::SensorStatus::ACCURACY_MEDIUM : kAccuracyHigh;
        });
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
