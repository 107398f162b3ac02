#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

namespace simulator {

/** Answers calls on one node in the driver's place. A function left empty leaves the call alone. */
struct NodeHandler {
    /** Before the node is opened with `flags`: 0 to let it pass, else the errno of the open. */
    std::function<int(int flags)> onOpen;
    /** Bytes put into `buffer` (0 at the end), or a negative errno. */
    std::function<ssize_t(void* buffer, size_t size)> onRead;
    /** Bytes taken, or a negative errno. */
    std::function<ssize_t(const std::string& bytes)> onWrite;
    /** Non-negative result, or a negative errno. */
    std::function<int(unsigned long request, void* argument)> onIoctl;
};

}  // namespace simulator
