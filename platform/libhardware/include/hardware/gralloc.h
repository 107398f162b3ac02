// Graphics buffer allocator, legacy interface.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <cutils/native_handle.h>
#include <hardware/hardware.h>

#define GRALLOC_HARDWARE_MODULE_ID "gralloc"
#define GRALLOC_HARDWARE_GPU0 "gpu0"

extern "C" {

enum {
    GRALLOC_USAGE_SW_READ_NEVER = 0x00000000U,
    GRALLOC_USAGE_SW_READ_RARELY = 0x00000002U,
    GRALLOC_USAGE_SW_READ_OFTEN = 0x00000003U,
    GRALLOC_USAGE_SW_READ_MASK = 0x0000000FU,
    GRALLOC_USAGE_SW_WRITE_NEVER = 0x00000000U,
    GRALLOC_USAGE_SW_WRITE_RARELY = 0x00000020U,
    GRALLOC_USAGE_SW_WRITE_OFTEN = 0x00000030U,
    GRALLOC_USAGE_SW_WRITE_MASK = 0x000000F0U,
};

struct android_ycbcr;

/// Every method returns 0 or a negative errno.
typedef struct gralloc_module_t {
    struct hw_module_t common;
    int (*registerBuffer)(struct gralloc_module_t const* module, buffer_handle_t handle);
    int (*unregisterBuffer)(struct gralloc_module_t const* module, buffer_handle_t handle);
    int (*lock)(struct gralloc_module_t const* module, buffer_handle_t handle, int usage, int l,
                int t, int w, int h, void** vaddr);
    int (*unlock)(struct gralloc_module_t const* module, buffer_handle_t handle);
    int (*perform)(struct gralloc_module_t const* module, int operation, ...);
    int (*lock_ycbcr)(struct gralloc_module_t const* module, buffer_handle_t handle, int usage,
                      int l, int t, int w, int h, struct android_ycbcr* ycbcr);
    int (*lockAsync)(struct gralloc_module_t const* module, buffer_handle_t handle, int usage,
                     int l, int t, int w, int h, void** vaddr, int fenceFd);
    int (*unlockAsync)(struct gralloc_module_t const* module, buffer_handle_t handle, int* fenceFd);
    int (*lockAsync_ycbcr)(struct gralloc_module_t const* module, buffer_handle_t handle, int usage,
                           int l, int t, int w, int h, struct android_ycbcr* ycbcr, int fenceFd);
    int32_t (*getTransportSize)(struct gralloc_module_t const* module, buffer_handle_t handle,
                                uint32_t* outNumFds, uint32_t* outNumInts);
    int32_t (*validateBufferSize)(struct gralloc_module_t const* device, buffer_handle_t handle,
                                  uint32_t w, uint32_t h, int32_t format, int usage,
                                  uint32_t stride);
    void* reserved_proc[1];
} gralloc_module_t;

typedef struct alloc_device_t {
    struct hw_device_t common;
    int (*alloc)(struct alloc_device_t* dev, int w, int h, int format, int usage,
                 buffer_handle_t* handle, int* stride);
    int (*free)(struct alloc_device_t* dev, buffer_handle_t handle);
    void (*dump)(struct alloc_device_t* dev, char* buff, int buff_len);
    void* reserved_proc[7];
} alloc_device_t;

/// Opens the allocator of a legacy module.
static inline int gralloc_open(const struct hw_module_t* module, struct alloc_device_t** device) {
    return module->methods->open(module, GRALLOC_HARDWARE_GPU0,
                                 reinterpret_cast<struct hw_device_t**>(device));
}

static inline int gralloc_close(struct alloc_device_t* device) {
    return device->common.close(&device->common);
}

}  // extern "C"

#ifdef __LP64__
static_assert(sizeof(gralloc_module_t) == 344, "gralloc_module_t layout");
static_assert(sizeof(alloc_device_t) == 200, "alloc_device_t layout");
#endif
