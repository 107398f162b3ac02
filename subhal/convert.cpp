#include "subhal/convert.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace android::hardware::sensors::V1_0::implementation {

namespace {

constexpr size_t kPayloadSize = 64;
constexpr size_t kThreeAxisSize = offsetof(Vec3, status) + sizeof(SensorStatus);
constexpr size_t kHeartRateSize = offsetof(HeartRate, status) + sizeof(SensorStatus);

// Apart from meta data and dynamic sensors, both records lay out each payload alike.
static_assert(sizeof(EventPayload) == kPayloadSize &&
              sizeof(sensors_event_t::data) == kPayloadSize);
static_assert(kThreeAxisSize == offsetof(sensors_vec_t, status) + 1);
static_assert(kHeartRateSize == offsetof(heart_rate_event_t, status) + 1);
static_assert(sizeof(Uncal) == sizeof(uncalibrated_event_t));
static_assert(sizeof(AdditionalInfo) == sizeof(additional_info_event_t));
static_assert(sizeof(ASensorEvent) == sizeof(sensors_event_t));

/** How many leading payload bytes events of a type use. */
size_t payloadSize(SensorType type) {
    switch (type) {
        case SensorType::ACCELEROMETER:
        case SensorType::MAGNETIC_FIELD:
        case SensorType::ORIENTATION:
        case SensorType::GYROSCOPE:
        case SensorType::GRAVITY:
        case SensorType::LINEAR_ACCELERATION:
            return kThreeAxisSize;
        case SensorType::LIGHT:
        case SensorType::PRESSURE:
        case SensorType::TEMPERATURE:
        case SensorType::PROXIMITY:
        case SensorType::RELATIVE_HUMIDITY:
        case SensorType::AMBIENT_TEMPERATURE:
        case SensorType::SIGNIFICANT_MOTION:
        case SensorType::STEP_DETECTOR:
        case SensorType::TILT_DETECTOR:
        case SensorType::WAKE_GESTURE:
        case SensorType::GLANCE_GESTURE:
        case SensorType::PICK_UP_GESTURE:
        case SensorType::WRIST_TILT_GESTURE:
        case SensorType::DEVICE_ORIENTATION:
        case SensorType::STATIONARY_DETECT:
        case SensorType::MOTION_DETECT:
        case SensorType::HEART_BEAT:
        case SensorType::LOW_LATENCY_OFFBODY_DETECT:
            return sizeof(float);
        case SensorType::ROTATION_VECTOR:
        case SensorType::GEOMAGNETIC_ROTATION_VECTOR:
            return 5 * sizeof(float);
        case SensorType::GAME_ROTATION_VECTOR:
            return 4 * sizeof(float);
        case SensorType::MAGNETIC_FIELD_UNCALIBRATED:
        case SensorType::GYROSCOPE_UNCALIBRATED:
        case SensorType::ACCELEROMETER_UNCALIBRATED:
            return sizeof(Uncal);
        case SensorType::STEP_COUNTER:
            return sizeof(uint64_t);
        case SensorType::HEART_RATE:
            return kHeartRateSize;
        case SensorType::POSE_6DOF:
            return 15 * sizeof(float);
        default:
            return kPayloadSize;
    }
}

/** Copies what events of a type use of their payload. */
void copyPayload(void* dst, const void* src, SensorType type) {
    const size_t size = payloadSize(type);
    if (size == kPayloadSize) {
        memcpy(dst, src, kPayloadSize);  // of a known size, so without a call
    } else {
        memcpy(dst, src, size);
    }
}

}  // namespace

void convertFromSensor(const sensor_t& src, SensorInfo* dst) {
    const auto text = [](const char* string) { return string == nullptr ? "" : string; };
    dst->name = text(src.name);
    dst->vendor = text(src.vendor);
    dst->version = src.version;
    dst->sensorHandle = src.handle;
    dst->type = static_cast<SensorType>(src.type);
    dst->maxRange = src.maxRange;
    dst->resolution = src.resolution;
    dst->power = src.power;
    dst->minDelay = src.minDelay;
    dst->fifoReservedEventCount = src.fifoReservedEventCount;
    dst->fifoMaxEventCount = src.fifoMaxEventCount;
    dst->typeAsString = text(src.stringType);
    dst->requiredPermission = text(src.requiredPermission);
    dst->maxDelay = static_cast<int32_t>(src.maxDelay);
    dst->flags = static_cast<uint32_t>(src.flags);
}

void convertToSensor(const SensorInfo& src, sensor_t* dst) {
    *dst = {};
    dst->name = strdup(src.name.c_str());
    dst->vendor = strdup(src.vendor.c_str());
    dst->version = src.version;
    dst->handle = src.sensorHandle;
    dst->type = static_cast<int>(src.type);
    dst->maxRange = src.maxRange;
    dst->resolution = src.resolution;
    dst->power = src.power;
    dst->minDelay = src.minDelay;
    dst->fifoReservedEventCount = src.fifoReservedEventCount;
    dst->fifoMaxEventCount = src.fifoMaxEventCount;
    dst->stringType = strdup(src.typeAsString.c_str());
    dst->requiredPermission = strdup(src.requiredPermission.c_str());
    dst->maxDelay = src.maxDelay;
    dst->flags = src.flags;
}

void convertFromSensorEvent(const sensors_event_t& src, Event* dst) {
    memset(dst, 0, sizeof(*dst));
    dst->timestamp = src.timestamp;
    dst->sensorHandle = src.sensor;
    dst->sensorType = static_cast<SensorType>(src.type);
    switch (dst->sensorType) {
        case SensorType::META_DATA:
            dst->sensorHandle = src.meta_data.sensor;
            dst->u.meta.what = static_cast<MetaDataEventType>(src.meta_data.what);
            break;
        case SensorType::DYNAMIC_SENSOR_META:
            dst->u.dynamic.connected = src.dynamic_sensor_meta.connected != 0;
            dst->u.dynamic.sensorHandle = src.dynamic_sensor_meta.handle;
            memcpy(dst->u.dynamic.uuid.data(), src.dynamic_sensor_meta.uuid,
                   sizeof(src.dynamic_sensor_meta.uuid));
            break;
        default:
            copyPayload(&dst->u, src.data, dst->sensorType);
            break;
    }
}

void convertFromASensorEvent(const ASensorEvent& src, Event* dst) {
    convertFromSensorEvent(
        android::hardware::sensors::implementation::common::convertASensorEvent(src), dst);
}

void convertToSensorEvent(const Event& src, sensors_event_t* dst) {
    memset(dst, 0, sizeof(*dst));
    dst->version = sizeof(sensors_event_t);
    dst->sensor = src.sensorHandle;
    dst->type = static_cast<int32_t>(src.sensorType);
    dst->timestamp = src.timestamp;
    switch (src.sensorType) {
        case SensorType::META_DATA:
            dst->sensor = 0;
            dst->meta_data.what = static_cast<int32_t>(src.u.meta.what);
            dst->meta_data.sensor = src.sensorHandle;
            break;
        case SensorType::DYNAMIC_SENSOR_META:
            dst->dynamic_sensor_meta.connected = src.u.dynamic.connected ? 1 : 0;
            dst->dynamic_sensor_meta.handle = src.u.dynamic.sensorHandle;
            memcpy(dst->dynamic_sensor_meta.uuid, src.u.dynamic.uuid.data(),
                   sizeof(dst->dynamic_sensor_meta.uuid));
            break;
        default:
            copyPayload(dst->data, &src.u, src.sensorType);
            break;
    }
}

bool convertFromSharedMemInfo(const SharedMemInfo& src, sensors_direct_mem_t* dst) {
    const native_handle_t* handle = src.memoryHandle.getNativeHandle();
    const bool knownType = src.type == SharedMemType::ASHMEM || src.type == SharedMemType::GRALLOC;
    if (dst == nullptr || !knownType || src.format != SharedMemFormat::SENSORS_EVENT ||
        handle == nullptr) {
        return false;
    }
    dst->type = static_cast<int>(src.type);
    dst->format = static_cast<int>(src.format);
    dst->size = src.size;
    dst->handle = handle;
    return true;
}

int convertFromRateLevel(RateLevel rate) {
    const bool isKnown = rate >= RateLevel::STOP && rate <= RateLevel::VERY_FAST;
    return isKnown ? static_cast<int>(rate) : -1;
}

}  // namespace android::hardware::sensors::V1_0::implementation

namespace android::hardware::sensors::implementation::common {

sensors_event_t convertASensorEvent(const ASensorEvent& src) {
    sensors_event_t event;
    memcpy(&event, &src, sizeof(event));
    return event;
}

}  // namespace android::hardware::sensors::implementation::common
