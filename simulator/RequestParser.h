#pragma once

#include <string>

#include "simulator/Request.h"

namespace simulator {

/**
 * Parse what is written to the driver. Each function fills in the fields that it can read and sets
 * `error` if the driver refuses the form. Whether the hub has the handle is left to the caller.
 */

/** "%d%d" of handle and 0 or 1, with its NUL. */
Request parseEnable(const std::string& bytes);

/** "%d" of a handle, with its NUL. */
Request parseFlush(const std::string& bytes);

/** ioctl 0x8008FC00 | handle on the batch device, with a 24-byte record. */
Request parseBatch(unsigned long ioctlNumber, const void* record);

/** A number in the kernel's form: "600", "+600\n", "600\0". */
Request parseBufferLength(const std::string& bytes);
Request parseBufferWatermark(const std::string& bytes);

/** A truth value in the kernel's form, of which the first letters count: "1", "y", "on". */
Request parseBufferEnable(const std::string& bytes);

/** A byte 1, a byte with the handle, data. */
Request parseInjection(const std::string& bytes);

/** A write to a node that takes none. */
Request parseRefused(const std::string& bytes);

}  // namespace simulator
