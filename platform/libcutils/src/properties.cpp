#include <cutils/properties.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace {

struct Properties {
    std::mutex lock;
    std::map<std::string, std::string> values;  // guarded by lock
};

// Never destroyed: threads may still ask while the process exits.
Properties& properties() {
    static Properties& instance = *new Properties;
    return instance;
}

}  // namespace

int property_get(const char* key, char* value, const char* default_value) {
    std::string found;
    {
        Properties& all = properties();
        const std::lock_guard<std::mutex> guard(all.lock);
        const auto entry = all.values.find(key);
        if (entry != all.values.end()) {
            found = entry->second;
        }
    }
    if (found.empty() && default_value != nullptr) {
        found = default_value;
    }
    const size_t length = std::min<size_t>(found.size(), PROPERTY_VALUE_MAX - 1);
    memcpy(value, found.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}

int property_set(const char* key, const char* value) {
    const std::string text = value == nullptr ? "" : value;
    if (key == nullptr || key[0] == '\0' || text.size() >= PROPERTY_VALUE_MAX) {
        return -EINVAL;
    }
    Properties& all = properties();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.values[key] = text;
    return 0;
}
