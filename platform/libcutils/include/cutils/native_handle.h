// A bundle of file descriptors and integers, the platform's way to pass buffers around.
#pragma once

extern "C" {

/// One allocation: the record, then numFds descriptors, then numInts integers.
typedef struct native_handle {
    int version;  // sizeof(native_handle_t)
    int numFds;
    int numInts;
    __extension__ int data[0];
} native_handle_t;

typedef const native_handle_t* buffer_handle_t;

/// Initialises a handle in the caller's storage; null (EINVAL) for counts below 0 or above 1024.
native_handle_t* native_handle_init(char* storage, int numFds, int numInts);

/// Allocates a handle whose descriptors and integers the caller fills in; null on failure.
native_handle_t* native_handle_create(int numFds, int numInts);

/// A copy with duplicated descriptors (close and delete it), or null with nothing left open.
native_handle_t* native_handle_clone(const native_handle_t* handle);

/// Closes the descriptors, keeps the handle. 0, or -EINVAL for a handle of another version.
int native_handle_close(const native_handle_t* handle);

/// Frees the handle, keeps the descriptors. 0 (also for null), or -EINVAL as above.
int native_handle_delete(native_handle_t* handle);

}  // extern "C"

static_assert(sizeof(native_handle_t) == 12, "native_handle_t layout");
