#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

/** One line that the product logged under its tag. */
struct LogLine {
    LogLine(char lineLevel, std::string lineText) : level(lineLevel), text(std::move(lineText)) {}
    /** "I text"; an empty line has no level. */
    LogLine(const std::string& line)
        : LogLine(line.empty() ? '?' : line[0], line.size() < 2 ? "" : line.substr(2)) {}
    LogLine(const char* line) : LogLine(std::string(line)) {}

    char level;  ///< 'D', 'I', 'W', 'E'
    std::string text;

    bool operator==(const LogLine& other) const {
        return level == other.level && text == other.text;
    }
};

using Lines = std::vector<LogLine>;

/** Exactly these lines were logged since the last look. */
#define EXPECT_LOG(...) \
    EXPECT_EQ(testing_support::LogCapture::take(), (testing_support::Lines{__VA_ARGS__}))

std::ostream& operator<<(std::ostream& stream, const LogLine& line);

/**
 * Collects the log in place of the platform, from every thread, while it lives; a failing test
 * prints what it collected. At most one at a time.
 */
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** What was logged since construction or the last take(). */
    static std::vector<LogLine> take();
    static std::vector<LogLine> lines();
    static bool contains(const LogLine& line) { return count(line) > 0; }
    static int count(const LogLine& line);

    /** Called for each of the product's lines, on the thread that logs; may wait. Null ends it. */
    static void setObserver(const std::function<void()>& observer);
};

}  // namespace testing_support
