#include "tools/subhalctl/showing/Output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

#include "tools/subhalctl/Interrupt.h"

namespace subhalctl {
namespace {

constexpr size_t kNarrowest = 40;  // below that nothing fits
constexpr size_t kUsualWidth = 80;
constexpr size_t kVerdict = 6;    // indent of continued lines: the width of "FAIL  "
constexpr size_t kPiece = 4096;   // a pipe that poll() calls writable takes that much at once
constexpr int kPatienceMs = 300;  // for a blocked output, once the verb has to end

constexpr char kLineLetters[] = "\n\t";

std::string gPending;
int gError = 0;
bool gWide = false;

std::string formatArguments(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(static_cast<size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

/** Bytes of the character at `at`; 0 when it is no UTF-8, or not printable. */
size_t shownBytes(const std::string& text, size_t at) {
    std::mbstate_t state{};
    wchar_t character = 0;
    const size_t size = std::mbrtowc(&character, &text[at], text.size() - at, &state);
    return size <= text.size() - at && std::iswprint(static_cast<wint_t>(character)) != 0 ? size
                                                                                          : 0;
}

/** Waits until standard output takes bytes; false when it is blocked and the verb has to end. */
bool waitWritable() {
    while (!interrupted()) {
        pollfd fds[] = {{STDOUT_FILENO, POLLOUT, 0}, {interruptFd(), POLLIN, 0}};
        if (poll(fds, 2, -1) > 0 && fds[0].revents != 0) return true;
    }
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, kPatienceMs) > 0;
}

void fail(int error) {
    gError = error;
    gPending.clear();
    requestStop();
}

}  // namespace

void prepareOutput() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        // The lowest free number is this one. What was closed stays closed to writing.
        if (open("/dev/null", fd == STDERR_FILENO ? O_WRONLY : O_RDONLY) < 0) _exit(kOutputLost);
    }
}

std::string printable(const std::string& text, const char* kept) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const bool keep = text[at] != '\0' && std::strchr(kept, text[at]) != nullptr;
        const size_t size = keep ? 1 : shownBytes(text, at);
        if (size > 0) {
            result.append(text, at, size);
        } else {
            result += "\\x" + hexOf(text.substr(at, 1));
        }
        at += std::max<size_t>(size, 1);
    }
    return result;
}

void print(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = printable(formatArguments(format, arguments), kLineLetters);
    va_end(arguments);
    if (outputWidth() == kUnlimited) return printText(text);
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        printText(wrapped(text.substr(at, end - at), kVerdict) + (end < text.size() ? "\n" : ""));
        at = end + 1;
    }
}

void printText(const std::string& text) {
    if (gError != 0) return;
    gPending += text;
    if (gPending.size() >= kPiece || (!gPending.empty() && gPending.back() == '\n')) flushOutput();
}

void printSummary(const std::string& text, bool outputIsData) {
    if (!outputIsData) return printText(text);
    std::fputs(text.c_str(), stderr);
}

void printVerdict(const std::string& word, const std::string& text) {
    static const bool colours = [] {
        const char* off = std::getenv("NO_COLOR");
        const char* terminal = std::getenv("TERM");
        return (off == nullptr || *off == '\0') && isatty(STDOUT_FILENO) != 0 &&
               terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
    }();
    const char* rest = word == "SKIP" ? "2" : "33";  // dim, yellow
    const char* colour = word == "PASS" || word == "ok" ? "32" : word == "FAIL" ? "31" : rest;
    const std::string line =
        wrapped(printable(formatted("%-5s%s", word.c_str(), text.c_str())), kVerdict);
    printText((colours ? formatted("\033[%sm%s\033[0m", colour, word.c_str()) : word) +
              line.substr(word.size()) + '\n');
}

void flushOutput() {
    size_t at = 0;
    while (at < gPending.size()) {
        if (!waitWritable()) return fail(EAGAIN);
        const ssize_t written =
            write(STDOUT_FILENO, gPending.data() + at, std::min(kPiece, gPending.size() - at));
        if (written < 0 && errno != EINTR && errno != EAGAIN) return fail(errno);
        at += static_cast<size_t>(std::max<ssize_t>(written, 0));
    }
    gPending.clear();
}

bool sendOutputTo(const std::string& path) {
    if (path == "-") return true;
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool opened = fd >= 0 && dup2(fd, STDOUT_FILENO) >= 0;
    if (!opened) complain("%s: %s", quoted(path).c_str(), std::strerror(errno));
    if (fd >= 0) close(fd);
    return opened;
}

void complain(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = formatArguments(format, arguments);
    va_end(arguments);
    std::fprintf(stderr, "subhalctl: %s\n", printable(text, kLineLetters).c_str());
}

bool outputLost() {
    return gError != 0;
}

ExitCode afterOutput(ExitCode verb) {
    flushOutput();
    if (gError == 0) return verb;
    if (gError == EAGAIN) {
        complain("output was lost: its reader does not read");
    } else if (gError != EPIPE) {
        complain("output was lost: %s", std::strerror(gError));
    }
    return kOutputLost;
}

std::string formatted(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatArguments(format, arguments);
    va_end(arguments);
    return text;
}

size_t outputWidth() {
    if (gWide) return kUnlimited;
    const bool terminal = isatty(STDOUT_FILENO) != 0;
    winsize window{};
    if (terminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0) {
        return std::max<size_t>(window.ws_col, kNarrowest);
    }
    const char* columns = std::getenv("COLUMNS");
    const size_t wanted = columns != nullptr ? std::strtoul(columns, nullptr, 10) : 0;
    if (wanted > 0) return std::max(wanted, kNarrowest);
    return terminal ? kUsualWidth : kUnlimited;  // a serial line does not know its width
}

void showWide() {
    gWide = true;
}

size_t shownWidth(const std::string& text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;  // not the first of a character
    }));
}

std::string wrapped(const std::string& line, size_t indent, size_t width) {
    std::string result;
    std::string rest = line;
    while (shownWidth(rest) > width) {
        const size_t first = rest.find_first_not_of(' ');
        size_t cut = rest.find(' ', first);
        for (size_t next = cut; next < rest.size() && shownWidth(rest.substr(0, next)) <= width;
             next = rest.find(' ', next + 1)) {
            cut = next;
        }
        const size_t word = rest.find_first_not_of(' ', cut);
        if (word == std::string::npos) break;
        const size_t end = rest.find_last_not_of(' ', cut) + 1;
        result += rest.substr(0, end) + '\n';
        rest = std::string(indent, ' ') + rest.substr(word);
    }
    return result + rest;
}

std::string hexOf(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        hex += kDigits[static_cast<unsigned char>(byte) >> 4];
        hex += kDigits[static_cast<unsigned char>(byte) & 0xF];
    }
    return hex;
}

std::optional<std::string> bytesOfHex(const std::string& hex) {
    std::string bytes;
    if (hex.size() % 2 != 0) return {};
    for (const char* pair = hex.data(); pair != hex.data() + hex.size(); pair += 2) {
        unsigned char byte = 0;
        if (std::from_chars(pair, pair + 2, byte, 16).ptr != pair + 2) return {};
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

std::string quoted(const std::string& text) {
    constexpr char kPlain[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./:@%+=,";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
    const bool plain = printable(text) == text;
    std::string result;
    for (const char letter : text) {
        if (letter == '\'') {
            result += plain ? "'\\''" : "\\'";
        } else if (letter == '\\' && !plain) {
            result += "\\\\";
        } else {
            result += letter;
        }
    }
    return (plain ? "'" : "$'") + printable(result) + "'";
}

Progress::Progress(bool wanted) : mWanted(wanted && isatty(STDERR_FILENO) != 0) {}

void Progress::show(const std::string& text) {
    if (!mWanted) return;
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    mShown = true;
}

void Progress::clear() {
    if (mShown) std::fputs("\r\033[K", stderr);
    mShown = false;
}

}  // namespace subhalctl
