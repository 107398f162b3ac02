// Functions of the platform, defined anew in the program so that they come before the platform's.

#include <cutils/properties.h>
#include <dlfcn.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "tools/subhalctl/hubs/PlatformHooks.h"

namespace android {

int64_t elapsedRealtimeNano() {
    const int64_t now = subhalctl::bootTimeNs();
    subhalctl::PlatformHooks* hooks = subhalctl::platformHooks();
    return hooks != nullptr ? hooks->clock(now) : now;
}

}  // namespace android

extern "C" int property_get(const char* key, char* value, const char* defaultValue) {
    subhalctl::PlatformHooks* hooks = subhalctl::platformHooks();
    const auto own = hooks != nullptr ? hooks->property(key) : std::nullopt;
    if (own) {
        const std::string text = !own->empty() || defaultValue == nullptr ? *own : defaultValue;
        const size_t length = std::min<size_t>(text.size(), PROPERTY_VALUE_MAX - 1);
        std::memcpy(value, text.data(), length);
        value[length] = '\0';
        return static_cast<int>(length);
    }
    using Function = int(const char*, char*, const char*);
    static auto* const next = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "property_get"));
    const int length = next(key, value, "");
    if (hooks != nullptr) hooks->propertyWasRead(key, value);
    if (length > 0 || defaultValue == nullptr) return length;
    std::strncpy(value, defaultValue, PROPERTY_VALUE_MAX - 1);
    value[PROPERTY_VALUE_MAX - 1] = '\0';
    return static_cast<int>(std::strlen(value));
}
