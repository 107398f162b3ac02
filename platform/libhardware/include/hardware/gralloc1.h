// Graphics buffer allocator, version 1: a device that hands out its functions one by one.
#pragma once

#include <stdint.h>

#include <cutils/native_handle.h>
#include <hardware/hardware.h>

#define GRALLOC_HARDWARE_MODULE_ID "gralloc"
#define GRALLOC_MODULE_API_VERSION_1_0 HARDWARE_MAKE_API_VERSION(1, 0)

extern "C" {

typedef enum {
    GRALLOC1_CAPABILITY_INVALID = 0,
    GRALLOC1_CAPABILITY_TEST_ALLOCATE = 1,
    GRALLOC1_CAPABILITY_LAYERED_BUFFERS = 2,
    GRALLOC1_CAPABILITY_RELEASE_IMPLY_DELETE = 3,  // release also closes and deletes the handle
} gralloc1_capability_t;

typedef enum {
    GRALLOC1_ERROR_NONE = 0,
    GRALLOC1_ERROR_BAD_DESCRIPTOR = 1,
    GRALLOC1_ERROR_BAD_HANDLE = 2,
    GRALLOC1_ERROR_BAD_VALUE = 3,
    GRALLOC1_ERROR_NOT_SHARED = 4,
    GRALLOC1_ERROR_NO_RESOURCES = 5,
    GRALLOC1_ERROR_UNDEFINED = 6,
    GRALLOC1_ERROR_UNSUPPORTED = 7,
} gralloc1_error_t;

typedef enum {
    GRALLOC1_FUNCTION_INVALID = 0,
    GRALLOC1_FUNCTION_GET_BACKING_STORE = 8,
    GRALLOC1_FUNCTION_RETAIN = 15,
    GRALLOC1_FUNCTION_RELEASE = 16,
    GRALLOC1_FUNCTION_LOCK = 18,
    GRALLOC1_FUNCTION_UNLOCK = 20,
} gralloc1_function_descriptor_t;

typedef enum {
    GRALLOC1_PRODUCER_USAGE_NONE = 0,
    GRALLOC1_PRODUCER_USAGE_CPU_READ = 1 << 1,
    GRALLOC1_PRODUCER_USAGE_CPU_READ_OFTEN = (1 << 2) | GRALLOC1_PRODUCER_USAGE_CPU_READ,
    GRALLOC1_PRODUCER_USAGE_CPU_WRITE = 1 << 5,
    GRALLOC1_PRODUCER_USAGE_CPU_WRITE_OFTEN = (1 << 6) | GRALLOC1_PRODUCER_USAGE_CPU_WRITE,
    GRALLOC1_PRODUCER_USAGE_SENSOR_DIRECT_DATA = 1 << 23,
} gralloc1_producer_usage_t;

typedef enum {
    GRALLOC1_CONSUMER_USAGE_NONE = 0,
    GRALLOC1_CONSUMER_USAGE_CPU_READ = 1 << 1,
    GRALLOC1_CONSUMER_USAGE_CPU_READ_OFTEN = (1 << 2) | GRALLOC1_CONSUMER_USAGE_CPU_READ,
} gralloc1_consumer_usage_t;

/// Identifies a buffer's memory: equal for two handles to the same memory.
typedef uint64_t gralloc1_backing_store_t;

typedef struct gralloc1_rect {
    int32_t left;
    int32_t top;
    int32_t width;
    int32_t height;
} gralloc1_rect_t;

typedef void (*gralloc1_function_pointer_t)();

typedef struct gralloc1_device {
    struct hw_device_t common;
    /// Stores the number of capabilities; with an array, at most as many as *outCount said.
    void (*getCapabilities)(struct gralloc1_device* device, uint32_t* outCount,
                            int32_t* outCapabilities);
    /// Null when the device has no such function.
    gralloc1_function_pointer_t (*getFunction)(struct gralloc1_device* device, int32_t descriptor);
} gralloc1_device_t;

// All return a gralloc1_error_t. A fence of -1 means none.
typedef int32_t (*GRALLOC1_PFN_GET_BACKING_STORE)(gralloc1_device_t* device, buffer_handle_t buffer,
                                                  gralloc1_backing_store_t* outStore);
typedef int32_t (*GRALLOC1_PFN_RETAIN)(gralloc1_device_t* device, buffer_handle_t buffer);
typedef int32_t (*GRALLOC1_PFN_RELEASE)(gralloc1_device_t* device, buffer_handle_t buffer);
typedef int32_t (*GRALLOC1_PFN_LOCK)(gralloc1_device_t* device, buffer_handle_t buffer,
                                     uint64_t producerUsage, uint64_t consumerUsage,
                                     const gralloc1_rect_t* accessRegion, void** outData,
                                     int32_t acquireFence);
typedef int32_t (*GRALLOC1_PFN_UNLOCK)(gralloc1_device_t* device, buffer_handle_t buffer,
                                       int32_t* outReleaseFence);

static inline int gralloc1_open(const struct hw_module_t* module, gralloc1_device_t** device) {
    return module->methods->open(module, GRALLOC_HARDWARE_MODULE_ID,
                                 reinterpret_cast<struct hw_device_t**>(device));
}

static inline int gralloc1_close(gralloc1_device_t* device) {
    return device->common.close(&device->common);
}

}  // extern "C"

static_assert(GRALLOC1_PRODUCER_USAGE_CPU_WRITE_OFTEN == 0x60, "producer usage");
#ifdef __LP64__
static_assert(sizeof(gralloc1_device_t) == 136, "gralloc1_device_t layout");
#endif
