#pragma once

#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace testing_support {

struct HandleDeleter {
    void operator()(native_handle_t* handle) const { native_handle_delete(handle); }
};
using Handle = std::unique_ptr<native_handle_t, HandleDeleter>;

/** A handle with one descriptor, which stays the caller's. */
inline Handle handleOf(int fd) {
    Handle handle(native_handle_create(1, 0));
    handle->data[0] = fd;
    return handle;
}

/** The client's side of a region of direct report records. */
class ClientMemory {
  public:
    explicit ClientMemory(size_t size = 1000)
        : mSize(size), mFd(ashmem_create_region("client", size)) {
        mBase = static_cast<uint8_t*>(mmap(nullptr, size, PROT_READ, MAP_SHARED, mFd, 0));
    }
    ~ClientMemory() {
        munmap(mBase, mSize);
        close(mFd);
    }
    ClientMemory(const ClientMemory&) = delete;
    ClientMemory& operator=(const ClientMemory&) = delete;

    int fd() const { return mFd; }
    /** A descriptor of its own; the library closes it, unseen by a sanitizer (hence not dup). */
    int share() const { return fcntl(mFd, F_DUPFD_CLOEXEC, 0); }
    size_t size() const { return mSize; }

    uint32_t word(size_t slot, size_t offset) const {
        uint32_t value = 0;
        memcpy(&value, mBase + slot * 104 + offset, sizeof(value));
        return value;
    }
    uint32_t sensor(size_t slot) const { return word(slot, 4); }
    uint32_t counter(size_t slot) const { return word(slot, 12); }
    bool isZero() const {
        return std::all_of(mBase, mBase + mSize, [](uint8_t byte) { return byte == 0; });
    }

  private:
    const size_t mSize;
    const int mFd;
    uint8_t* mBase;
};

}  // namespace testing_support
