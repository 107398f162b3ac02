#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/subhalctl/ExitCode.h"

namespace subhalctl {

// Standard output and standard error of all verbs. Main thread only, but for complain() and
// printable().

/**
 * Before any thread: what is UTF-8 is taken as such, and something harmless is opened for a closed
 * standard descriptor before the number can go to one of the hub's files. Writing to a standard
 * output that was closed still fails.
 */
void prepareOutput();

/**
 * Escapes control characters and what is no UTF-8 as \xNN: names, logs and recordings come from
 * outside. The letters of `kept` stay.
 */
std::string printable(const std::string& text, const char* kept = "");

/**
 * To standard output, line by line, printable, and broken at blanks where a line does not fit. Once
 * a write has failed, nothing more is written.
 */
void print(const char* format, ...) __attribute__((format(printf, 1, 2)));
/** As it is. */
void printText(const std::string& text);
void flushOutput();
/** The same, but to standard error when standard output is for another program. */
void printSummary(const std::string& text, bool outputIsData);

/**
 * A line as print() does it, after "PASS", "FAIL", "SKIP" or another verdict, five columns wide; on
 * a terminal that is in colour, unless NO_COLOR is set.
 */
void printVerdict(const std::string& word, const std::string& text);

/** What is printed from now on goes into a file, unless `path` is "-". Reports a failure. */
bool sendOutputTo(const std::string& path);

/** "subhalctl: ", the text, printable, and a newline, to standard error. */
void complain(const char* format, ...) __attribute__((format(printf, 1, 2)));

/** Whether a write to standard output has failed, which also ends waiting. */
bool outputLost();
/**
 * What to end with, given what the verb ended with: lost output is no success. Reports on
 * standard error what was lost, unless its reader just went away.
 */
ExitCode afterOutput(ExitCode verb);

/** Text of printf's arguments. */
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

constexpr size_t kUnlimited = SIZE_MAX;

/**
 * Characters that fit into a line of standard output: of a terminal its width, else COLUMNS when
 * the environment has it. kUnlimited in a pipe, and after showWide().
 */
size_t outputWidth();
void showWide();

/** Characters of a printable UTF-8 text. */
size_t shownWidth(const std::string& text);

/** A line broken at blanks where it is longer than `width`; all but the first are indented. */
std::string wrapped(const std::string& line, size_t indent, size_t width = outputWidth());

/** As in "1 event" and "2 events". */
template <typename Number>
std::string counted(Number number, const char* noun, const char* ending = "s") {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : ending);
}

/** Two digits a byte, in small letters. */
std::string hexOf(const std::string& bytes);
/** Nothing when it is not pairs of hexadecimal digits. */
std::optional<std::string> bytesOfHex(const std::string& hex);

/** `text` as a shell takes it for one word. */
std::string quoted(const std::string& text);

/** A line on a terminal that shows the progress of long work. */
class Progress {
  public:
    /** Silent when standard error is no terminal, or when `wanted` is false. */
    explicit Progress(bool wanted);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(const std::string& text);
    void clear();

  private:
    bool mWanted;
    bool mShown = false;
};

}  // namespace subhalctl
