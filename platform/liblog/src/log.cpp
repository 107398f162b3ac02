#include <android/log.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kLineSize = 1024;
constexpr char kLetters[] = "??VDIWEFS";

char letterOf(int prio) {
    return prio >= 0 && prio <= ANDROID_LOG_SILENT ? kLetters[prio] : '?';
}

// ANDROID_LOG_TAGS=*:W keeps warnings and above; filters by tag are not understood.
int minimumPriority() {
    const char* const filter = getenv("ANDROID_LOG_TAGS");
    if (filter == nullptr || strncmp(filter, "*:", 2) != 0 || filter[2] == '\0') {
        return ANDROID_LOG_VERBOSE;
    }
    const char* const letter = strchr(kLetters + ANDROID_LOG_VERBOSE, filter[2]);
    return letter == nullptr ? ANDROID_LOG_VERBOSE : static_cast<int>(letter - kLetters);
}

}  // namespace

int __android_log_write(int prio, const char* tag, const char* text) {
    static const int minimum = minimumPriority();
    if (prio < minimum) {
        return 0;
    }
    return fprintf(stderr, "%c %s: %s\n", letterOf(prio), tag == nullptr ? "" : tag, text);
}

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap) {
    char line[kLineSize];
    vsnprintf(line, sizeof(line), fmt, ap);
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
    if (fmt != nullptr) {
        va_list ap;
        va_start(ap, fmt);
        __android_log_vprint(ANDROID_LOG_FATAL, tag, fmt, ap);
        va_end(ap);
    } else if (cond != nullptr) {
        __android_log_print(ANDROID_LOG_FATAL, tag, "Assertion failed: %s", cond);
    } else {
        __android_log_write(ANDROID_LOG_FATAL, tag, "Unspecified assertion failed");
    }
    abort();
}
