#include <log/log.h>

#include <cstdarg>
#include <cstdio>

// Formats each line, so that bad arguments show, and drops it.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int, const char*, const char* format, ...) {
    char line[8192];
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    return length;
}
