#include "sensors/IioNames.h"

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

static std::string readName(const char* prefix, int number) {
    const std::string path = iioDirectory(prefix, number) + paths::kIioName;
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok()) return "";
    char text[256];
    const ssize_t count = read(file.get(), text, sizeof(text) - 1);
    if (count <= 0) return "";
    text[count] = '\0';
    char word[30];
    return sscanf(text, "%29s", word) == 1 ? word : "";
}

std::string iioDirectory(const char* prefix, int number) {
    return std::string(paths::kIioDirectory) + prefix + std::to_string(number) + "/";
}

std::vector<IioDevice> readIioNames(const char* prefix) {
    std::vector<IioDevice> devices;
    const Directory directory(opendir(paths::kIioDirectory), closedir);
    if (directory == nullptr) {
        ALOGE("No industrialio devices available");
        return devices;
    }
    const size_t prefixLength = strlen(prefix);
    while (const dirent* entry = readdir(directory.get())) {
        if (strncmp(entry->d_name, prefix, prefixLength) != 0) continue;
        int number = 0;
        if (sscanf(entry->d_name + prefixLength, "%9d", &number) != 1) continue;
        const std::string name = readName(prefix, number);
        if (!name.empty()) devices.push_back({number, name});
    }
    return devices;
}

int IioNames::find(const std::string& name) {
    if (mDevices.empty()) {
        mDevices = readIioNames(paths::kIioPrefix);
        if (mDevices.empty()) return -ENODEV;
    }
    for (const IioDevice& device : mDevices) {
        if (device.name != name) continue;
        if (readName(paths::kIioPrefix, device.number) == name) return device.number;
        break;
    }
    return SensorBase::findTypeByName(name.c_str(), paths::kIioPrefix);
}

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
