// Thread priority. Also used with the packaged libutils, whose host build has no such call.
#pragma once

#include <sys/types.h>

#include <system/thread_defs.h>

/// Sets the nice value of one thread (0: the caller). Returns 0, or -ENOSYS (the platform's
/// INVALID_OPERATION) with errno set; the host refuses negative values to ordinary users.
extern "C" int androidSetThreadPriority(pid_t tid, int prio);
