// Functions of the platform, defined anew in the program so that they come before the platform's.

#include "tools/subhalctl/PlatformTap.h"

#include <android/log.h>
#include <cutils/properties.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "simulator/NextFunction.h"
#include "tools/subhalctl/hubs/PlatformHooks.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

constexpr size_t kLineSize = 1024;
constexpr char kLetters[] = "??VDIWEFS";  // by level

std::atomic<int> gLevel{ANDROID_LOG_SILENT};

simulator::NextFunction<int(const char*, char*, const char*)> gPropertyGet("property_get");
simulator::NextFunction<int(const char*, const char*)> gPropertySet("property_set");

}  // namespace

void setLogLevel(const std::string& name) {
    const char* letter = std::strchr(kLetters, name[0] - 'a' + 'A');
    gLevel = static_cast<int>(letter - kLetters);
}

}  // namespace subhalctl

namespace android {

int64_t elapsedRealtimeNano() {
    const int64_t now = subhalctl::bootTimeNs();
    subhalctl::PlatformHooks* hooks = subhalctl::gPlatformHooks;
    return hooks != nullptr ? hooks->clock(now) : now;
}

}  // namespace android

extern "C" {

int property_get(const char* key, char* value, const char* defaultValue) {
    char own[PROPERTY_VALUE_MAX];
    subhalctl::gPropertyGet(key, own, "");
    subhalctl::PlatformHooks* hooks = subhalctl::gPlatformHooks;
    std::string text = hooks != nullptr ? hooks->property(key, own) : own;
    if (const subhalctl::PropertySink sink = subhalctl::gPropertySink) sink("getprop", key, text);
    if (text.empty() && defaultValue != nullptr) text = defaultValue;
    const size_t length = std::min<size_t>(text.size(), PROPERTY_VALUE_MAX - 1);
    std::memcpy(value, text.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}

int property_set(const char* key, const char* value) {
    if (const subhalctl::PropertySink sink = subhalctl::gPropertySink) sink("setprop", key, value);
    return subhalctl::gPropertySet(key, value);
}

int __android_log_write(int prio, const char* tag, const char* text) {
    if (prio < subhalctl::gLevel) return 0;
    const char letter = subhalctl::kLetters[std::clamp<int>(prio, 0, ANDROID_LOG_SILENT)];
    std::string shown = text != nullptr ? text : "";
    const bool ends = !shown.empty() && shown.back() == '\n';  // as some of the library's do
    if (ends) shown.pop_back();
    shown = subhalctl::printable(shown) + (ends ? "\n" : "");
    const int64_t now = subhalctl::bootTimeNs();  // the clock of the events' time stamps
    return std::fprintf(stderr, "%6" PRId64 ".%06" PRId64 " %5d %c %s: %s\n", now / 1'000'000'000,
                        now % 1'000'000'000 / 1000, static_cast<int>(syscall(SYS_gettid)), letter,
                        tag == nullptr ? "" : tag, shown.c_str());
}

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap) {
    if (prio < subhalctl::gLevel) return 0;
    char line[subhalctl::kLineSize];
    std::vsnprintf(line, sizeof(line), fmt, ap);
    return __android_log_write(prio, tag, line);
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const int result = __android_log_vprint(prio, tag, fmt, ap);
    va_end(ap);
    return result;
}

void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...) {
    // A last word is worth more than quiet.
    subhalctl::gLevel = ANDROID_LOG_FATAL;
    va_list ap;
    va_start(ap, fmt);
    if (fmt != nullptr) {
        __android_log_vprint(ANDROID_LOG_FATAL, tag, fmt, ap);
    } else {
        __android_log_write(ANDROID_LOG_FATAL, tag, cond != nullptr ? cond : "assertion failed");
    }
    va_end(ap);
    std::abort();
}

}  // extern "C"
