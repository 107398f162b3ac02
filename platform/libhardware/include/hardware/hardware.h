// Loadable hardware modules and the devices that they open.
#pragma once

#include <stdint.h>

#include <cutils/native_handle.h>

#define MAKE_TAG_CONSTANT(A, B, C, D) (((A) << 24) | ((B) << 16) | ((C) << 8) | (D))
#define HARDWARE_MODULE_TAG MAKE_TAG_CONSTANT('H', 'W', 'M', 'T')
#define HARDWARE_DEVICE_TAG MAKE_TAG_CONSTANT('H', 'W', 'D', 'T')

/// Major number in the high byte, minor in the low one.
#define HARDWARE_MAKE_API_VERSION(maj, min) ((((maj)&0xff) << 8) | ((min)&0xff))
#define HARDWARE_HAL_API_VERSION HARDWARE_MAKE_API_VERSION(1, 0)

extern "C" {

struct hw_module_t;
struct hw_device_t;

typedef struct hw_module_methods_t {
    /// 0 and a device to be closed by its close method, or a negative errno.
    int (*open)(const struct hw_module_t* module, const char* id, struct hw_device_t** device);
} hw_module_methods_t;

typedef struct hw_module_t {
    uint32_t tag;  // HARDWARE_MODULE_TAG
    uint16_t module_api_version;
    uint16_t hal_api_version;
    const char* id;
    const char* name;
    const char* author;
    struct hw_module_methods_t* methods;
    void* dso;
#ifdef __LP64__
    uint64_t reserved[32 - 7];
#else
    uint32_t reserved[32 - 7];
#endif
} hw_module_t;

typedef struct hw_device_t {
    uint32_t tag;  // HARDWARE_DEVICE_TAG
    uint32_t version;
    struct hw_module_t* module;
#ifdef __LP64__
    uint64_t reserved[12];
#else
    uint32_t reserved[12];
#endif
    int (*close)(struct hw_device_t* device);
} hw_device_t;

/// 0 and the module, which stays loaded, or a negative errno (-ENOENT: no such module).
int hw_get_module(const char* id, const struct hw_module_t** module);

}  // extern "C"

#ifdef __LP64__
static_assert(sizeof(hw_module_t) == 248, "hw_module_t layout");
static_assert(sizeof(hw_device_t) == 120, "hw_device_t layout");
#endif
