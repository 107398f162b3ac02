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

constexpr size_t kKept = 300;  // of those that were taken

std::mutex gLock;
bool gCapturing = false;
std::vector<LogLine> gAll;  // for the report of a failing test
size_t gTaken = 0;          // of them
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
        gAll.push_back({level, text});
        observer = gObserver;
    }
    if (observer) observer();
}

LogCapture::LogCapture() {
    const std::lock_guard<std::mutex> lock(gLock);
    gAll.clear();
    gTaken = 0;
    gCapturing = true;
}

LogCapture::~LogCapture() {
    const std::lock_guard<std::mutex> lock(gLock);
    gCapturing = false;
    if (!testing::Test::HasFailure()) return;
    std::cerr << "--- the library's log ---\n";
    for (const LogLine& line : gAll)
        std::cerr << line << '\n';
}

std::vector<LogLine> LogCapture::take() {
    const std::vector<LogLine> untaken = lines();
    const std::lock_guard<std::mutex> lock(gLock);
    gTaken += untaken.size();
    const size_t surplus = gTaken - std::min(gTaken, kKept);
    gAll.erase(gAll.begin(), gAll.begin() + static_cast<ptrdiff_t>(surplus));
    gTaken -= surplus;
    return untaken;
}

std::vector<LogLine> LogCapture::lines() {
    const std::lock_guard<std::mutex> lock(gLock);
    return {gAll.begin() + static_cast<ptrdiff_t>(gTaken), gAll.end()};
}

int LogCapture::count(const LogLine& line) {
    const std::vector<LogLine> untaken = lines();
    return static_cast<int>(std::count(untaken.begin(), untaken.end(), line));
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
