#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>
#include <log/log.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>

namespace testing_support {

namespace {

constexpr ptrdiff_t kKept = 300;

std::mutex gLock;
bool gCapturing = false;
std::vector<LogLine> gTaken;  // kept for the report of a failing test
std::vector<LogLine> gLines;
std::function<void()> gObserver;

}  // namespace

std::ostream& operator<<(std::ostream& stream, const LogLine& line) {
    return stream << line.level << " \"" << line.text << '"';
}

void record(int priority, const char* tag, const std::string& text) {
    std::function<void()> observer;
    {
        const std::lock_guard<std::mutex> lock(gLock);
        if (!gCapturing || strcmp(tag, "SensorsHub") != 0) return;  // the platform logs, too
        const auto level = std::string("??VDIWEFS").at(static_cast<size_t>(priority));
        gLines.push_back({level, text});
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
    if (gTaken.size() > size_t{kKept}) gTaken.erase(gTaken.begin(), gTaken.end() - kKept);
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
    char* text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    va_end(arguments);
    if (length < 0) abort();
    testing_support::record(priority, tag, std::string(text, static_cast<size_t>(length)));
    free(text);
    return length;
}
