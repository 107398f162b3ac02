#include "tools/subhalctl/hubs/HubFault.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

// Faults with an ERROR are calls, and can fail a number of times.
constexpr const char* kForms[] = {
    "open:WHERE:ERROR",      "read:WHERE:ERROR", "write:WHERE:ERROR",   "ioctl:WHERE:ERROR",
    "close:WHERE:ERROR",     "poll:ERROR",       "drop:HANDLE",         "cut:HANDLE:BYTES",
    "available:HANDLE:TEXT", "absent:PATH",      "push:HANDLE:HEX@TIME"};

constexpr int kLastErrno = 133;
constexpr int kLargestRecord = 4096;
constexpr int kMostCalls = 1'000'000;
constexpr double kLatestSeconds = 1e6;

int errnoOf(const std::string& name) {
    if (name == "EWOULDBLOCK") return EWOULDBLOCK;  // second names, which the C library leaves out
    if (name == "ENOTSUP") return ENOTSUP;
    if (name == "EDEADLOCK") return EDEADLOCK;
    for (int error = 1; error <= kLastErrno; ++error) {
        const char* known = strerrorname_np(error);
        if (known != nullptr && name == known) return error;
    }
    return 0;
}

/** A number and nothing else, from `least`, 0 or more, to `most`. */
bool takeWhole(const std::string& text, int least, int most, int* number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    return error == std::errc() && *end == '\0' && *number >= least && *number <= most;
}

bool takeSeconds(const std::string& text, double* seconds) {
    const size_t digits = std::min(text.find_first_not_of("0123456789."), text.size());
    char* end = nullptr;
    *seconds = std::strtod(text.c_str(), &end);
    const std::string unit = text.substr(digits);
    if (unit == "ms") *seconds /= 1000;
    const bool known = unit.empty() || unit == "s" || unit == "ms";
    return digits > 0 && end == text.c_str() + digits && known && *seconds <= kLatestSeconds;
}

/** Cuts `*text` at the last `mark` and returns what followed; nothing without a mark. */
std::optional<std::string> takeTail(std::string* text, char mark) {
    const size_t at = text->rfind(mark);
    if (at == std::string::npos) return {};
    std::string tail = text->substr(at + 1);
    text->resize(at);
    return tail;
}

std::string isNo(const std::string& text, const std::string& wanted) {
    return quoted(text) + " is no " + wanted;
}

/** Reads the value of a form's `part`; returns what is wrong with it. */
std::string readPart(const std::string& part, const std::string& text, HubFault* fault) {
    if (part == "ERROR") {
        fault->error = errnoOf(text);
        if (fault->error == 0) return isNo(text, "name of an error such as EIO; see errno(3)");
        const bool storm = fault->kind == "poll" && fault->error == EINTR && fault->count < 0;
        // The library has to call again each time, for ever.
        return storm ? "poll:EINTR needs a count, *N: a signal storm without end cannot happen"
                     : "";
    }
    if (part == "BYTES") {
        if (takeWhole(text, 1, kLargestRecord - 1, &fault->bytes)) return "";
        return isNo(text, formatted("number of bytes from 1 to %d", kLargestRecord - 1));
    }
    if (part == "TEXT") {
        fault->text = text;
        return "";
    }
    if (part == "HEX@TIME") {
        fault->text = bytesOfHex(text).value_or("");
        if (fault->text.empty() || fault->text.size() > kLargestRecord) {
            return isNo(text, formatted("record of 1 to %d bytes in hex", kLargestRecord));
        }
        return fault->afterSeconds > 0
                   ? ""
                   : "it needs a time when the library has the buffer on: push:HANDLE:HEX@TIME";
    }
    if (part != "HANDLE" && text[0] == '/') {
        fault->path = text;
        return "";
    }
    if (part == "PATH") return isNo(text, "path from the root directory");
    if (takeWhole(text, 0, INT32_MAX, &fault->handle)) return "";
    return isNo(text, part == "HANDLE" ? "handle of a sensor"
                                       : "handle of a sensor and no path from the root directory");
}

std::string readParts(const std::string& form, const std::string& text, HubFault* fault) {
    const std::string parts = form.substr(form.find(':') + 1);
    const size_t end = parts.find(':');
    if (end == std::string::npos) return readPart(parts, text, fault);
    // A path may contain colons, and so may what follows a handle.
    const size_t colon = parts[0] == 'W' ? text.rfind(':') : text.find(':');
    if (colon == std::string::npos) return "the form is " + form;
    const std::string why = readPart(parts.substr(0, end), text.substr(0, colon), fault);
    return why.empty() ? readPart(parts.substr(end + 1), text.substr(colon + 1), fault) : why;
}

}  // namespace

std::string parseFault(std::string text, HubFault* fault) {
    const auto time = takeTail(&text, '@');
    if (time && !takeSeconds(*time, &fault->afterSeconds)) {
        return isNo(*time, "time, as 5s and 250ms in read:1:EIO@5s and read:1:EIO*3@250ms");
    }
    const auto count = takeTail(&text, '*');
    if (count && !takeWhole(*count, 1, kMostCalls, &fault->count)) {
        return isNo(*count, "count of calls from 1 on, as 3 in read:1:EIO*3");
    }
    fault->kind = text.substr(0, text.find(':'));
    text.erase(0, std::min(fault->kind.size() + 1, text.size()));
    std::string forms;
    for (const std::string form : kForms) {
        forms += (forms.empty() ? "" : ", ") + form;
        if (form.substr(0, form.find(':')) != fault->kind) continue;
        if (count && form.find("ERROR") == std::string::npos) {
            return isNo(fault->kind, "call, so it does not happen a number of times");
        }
        return readParts(form, text, fault);
    }
    return isNo(fault->kind, "fault; there are " + forms);
}

}  // namespace subhalctl
