#pragma once

#include <cstdint>
#include <string>

namespace simulator {

/** A request of the library to the hub's driver, accepted or refused. */
struct Request {
    enum class Kind {
        kEnable,           ///< enable file: `handle`, `enable`
        kFlush,            ///< flush file: `handle`
        kBatch,            ///< batch ioctl: `handle`, `periodNs`, `latencyNs`, `flag`
        kBufferLength,     ///< IIO buffer/length: `handle`, `value`
        kBufferWatermark,  ///< IIO buffer/watermark: `handle`, `value`
        kBufferEnable,     ///< IIO buffer/enable: `handle`, `enable`
        kInjection,        ///< data injection device: `handle`, the whole packet in `bytes`
        kWrite,            ///< write to any other node below /sys or /dev: `bytes`
        kIoctl,            ///< any other ioctl on a hub node: its number in `ioctlNumber`
    };

    Kind kind = Kind::kWrite;
    int error = 0;    ///< errno of the refusal, 0 if it was accepted
    int handle = -1;  ///< sensor handle, -1 if there is none or it is unreadable
    int enable = -1;  ///< 0 or 1, -1 if it has no meaning
    uint32_t value = 0;
    int64_t periodNs = 0;
    int64_t latencyNs = 0;
    int32_t flag = 0;
    unsigned long ioctlNumber = 0;
    int access = -1;     ///< O_RDONLY, O_WRONLY or O_RDWR, as the node was opened
    int64_t offset = 0;  ///< position of the attribute's descriptor before the write
    std::string path;    ///< path as the library names it ("/sys/class/sensors/...")
    std::string bytes;   ///< what was written, or the record handed to the ioctl
};

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
