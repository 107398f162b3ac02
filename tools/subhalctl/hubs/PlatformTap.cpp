// Functions of the platform, defined anew in the program so that they come before the platform's.

#include <cutils/properties.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "simulator/NextFunction.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"

namespace android {

int64_t elapsedRealtimeNano() {
    const int64_t now = subhalctl::bootTimeNs();
    subhalctl::PlatformHooks* hooks = subhalctl::gPlatformHooks;
    return hooks != nullptr ? hooks->clock(now) : now;
}

}  // namespace android

namespace {

simulator::NextFunction<int(const char*, char*, const char*)> gPropertyGet("property_get");
simulator::NextFunction<int(const char*, const char*)> gPropertySet("property_set");

}  // namespace

extern "C" int property_get(const char* key, char* value, const char* defaultValue) {
    char own[PROPERTY_VALUE_MAX];
    gPropertyGet(key, own, "");
    subhalctl::PlatformHooks* hooks = subhalctl::gPlatformHooks;
    std::string text = hooks != nullptr ? hooks->property(key, own) : own;
    if (const subhalctl::PropertySink sink = subhalctl::gPropertySink) sink("getprop", key, text);
    if (text.empty() && defaultValue != nullptr) text = defaultValue;
    const size_t length = std::min<size_t>(text.size(), PROPERTY_VALUE_MAX - 1);
    std::memcpy(value, text.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}

extern "C" int property_set(const char* key, const char* value) {
    if (const subhalctl::PropertySink sink = subhalctl::gPropertySink) sink("setprop", key, value);
    return gPropertySet(key, value);
}
