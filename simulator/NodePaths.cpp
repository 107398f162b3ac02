#include "simulator/NodePaths.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace simulator {
namespace {

constexpr const char* kPrefixes[] = {
    "/sys/class/sensors/", "/sys/bus/iio/devices", "/dev/iio:device", "/dev/batch_io", "/dev/shub_",
    "/dev/hbx_",           "/data/vendor/",
};
constexpr char kRelativePrefix[] = "sys/class/sensors/";

constexpr const char* kReadOnly[] = {
    kSpecPath, kDumpPath, kContextListPath, kRearDataPath, "/name", "/data_available",
};
constexpr const char* kWriteOnly[] = {kFlushPath, kRearEnablePath};

std::string withoutRepeatedSlashes(const char* path) {
    std::string result = path;
    const auto areSlashes = [](char a, char b) { return a == '/' && b == '/'; };
    result.erase(std::unique(result.begin(), result.end(), areSlashes), result.end());
    return result;
}

}  // namespace

bool isAttribute(const std::string& path) {
    return path.rfind("/sys/", 0) == 0;
}

bool isKernelNode(const std::string& path) {
    return isAttribute(path) || path.rfind("/dev/", 0) == 0;
}

mode_t attributeMode(const std::string& path) {
    const auto ends = [&path](const std::string& ending) {
        return path.size() >= ending.size() &&
               path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
    };
    if (std::any_of(std::begin(kReadOnly), std::end(kReadOnly), ends)) return 0444;
    return std::any_of(std::begin(kWriteOnly), std::end(kWriteOnly), ends) ? 0200 : 0644;
}

std::string hubPath(const char* path) {
    if (path == nullptr) return {};
    const auto begins = [path](const char* prefix) {
        return std::strncmp(path, prefix, std::strlen(prefix)) == 0;
    };
    if (begins(kRelativePrefix)) return "/" + withoutRepeatedSlashes(path);
    if (std::none_of(std::begin(kPrefixes), std::end(kPrefixes), begins)) return {};
    return withoutRepeatedSlashes(path);
}

}  // namespace simulator
