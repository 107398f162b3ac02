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

}  // namespace simulator
