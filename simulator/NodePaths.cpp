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

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

template <typename Paths>
bool endsWithOneOf(const std::string& path, const Paths& endings) {
    return std::any_of(std::begin(endings), std::end(endings),
                       [&](const char* ending) { return endsWith(path, ending); });
}

std::string withoutRepeatedSlashes(const char* path) {
    std::string result;
    for (const char* c = path; *c != '\0'; ++c) {
        if (*c != '/' || result.empty() || result.back() != '/') result.push_back(*c);
    }
    return result;
}

}  // namespace

std::string recordDevicePath(int number) {
    return "/dev/iio:device" + std::to_string(number);
}

std::string iioAttributePath(int number, const std::string& attribute) {
    return kIioDirectory + ("iio:device" + std::to_string(number)) + "/" + attribute;
}

bool isAttribute(const std::string& path) {
    return startsWith(path, "/sys/");
}

bool isKernelNode(const std::string& path) {
    return isAttribute(path) || startsWith(path, "/dev/");
}

mode_t attributeMode(const std::string& path) {
    if (endsWithOneOf(path, kReadOnly)) return 0444;
    return endsWithOneOf(path, kWriteOnly) ? 0200 : 0644;
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
