#include "simulator/HubPaths.h"

#include <cstring>

namespace simulator {
namespace {

constexpr const char* kPrefixes[] = {
    "/sys/class/sensors/", "/sys/bus/iio/devices", "/dev/iio:device", "/dev/batch_io", "/dev/shub_",
    "/dev/hbx_",           "/data/vendor/",
};
constexpr char kRelativePrefix[] = "sys/class/sensors/";

bool startsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

std::string withoutRepeatedSlashes(const char* path) {
    std::string result;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c != '/' || result.empty() || result.back() != '/') result.push_back(*c);
    }
    return result;
}

}  // namespace

std::string hubPath(const char* path) {
    if (path == nullptr) return {};
    if (startsWith(path, kRelativePrefix)) return "/" + withoutRepeatedSlashes(path);
    for (const char* prefix : kPrefixes) {
        if (startsWith(path, prefix)) return withoutRepeatedSlashes(path);
    }
    return {};
}

}  // namespace simulator
