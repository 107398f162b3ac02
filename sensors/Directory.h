#pragma once

#include <dirent.h>

#include <memory>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

/** Owns an open directory; null means none. */
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
