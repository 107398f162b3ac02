#include <cutils/ashmem.h>

#include <fcntl.h>
#include <linux/memfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace {

// A region is a regular file without a name; everything else fails with ENOTTY, as the device's
// ioctl would.
bool statRegion(int fd, struct stat& status) {
    if (fstat(fd, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode) || status.st_nlink != 0) {
        errno = ENOTTY;
        return false;
    }
    return true;
}

}  // namespace

int ashmem_valid(int fd) {
    struct stat status {};
    return statRegion(fd, status) ? 1 : 0;
}

int ashmem_create_region(const char* name, size_t size) {
    // By number: the C library of a platform's host tools has no function for it.
    const int fd = static_cast<int>(syscall(SYS_memfd_create, name == nullptr ? "none" : name,
                                            MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (fd < 0) {
        return -1;
    }
    if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
        const int savedErrno = errno;
        close(fd);
        errno = savedErrno;
        return -1;
    }
    return fd;
}

int ashmem_set_prot_region(int fd, int prot) {
    struct stat status {};
    if (!statRegion(fd, status)) {
        return -1;
    }
    return (prot & PROT_WRITE) != 0 ? 0 : fcntl(fd, F_ADD_SEALS, F_SEAL_FUTURE_WRITE);
}

int ashmem_get_size_region(int fd) {
    struct stat status {};
    return statRegion(fd, status) ? static_cast<int>(status.st_size) : -1;
}
