// The records of the platform's C interface to sensors. Values and layouts are fixed.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <cutils/native_handle.h>
#include <hardware/hardware.h>

// The published records nest unnamed structures in unnamed unions.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wnested-anon-types"
#endif

extern "C" {

enum {
    SENSOR_TYPE_META_DATA = 0,
    SENSOR_TYPE_ACCELEROMETER = 1,
    SENSOR_TYPE_MAGNETIC_FIELD = 2,
    SENSOR_TYPE_ORIENTATION = 3,
    SENSOR_TYPE_GYROSCOPE = 4,
    SENSOR_TYPE_LIGHT = 5,
    SENSOR_TYPE_PRESSURE = 6,
    SENSOR_TYPE_TEMPERATURE = 7,
    SENSOR_TYPE_PROXIMITY = 8,
    SENSOR_TYPE_GRAVITY = 9,
    SENSOR_TYPE_LINEAR_ACCELERATION = 10,
    SENSOR_TYPE_ROTATION_VECTOR = 11,
    SENSOR_TYPE_RELATIVE_HUMIDITY = 12,
    SENSOR_TYPE_AMBIENT_TEMPERATURE = 13,
    SENSOR_TYPE_MAGNETIC_FIELD_UNCALIBRATED = 14,
    SENSOR_TYPE_GAME_ROTATION_VECTOR = 15,
    SENSOR_TYPE_GYROSCOPE_UNCALIBRATED = 16,
    SENSOR_TYPE_SIGNIFICANT_MOTION = 17,
    SENSOR_TYPE_STEP_DETECTOR = 18,
    SENSOR_TYPE_STEP_COUNTER = 19,
    SENSOR_TYPE_GEOMAGNETIC_ROTATION_VECTOR = 20,
    SENSOR_TYPE_HEART_RATE = 21,
    SENSOR_TYPE_TILT_DETECTOR = 22,
    SENSOR_TYPE_WAKE_GESTURE = 23,
    SENSOR_TYPE_GLANCE_GESTURE = 24,
    SENSOR_TYPE_PICK_UP_GESTURE = 25,
    SENSOR_TYPE_WRIST_TILT_GESTURE = 26,
    SENSOR_TYPE_DEVICE_ORIENTATION = 27,
    SENSOR_TYPE_POSE_6DOF = 28,
    SENSOR_TYPE_STATIONARY_DETECT = 29,
    SENSOR_TYPE_MOTION_DETECT = 30,
    SENSOR_TYPE_HEART_BEAT = 31,
    SENSOR_TYPE_DYNAMIC_SENSOR_META = 32,
    SENSOR_TYPE_ADDITIONAL_INFO = 33,
    SENSOR_TYPE_LOW_LATENCY_OFFBODY_DETECT = 34,
    SENSOR_TYPE_ACCELEROMETER_UNCALIBRATED = 35,
    SENSOR_TYPE_DEVICE_PRIVATE_BASE = 0x10000,
};

enum {
    SENSOR_FLAG_WAKE_UP = 0x1U,
    SENSOR_FLAG_CONTINUOUS_MODE = 0x0U,
    SENSOR_FLAG_ON_CHANGE_MODE = 0x2U,
    SENSOR_FLAG_ONE_SHOT_MODE = 0x4U,
    SENSOR_FLAG_SPECIAL_REPORTING_MODE = 0x6U,
    SENSOR_FLAG_DATA_INJECTION = 0x10U,
    SENSOR_FLAG_DYNAMIC_SENSOR = 0x20U,
    SENSOR_FLAG_ADDITIONAL_INFO = 0x40U,
    SENSOR_FLAG_DIRECT_CHANNEL_ASHMEM = 0x400U,
    SENSOR_FLAG_DIRECT_CHANNEL_GRALLOC = 0x800U,
    SENSOR_FLAG_MASK_REPORTING_MODE = 0xEU,
    SENSOR_FLAG_MASK_DIRECT_REPORT = 0x380U,
    SENSOR_FLAG_MASK_DIRECT_CHANNEL = 0xC00U,
};

enum {
    SENSOR_STATUS_NO_CONTACT = -1,
    SENSOR_STATUS_UNRELIABLE = 0,
    SENSOR_STATUS_ACCURACY_LOW = 1,
    SENSOR_STATUS_ACCURACY_MEDIUM = 2,
    SENSOR_STATUS_ACCURACY_HIGH = 3,
};

enum {
    SENSOR_DIRECT_RATE_STOP = 0,
    SENSOR_DIRECT_RATE_NORMAL = 1,
    SENSOR_DIRECT_RATE_FAST = 2,
    SENSOR_DIRECT_RATE_VERY_FAST = 3,
};

enum {
    SENSOR_DIRECT_MEM_TYPE_ASHMEM = 1,
    SENSOR_DIRECT_MEM_TYPE_GRALLOC = 2,
};

enum {
    SENSOR_DIRECT_FMT_SENSORS_EVENT = 1,
};

enum {
    META_DATA_FLUSH_COMPLETE = 1,
};

typedef struct {
    union {
        float v[3];
        __extension__ struct {
            float x;
            float y;
            float z;
        };
        __extension__ struct {
            float azimuth;
            float pitch;
            float roll;
        };
    };
    int8_t status;  // SENSOR_STATUS_*
    uint8_t reserved[3];
} sensors_vec_t;

typedef struct {
    union {
        float uncalib[3];
        __extension__ struct {
            float x_uncalib;
            float y_uncalib;
            float z_uncalib;
        };
    };
    union {
        float bias[3];
        __extension__ struct {
            float x_bias;
            float y_bias;
            float z_bias;
        };
    };
} uncalibrated_event_t;

typedef struct meta_data_event {
    int32_t what;    // META_DATA_FLUSH_COMPLETE
    int32_t sensor;  // handle of the sensor meant
} meta_data_event_t;

typedef struct dynamic_sensor_meta_event {
    int32_t connected;
    int32_t handle;
    const struct sensor_t* sensor;  // null unless connected
    uint8_t uuid[16];
} dynamic_sensor_meta_event_t;

typedef struct heart_rate_event_t {
    float bpm;
    int8_t status;  // SENSOR_STATUS_*
} heart_rate_event_t;

typedef struct additional_info_event {
    int32_t type;
    int32_t serial;
    union {
        int32_t data_int32[14];
        float data_float[14];
    };
} additional_info_event_t;

/// One event; also the record of a direct channel's memory.
typedef struct sensors_event_t {
    int32_t version;  // sizeof(sensors_event_t)
    int32_t sensor;   // handle
    int32_t type;     // SENSOR_TYPE_*
    int32_t reserved0;
    int64_t timestamp;  // ns, clock of elapsedRealtimeNano()
    union {
        union {
            float data[16];
            sensors_vec_t acceleration;  // m/s^2
            sensors_vec_t magnetic;      // uT
            sensors_vec_t orientation;   // degrees
            sensors_vec_t gyro;          // rad/s
            float temperature;           // degrees Celsius
            float distance;              // cm
            float light;                 // lux
            float pressure;              // hPa
            float relative_humidity;     // percent
            uncalibrated_event_t uncalibrated_gyro;
            uncalibrated_event_t uncalibrated_magnetic;
            uncalibrated_event_t uncalibrated_accelerometer;
            heart_rate_event_t heart_rate;
            meta_data_event_t meta_data;
            dynamic_sensor_meta_event_t dynamic_sensor_meta;
            additional_info_event_t additional_info;
        };
        union {
            uint64_t data[8];
            uint64_t step_counter;
        } u64;
    };
    uint32_t flags;
    uint32_t reserved1[3];
} sensors_event_t;

/// What a sensor is. The strings belong to whoever made the record.
struct sensor_t {
    const char* name;
    const char* vendor;
    int version;
    int handle;
    int type;
    float maxRange;
    float resolution;
    float power;       // mA
    int32_t minDelay;  // us; 0: on change, -1: one-shot
    uint32_t fifoReservedEventCount;
    uint32_t fifoMaxEventCount;
    const char* stringType;
    const char* requiredPermission;
#ifdef __LP64__
    int64_t maxDelay;  // us
    uint64_t flags;    // SENSOR_FLAG_*
#else
    int32_t maxDelay;
    uint32_t flags;
#endif
    void* reserved[2];
};

/// Memory of a direct channel; the handle stays its owner's.
struct sensors_direct_mem_t {
    int type;    // SENSOR_DIRECT_MEM_TYPE_*
    int format;  // SENSOR_DIRECT_FMT_*
    size_t size;
    const native_handle_t* handle;
};

}  // extern "C"

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

static_assert(sizeof(sensors_vec_t) == 16, "sensors_vec_t layout");
static_assert(sizeof(uncalibrated_event_t) == 24, "uncalibrated_event_t layout");
static_assert(sizeof(additional_info_event_t) == 64, "additional_info_event_t layout");
static_assert(sizeof(sensors_event_t) == 104, "sensors_event_t layout");
static_assert(offsetof(sensors_event_t, data) == 24, "sensors_event_t payload");
static_assert(offsetof(sensors_event_t, flags) == 88, "sensors_event_t flags");
#ifdef __LP64__
static_assert(sizeof(dynamic_sensor_meta_event_t) == 32, "dynamic_sensor_meta_event_t layout");
static_assert(sizeof(sensor_t) == 104, "sensor_t layout");
static_assert(sizeof(sensors_direct_mem_t) == 24, "sensors_direct_mem_t layout");
#endif
