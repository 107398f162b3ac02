// The application's event record, of the same layout as sensors_event_t.
#pragma once

#include <stddef.h>
#include <stdint.h>

// The published records nest unnamed structures in unnamed unions.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wnested-anon-types"
#endif

extern "C" {

typedef struct ASensorVector {
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
    int8_t status;
    uint8_t reserved[3];
} ASensorVector;

typedef struct AMetaDataEvent {
    int32_t what;
    int32_t sensor;
} AMetaDataEvent;

typedef struct AUncalibratedEvent {
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
} AUncalibratedEvent;

typedef struct AHeartRateEvent {
    float bpm;
    int8_t status;
} AHeartRateEvent;

typedef struct ADynamicSensorEvent {
    int32_t connected;
    int32_t handle;
} ADynamicSensorEvent;

typedef struct AAdditionalInfoEvent {
    int32_t type;
    int32_t serial;
    union {
        int32_t data_int32[14];
        float data_float[14];
    };
} AAdditionalInfoEvent;

typedef struct ASensorEvent {
    int32_t version;  // sizeof(ASensorEvent)
    int32_t sensor;
    int32_t type;
    int32_t reserved0;
    int64_t timestamp;  // ns
    union {
        union {
            float data[16];
            ASensorVector vector;
            ASensorVector acceleration;
            ASensorVector magnetic;
            float temperature;
            float distance;
            float light;
            float pressure;
            float relative_humidity;
            AUncalibratedEvent uncalibrated_gyro;
            AUncalibratedEvent uncalibrated_magnetic;
            AMetaDataEvent meta_data;
            AHeartRateEvent heart_rate;
            ADynamicSensorEvent dynamic_sensor_meta;
            AAdditionalInfoEvent additional_info;
        };
        union {
            uint64_t data[8];
            uint64_t step_counter;
        } u64;
    };
    uint32_t flags;
    int32_t reserved1[3];
} ASensorEvent;

}  // extern "C"

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

static_assert(sizeof(ASensorVector) == 16, "ASensorVector layout");
static_assert(sizeof(ASensorEvent) == 104, "ASensorEvent layout");
static_assert(offsetof(ASensorEvent, data) == 24, "ASensorEvent payload");
