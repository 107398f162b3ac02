#include <cutils/native_handle.h>

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kMaxCount = 1024;  // of descriptors, and of integers

bool validCounts(int numFds, int numInts) {
    return numFds >= 0 && numFds <= kMaxCount && numInts >= 0 && numInts <= kMaxCount;
}

bool validVersion(const native_handle_t& handle) {
    return handle.version == static_cast<int>(sizeof(native_handle_t));
}

void closeFirst(const native_handle_t& handle, int count) {
    const int savedErrno = errno;
    for (int i = 0; i < count; ++i) {
        close(handle.data[i]);
    }
    errno = savedErrno;
}

}  // namespace

native_handle_t* native_handle_init(char* storage, int numFds, int numInts) {
    if (!validCounts(numFds, numInts) ||
        reinterpret_cast<uintptr_t>(storage) % alignof(native_handle_t) != 0) {
        errno = EINVAL;
        return nullptr;
    }
    auto* const handle = reinterpret_cast<native_handle_t*>(storage);
    handle->version = sizeof(native_handle_t);
    handle->numFds = numFds;
    handle->numInts = numInts;
    return handle;
}

native_handle_t* native_handle_create(int numFds, int numInts) {
    if (!validCounts(numFds, numInts)) {
        errno = EINVAL;
        return nullptr;
    }
    const size_t count = static_cast<size_t>(numFds) + static_cast<size_t>(numInts);
    void* const storage = malloc(sizeof(native_handle_t) + count * sizeof(int));
    if (storage == nullptr) {
        return nullptr;
    }
    return native_handle_init(static_cast<char*>(storage), numFds, numInts);
}

native_handle_t* native_handle_clone(const native_handle_t* handle) {
    native_handle_t* const clone = native_handle_create(handle->numFds, handle->numInts);
    if (clone == nullptr) {
        return nullptr;
    }
    for (int i = 0; i < handle->numFds; ++i) {
        clone->data[i] = dup(handle->data[i]);
        if (clone->data[i] < 0) {
            closeFirst(*clone, i);
            free(clone);
            return nullptr;
        }
    }
    memcpy(&clone->data[handle->numFds], &handle->data[handle->numFds],
           static_cast<size_t>(handle->numInts) * sizeof(int));
    return clone;
}

int native_handle_close(const native_handle_t* handle) {
    if (!validVersion(*handle)) {
        return -EINVAL;
    }
    closeFirst(*handle, handle->numFds);
    return 0;
}

int native_handle_delete(native_handle_t* handle) {
    if (handle == nullptr) {
        return 0;
    }
    if (!validVersion(*handle)) {
        return -EINVAL;
    }
    free(handle);
    return 0;
}
