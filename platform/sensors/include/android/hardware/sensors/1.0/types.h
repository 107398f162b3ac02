// Records and enumerations of the sensors interface 1.0. Values and layouts are fixed.
#pragma once

#include <cstdint>
#include <type_traits>

#include <hidl/HidlSupport.h>

namespace android::hardware::sensors::V1_0 {

enum class Result : int32_t {
    OK = 0,
    PERMISSION_DENIED = -1,
    NO_MEMORY = -12,
    BAD_VALUE = -22,
    INVALID_OPERATION = -38,
};

enum class OperationMode : int32_t {
    NORMAL = 0,
    DATA_INJECTION = 1,
};

enum class SensorType : int32_t {
    META_DATA = 0,
    ACCELEROMETER = 1,
    MAGNETIC_FIELD = 2,
    ORIENTATION = 3,
    GYROSCOPE = 4,
    LIGHT = 5,
    PRESSURE = 6,
    TEMPERATURE = 7,
    PROXIMITY = 8,
    GRAVITY = 9,
    LINEAR_ACCELERATION = 10,
    ROTATION_VECTOR = 11,
    RELATIVE_HUMIDITY = 12,
    AMBIENT_TEMPERATURE = 13,
    MAGNETIC_FIELD_UNCALIBRATED = 14,
    GAME_ROTATION_VECTOR = 15,
    GYROSCOPE_UNCALIBRATED = 16,
    SIGNIFICANT_MOTION = 17,
    STEP_DETECTOR = 18,
    STEP_COUNTER = 19,
    GEOMAGNETIC_ROTATION_VECTOR = 20,
    HEART_RATE = 21,
    TILT_DETECTOR = 22,
    WAKE_GESTURE = 23,
    GLANCE_GESTURE = 24,
    PICK_UP_GESTURE = 25,
    WRIST_TILT_GESTURE = 26,
    DEVICE_ORIENTATION = 27,
    POSE_6DOF = 28,
    STATIONARY_DETECT = 29,
    MOTION_DETECT = 30,
    HEART_BEAT = 31,
    DYNAMIC_SENSOR_META = 32,
    ADDITIONAL_INFO = 33,
    LOW_LATENCY_OFFBODY_DETECT = 34,
    ACCELEROMETER_UNCALIBRATED = 35,
    DEVICE_PRIVATE_BASE = 0x10000,
};

enum class SensorFlagShift : uint8_t {
    REPORTING_MODE = 1,
    DATA_INJECTION = 4,
    DYNAMIC_SENSOR = 5,
    ADDITIONAL_INFO = 6,
    DIRECT_REPORT = 7,
    DIRECT_CHANNEL = 10,
};

enum class SensorFlagBits : uint32_t {
    WAKE_UP = 0x1,
    CONTINUOUS_MODE = 0x0,
    ON_CHANGE_MODE = 0x2,
    ONE_SHOT_MODE = 0x4,
    SPECIAL_REPORTING_MODE = 0x6,
    DATA_INJECTION = 0x10,
    DYNAMIC_SENSOR = 0x20,
    ADDITIONAL_INFO = 0x40,
    DIRECT_CHANNEL_ASHMEM = 0x400,
    DIRECT_CHANNEL_GRALLOC = 0x800,
    MASK_REPORTING_MODE = 0xE,
    MASK_DIRECT_REPORT = 0x380,
    MASK_DIRECT_CHANNEL = 0xC00,
};

enum class SensorStatus : int8_t {
    NO_CONTACT = -1,
    UNRELIABLE = 0,
    ACCURACY_LOW = 1,
    ACCURACY_MEDIUM = 2,
    ACCURACY_HIGH = 3,
};

enum class MetaDataEventType : uint32_t {
    META_DATA_FLUSH_COMPLETE = 1,
};

enum class AdditionalInfoType : uint32_t {
    AINFO_BEGIN = 0,
    AINFO_END = 1,
    AINFO_UNTRACKED_DELAY = 0x10000,
    AINFO_INTERNAL_TEMPERATURE = 0x10001,
    AINFO_VEC3_CALIBRATION = 0x10002,
    AINFO_SENSOR_PLACEMENT = 0x10003,
    AINFO_SAMPLING = 0x10004,
    AINFO_CHANNEL_NOISE = 0x20000,
    AINFO_CHANNEL_SAMPLER = 0x20001,
    AINFO_CHANNEL_FILTER = 0x20002,
    AINFO_CHANNEL_LINEAR_TRANSFORM = 0x20003,
    AINFO_CHANNEL_NONLINEAR_MAP = 0x20004,
    AINFO_CHANNEL_RESAMPLER = 0x20005,
    AINFO_LOCAL_GEOMAGNETIC_FIELD = 0x30000,
    AINFO_LOCAL_GRAVITY = 0x30001,
    AINFO_DOCK_STATE = 0x30002,
    AINFO_HIGH_PERFORMANCE_MODE = 0x30003,
    AINFO_MAGNETIC_FIELD_CALIBRATION = 0x30004,
    AINFO_CUSTOM_START = 0x10000000,
    AINFO_DEBUGGING_START = 0x40000000,
};

enum class RateLevel : int32_t {
    STOP = 0,
    NORMAL = 1,
    FAST = 2,
    VERY_FAST = 3,
};

enum class SharedMemType : int32_t {
    ASHMEM = 1,
    GRALLOC = 2,
};

enum class SharedMemFormat : int32_t {
    SENSORS_EVENT = 1,
};

/// What a sensor is, as the framework lists it.
struct SensorInfo {
    int32_t sensorHandle;
    hidl_string name;
    hidl_string vendor;
    int32_t version;
    SensorType type;
    hidl_string typeAsString;
    float maxRange;    // in the unit of the sensor's values
    float resolution;  // same
    float power;       // mA
    int32_t minDelay;  // µs; 0: on change, -1: one-shot
    uint32_t fifoReservedEventCount;
    uint32_t fifoMaxEventCount;
    hidl_string requiredPermission;
    int32_t maxDelay;  // µs
    hidl_bitfield<SensorFlagBits> flags;
};

struct Vec3 {
    float x;
    float y;
    float z;
    SensorStatus status;
};

struct Vec4 {
    float x;
    float y;
    float z;
    float w;
};

struct Uncal {
    float x;
    float y;
    float z;
    float x_bias;
    float y_bias;
    float z_bias;
};

struct HeartRate {
    float bpm;
    SensorStatus status;
};

struct MetaData {
    MetaDataEventType what;
};

struct DynamicSensorInfo {
    bool connected;
    int32_t sensorHandle;
    hidl_array<uint8_t, 16> uuid;
};

struct AdditionalInfo {
    union Payload {
        hidl_array<int32_t, 14> data_int32;
        hidl_array<float, 14> data_float;
    };

    AdditionalInfoType type;
    int32_t serial;
    Payload u;
};

union EventPayload {
    Vec3 vec3;
    Vec4 vec4;
    Uncal uncal;
    MetaData meta;
    float scalar;
    uint64_t stepCount;
    HeartRate heartRate;
    hidl_array<float, 15> pose6DOF;
    DynamicSensorInfo dynamic;
    AdditionalInfo additional;
    hidl_array<float, 16> data;  // vendor sensors
};

struct Event {
    int64_t timestamp;  // ns, clock of elapsedRealtimeNano()
    int32_t sensorHandle;
    SensorType sensorType;
    EventPayload u;
};

/// Memory that a client offers for a direct channel.
struct SharedMemInfo {
    SharedMemType type;
    SharedMemFormat format;
    uint32_t size;  // bytes
    hidl_handle memoryHandle;
};

static_assert(sizeof(Vec3) == 16, "Vec3 layout");
static_assert(sizeof(Vec4) == 16, "Vec4 layout");
static_assert(sizeof(Uncal) == 24, "Uncal layout");
static_assert(sizeof(HeartRate) == 8, "HeartRate layout");
static_assert(sizeof(MetaData) == 4, "MetaData layout");
static_assert(sizeof(DynamicSensorInfo) == 24, "DynamicSensorInfo layout");
static_assert(sizeof(AdditionalInfo) == 64, "AdditionalInfo layout");
static_assert(sizeof(EventPayload) == 64, "EventPayload layout");
static_assert(sizeof(Event) == 80 && std::is_trivially_copyable_v<Event>, "Event layout");
static_assert(sizeof(SensorInfo) == 112, "SensorInfo layout");
static_assert(sizeof(SharedMemInfo) == 32, "SharedMemInfo layout");

}  // namespace android::hardware::sensors::V1_0
