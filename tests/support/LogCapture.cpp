#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <log/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>

namespace testing_support {

namespace {

std::mutex gLock;
bool gCapturing = false;
std::vector<LogLine> gTaken;  // kept for the report of a failing test
std::vector<LogLine> gLines;
std::function<void()> gObserver;

char levelOf(int priority) {
    switch (priority) {
        case ANDROID_LOG_DEBUG:
            return 'D';
        case ANDROID_LOG_INFO:
            return 'I';
        case ANDROID_LOG_WARN:
            return 'W';
        case ANDROID_LOG_ERROR:
            return 'E';
        default:
            return '?';
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
    return stream << line.level << " \"" << line.text << '"';
}

void record(int priority, const char* tag, const std::string& text) {
    std::function<void()> observer;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        if (!gCapturing || strcmp(tag, "SensorsHub") != 0) return;  // the platform logs, too
        gLines.push_back({levelOf(priority), text});
        observer = gObserver;
    }
    if (observer) observer();
}

LogCapture::LogCapture() {
    const std::lock_guard<std::mutex> lock(gLock);
    gLines.clear();
    gTaken.clear();
    gCapturing = true;
}

LogCapture::~LogCapture() {
    const std::lock_guard<std::mutex> lock(gLock);
    gCapturing = false;
    if (!testing::Test::HasFailure()) return;
    std::cerr << "--- the library's log ---\n";
    for (const auto* part : {&gTaken, &gLines}) {
        for (const LogLine& line : *part)
            std::cerr << line << '\n';
    }
}

std::vector<LogLine> LogCapture::take() {
    const std::lock_guard<std::mutex> lock(gLock);
    gTaken.insert(gTaken.end(), gLines.begin(), gLines.end());
    return std::exchange(gLines, {});
}

std::vector<LogLine> LogCapture::lines() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gLines;
}

int LogCapture::count(const LogLine& line) {
    const std::lock_guard<std::mutex> lock(gLock);
    return static_cast<int>(std::count(gLines.begin(), gLines.end(), line));
}

void LogCapture::setObserver(const std::function<void()>& observer) {
    const std::lock_guard<std::mutex> lock(gLock);
    gObserver = observer;
}

}  // namespace testing_support

// Takes the platform's place: the program's own definition is found before the shared library's.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list measured;
    va_copy(measured, arguments);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    std::string text(static_cast<size_t>(length < 0 ? 0 : length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    text.pop_back();
    testing_support::record(priority, tag, text);
    return length;
}
