#pragma once

#include <string>

#include "simulator/Request.h"

namespace simulator {

// Parse what is passed to the driver: fill in the fields that can be read, and set `error` if the
// driver refuses the form. Whether the hub has the handle is left to the caller.

/**
 * A write to a node that takes requests of this kind:
 * - kEnable: "%d%d" of handle and 0 or 1, with its NUL
 * - kFlush: "%d" of a handle, with its NUL
 * - kBufferLength, kBufferWatermark: a number in the kernel's form: "600", "+600\n", "600\0"
 * - kBufferEnable: a truth value in the kernel's form, of which the first letters count: "1", "on"
 * - kInjection: a byte 1, a byte with the handle, data
 * - any other: takes none
 */
Request parseWrite(Request::Kind kind, const std::string& bytes);

/** ioctl 0x8008FC00 | handle on the batch device, with a 24-byte record. */
Request parseBatch(unsigned long ioctlNumber, const void* record);

}  // namespace simulator
