#pragma once

#include <set>
#include <string>

#include "simulator/Request.h"

namespace simulator {

/**
 * The driver's reading of what is written to it. Each function returns the request with its fields
 * filled as far as they could be told, and `error` set when the driver refuses it. `handles` are
 * the sensors that the hub has.
 */

/** "%d%d" of handle and 0 or 1, with its NUL. */
Request parseEnable(const std::string& bytes, const std::set<int>& handles);

/** "%d" of a handle, with its NUL. */
Request parseFlush(const std::string& bytes, const std::set<int>& handles);

/** ioctl 0x8008FC00 | handle on the batch device, with a 24-byte record. */
Request parseBatch(unsigned long ioctlNumber, const void* record, const std::set<int>& handles);

/** A buffer's length or watermark as the kernel reads numbers: "600", "+600\n", "600\0". */
Request parseBufferNumber(Request::Kind kind, const std::string& bytes);

/** A truth value as the kernel reads it: by its first letters, as in "1", "y", "on". */
Request parseBufferEnable(const std::string& bytes);

/** Byte 0 is 1, byte 1 a handle, data behind them. */
Request parseInjection(const std::string& bytes, const std::set<int>& handles);

}  // namespace simulator
