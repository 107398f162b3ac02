#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

namespace simulator {

/** Handles calls on one node instead of the driver. An empty function leaves the call unchanged. */
struct NodeHandler {
    /** Before the node is opened with `flags`: 0 or the errno of the open. */
    std::function<int(int flags)> onOpen;
    /** Bytes put into `buffer` (0 at the end), or a negative errno. */
    std::function<ssize_t(void* buffer, size_t size)> onRead;
    /** Bytes taken, or a negative errno. */
    std::function<ssize_t(const std::string& bytes)> onWrite;
    /** Non-negative result, or a negative errno. */
    std::function<int(unsigned long request, void* argument)> onIoctl;
};

/** A read of `text` from its beginning. */
inline ssize_t copyText(const std::string& text, void* buffer, size_t size) {
    return static_cast<ssize_t>(text.copy(static_cast<char*>(buffer), size));
}

}  // namespace simulator
