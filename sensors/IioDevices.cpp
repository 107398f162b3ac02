#include "sensors/IioDevices.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/Log.h"
#include "sensors/HubPaths.h"
#include "sensors/SensorBase.h"
#include "sensors/UniqueFd.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

namespace {

thread_local IioNamesSeen* tSeen = nullptr;

/** First word of a device's name attribute, of at most 29 characters; empty without one. */
std::string readName(const char* prefix, int number) {
    const std::string path =
        std::string(paths::kIioDirectory) + prefix + std::to_string(number) + "/" + paths::kIioName;
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok()) return "";
    char text[256];
    const ssize_t count = read(file.get(), text, sizeof(text) - 1);
    if (count <= 0) return "";
    text[count] = '\0';
    char word[30];
    return sscanf(text, "%29s", word) == 1 ? word : "";
}

}  // namespace

IioNamesSeen::IioNamesSeen() {
    tSeen = this;
}

IioNamesSeen::~IioNamesSeen() {
    tSeen = nullptr;
}

int SensorBase::findTypeByName(const char* name, const char* prefix) {
    // Only the devices themselves are remembered, not their triggers.
    IioNamesSeen* seen = strcmp(prefix, paths::kIioPrefix) == 0 ? tSeen : nullptr;
    if (seen != nullptr) {
        for (const auto& device : seen->mDevices) {
            if (device.name != name) continue;
            if (readName(prefix, device.number) == name) return device.number;
            break;
        }
    }
    const Directory directory(opendir(paths::kIioDirectory));
    if (directory == nullptr) {
        ALOGE("No industrialio devices available");
        return -ENODEV;
    }
    const bool remember = seen != nullptr && seen->mDevices.empty();
    const size_t prefixLength = strlen(prefix);
    int found = -ENODEV;
    while (const dirent* entry = readdir(directory.get())) {
        if (strlen(entry->d_name) <= prefixLength) continue;
        if (strncmp(entry->d_name, prefix, prefixLength) != 0) continue;
        int number = 0;
        if (sscanf(entry->d_name + prefixLength, "%9d", &number) != 1) continue;
        const std::string seenName = readName(prefix, number);
        if (found < 0 && !seenName.empty() && seenName == name) {
            found = number;
            if (!remember) break;
        }
        if (remember) seen->mDevices.push_back({number, seenName});
    }
    return found;
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
