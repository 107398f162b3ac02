#include <utils/AndroidThreads.h>

#include <sys/resource.h>

#include <cerrno>

int androidSetThreadPriority(pid_t tid, int prio) {
    // On Linux a nice value belongs to one thread, and 0 is the calling one.
    return setpriority(PRIO_PROCESS, static_cast<id_t>(tid), prio) == 0 ? 0 : -ENOSYS;
}
