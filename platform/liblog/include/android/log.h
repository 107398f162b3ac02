// The platform log's functions and priorities.
#pragma once

#include <stdarg.h>

extern "C" {

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

/// Writes one line of finished text. Any thread; never blocks on a lock of the caller's.
int __android_log_write(int prio, const char* tag, const char* text);

/// Formats and writes one line; text beyond 1023 bytes is cut.
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap)
    __attribute__((format(printf, 3, 0)));

/// Logs at fatal priority and ends the process. Without a format, logs the condition's text.
[[noreturn]] void __android_log_assert(const char* cond, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

}  // extern "C"
