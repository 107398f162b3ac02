#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "common/Log.h"
#include "hub/SensorHubSensor.h"
#include "sensors/HubPaths.h"
#include "sensors/UniqueFd.h"

// Debug dumps of the hub, kept on the data partition.
namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

constexpr int kStateDump = 0;
constexpr int kStateDumpLimit = 2;

constexpr char kStateName[] = "shub_dumpstate";
constexpr char kStampFormat[] = "%Y%m%d_%H%M%S";

bool parseStamp(const char* text, time_t* time) {
    tm local = {};
    local.tm_isdst = -1;
    errno = 0;
    if (strptime(text, kStampFormat, &local) == nullptr) {
        if (errno == 0) errno = EINVAL;
        return false;
    }
    *time = mktime(&local);
    return true;
}

void removeDump(const std::string& name) {
    const std::string path = paths::kDumpDirectory + name;
    ALOGI("SensorHubSensor::deletePrevDump remove %s", path.c_str());
    remove(path.c_str());
}

}  // namespace

void SensorHubSensor::dump(int type, int count) {
    const time_t now = time(nullptr);
    tm local = {};
    if (localtime_r(&now, &local) == nullptr) {
        ALOGE("SensorHubSensor::dump: time conversion error: %s", strerror(errno));
        return;
    }
    char stamp[32] = "";
    if (strftime(stamp, sizeof(stamp), kStampFormat, &local) == 0) {
        ALOGE("SensorHubSensor::dump: time error: %s", strerror(errno));
    }
    char prefix[32];
    if (type == kStateDump) {
        snprintf(prefix, sizeof(prefix), "%s_", kStateName);
    } else {
        snprintf(prefix, sizeof(prefix), "%s_%03d_", paths::kDumpName, type);
    }
    const int limit = type == kStateDump ? kStateDumpLimit : count;
    ALOGI("SensorHubSensor::dump out %s%s, count %d", prefix, stamp, limit);

    deletePrevDump(type, prefix, limit);
    copyFile(paths::kDumpSourceDirectory, paths::kDumpName, paths::kDumpDirectory, prefix, stamp);
    copyFile(paths::kDumpSourceDirectory, paths::kDumpName, paths::kDumpDirectory, paths::kDumpName,
             nullptr);
}

// From a limit of two on, it is the newest of the previous dumps that gives way, not the oldest.
void SensorHubSensor::deletePrevDump(int /*type*/, const char* prefix, int limit) {
    const Directory directory(opendir(paths::kDumpDirectory), closedir);
    if (directory == nullptr) return;
    int count = 0;
    std::string newest;
    time_t newestTime = 0;
    while (const dirent* entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name.compare(0, strlen(prefix), prefix) != 0) continue;
        if (limit == 1) {
            removeDump(name);
            continue;
        }
        const std::string stamp = name.substr(strlen(prefix));
        time_t time = 0;
        if (!parseStamp(stamp.c_str(), &time)) {
            ALOGE("deletePrevDump: str time %s error: %s", stamp.c_str(), strerror(errno));
            continue;
        }
        if (count++ == 0 || time > newestTime) {
            newest = name;
            newestTime = time;
        }
    }
    if (count >= limit && !newest.empty()) removeDump(newest);
}

void SensorHubSensor::copyFile(const char* inDir, const char* inName, const char* outDir,
                               const char* outName, const char* suffix) {
    const std::string in = std::string(inDir) + inName;
    if (in.size() >= PATH_MAX) {
        ALOGE("SensorHubSensor::copyFile: in path error: %s", strerror(ENAMETOOLONG));
        return;
    }
    const std::string out = std::string(outDir) + outName + (suffix != nullptr ? suffix : "");
    if (out.size() >= PATH_MAX) {
        ALOGE("SensorHubSensor::copyFile: out path error: %s", strerror(ENAMETOOLONG));
        return;
    }
    const UniqueFd inFd(open(in.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    // Not truncated: of a longer earlier dump the tail stays.
    const UniqueFd outFd(open(out.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0664));
    if (inFd.get() < 1 || outFd.get() < 1) {
        ALOGE("SensorHubSensor::copyFile: open error: %s, inFd(%d)=%s, outFd(%d)=%s",
              strerror(errno), inFd.get(), in.c_str(), outFd.get(), out.c_str());
        return;
    }
    char chunk[4096];
    ssize_t count = 0;
    while ((count = read(inFd.get(), chunk, sizeof(chunk))) > 0) {
        if (write(outFd.get(), chunk, static_cast<size_t>(count)) < 0) {
            ALOGE("SensorHubSensor::copyFile: write error: %s", strerror(errno));
        }
    }
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
