#include "tools/subhalctl/hubs/HubFault.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

// Faults with an ERROR are calls, and can fail a number of times.
constexpr const char* kForms[] = {
    "open:WHERE:ERROR",      "read:WHERE:ERROR", "write:WHERE:ERROR",   "ioctl:WHERE:ERROR",
    "close:WHERE:ERROR",     "poll:ERROR",       "drop:HANDLE",         "cut:HANDLE:BYTES",
    "available:HANDLE:TEXT", "absent:PATH",      "push:HANDLE:HEX@TIME"};

constexpr int kLastErrno = 133;
constexpr int kLargestNumber = 999'999'999;
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

/** Digits and nothing else, from `least` to `most`. */
bool takeWhole(const std::string& text, int least, int most, int* number) {
    const bool digits = text.find_first_not_of("0123456789") == std::string::npos;
    if (text.empty() || text.size() > 9 || !digits) return false;
    *number = std::atoi(text.c_str());
    return *number >= least && *number <= most;
}

bool takeSeconds(std::string text, double* seconds) {
    double unit = 1;
    if (text.size() > 2 && text.compare(text.size() - 2, 2, "ms") == 0) {
        unit = 0.001;
        text.resize(text.size() - 2);
    } else if (!text.empty() && text.back() == 's') {
        text.pop_back();
    }
    char* end = nullptr;
    *seconds = std::strtod(text.c_str(), &end) * unit;
    const bool plain = text.find_first_not_of("0123456789.") == std::string::npos;
    return plain && !text.empty() && *end == '\0' && *seconds <= kLatestSeconds;
}

/** Cuts `*text` at the last `mark` and returns what followed; nothing without a mark. */
std::optional<std::string> takeTail(std::string* text, char mark) {
    const size_t at = text->rfind(mark);
    if (at == std::string::npos) return {};
    std::string tail = text->substr(at + 1);
    text->resize(at);
    return tail;
}

/** Parses up to the first part that does not fit. */
class FaultReader {
  public:
    explicit FaultReader(HubFault* fault) : mFault(*fault) {}

    void read(std::string text) {
        const auto time = takeTail(&text, '@');
        if (time && !takeSeconds(*time, &mFault.afterSeconds)) {
            isNo(*time, "time, as 5s and 250ms in read:1:EIO@5s and read:1:EIO*3@250ms");
        }
        const auto count = takeTail(&text, '*');
        if (count && !takeWhole(*count, 1, kMostCalls, &mFault.count)) {
            isNo(*count, "count of calls from 1 on, as 3 in read:1:EIO*3");
        }
        mFault.kind = text.substr(0, text.find(':'));
        text.erase(0, std::min(mFault.kind.size() + 1, text.size()));
        std::string forms;
        for (const std::string form : kForms) {
            const size_t colon = form.find(':');
            if (form.substr(0, colon) == mFault.kind) {
                if (count && form.find("ERROR") == std::string::npos) {
                    isNo(mFault.kind, "call, so it does not happen a number of times");
                }
                return readParts(form, form.substr(colon + 1), text);
            }
            forms += (forms.empty() ? "" : ", ") + form;
        }
        isNo(mFault.kind, "fault; there are " + forms);
    }
    const std::string& why() const { return mWhy; }

  private:
    void isNo(const std::string& text, const std::string& wanted) {
        if (mWhy.empty()) mWhy = quoted(text) + " is no " + wanted;
    }

    void readParts(const std::string& form, const std::string& parts, const std::string& text) {
        const size_t end = parts.find(':');
        if (end == std::string::npos) return readPart(parts, text);
        // A path may contain colons, and so may what follows a handle.
        const size_t colon = parts[0] == 'W' ? text.rfind(':') : text.find(':');
        if (colon == std::string::npos) {
            if (mWhy.empty()) mWhy = "the form is " + form;
            return;
        }
        readPart(parts.substr(0, end), text.substr(0, colon));
        readPart(parts.substr(end + 1), text.substr(colon + 1));
    }

    void readPart(const std::string& part, const std::string& text) {
        if (part == "ERROR") {
            mFault.error = errnoOf(text);
            if (mFault.error == 0) isNo(text, "name of an error such as EIO; see errno(3)");
            if (mFault.kind == "poll" && mFault.error == EINTR && mFault.count < 0 &&
                mWhy.empty()) {
                // The library has to call again each time, for ever.
                mWhy = "poll:EINTR needs a count, *N: a signal storm without end cannot happen";
            }
        } else if (part == "BYTES") {
            if (takeWhole(text, 1, kLargestRecord - 1, &mFault.bytes)) return;
            isNo(text, formatted("number of bytes from 1 to %d", kLargestRecord - 1));
        } else if (part == "TEXT") {
            mFault.text = text;
        } else if (part == "HEX@TIME") {
            mFault.text = bytesOfHex(text).value_or("");
            if (mFault.text.empty() || mFault.text.size() > kLargestRecord) {
                isNo(text, formatted("record of 1 to %d bytes in hex", kLargestRecord));
            } else if (mWhy.empty() && mFault.afterSeconds <= 0) {
                mWhy = "it needs a time when the library has the buffer on: push:HANDLE:HEX@TIME";
            }
        } else if (part != "HANDLE" && text[0] == '/') {
            mFault.path = text;
        } else if (part == "PATH") {
            isNo(text, "path from the root directory");
        } else if (!takeWhole(text, 0, kLargestNumber, &mFault.handle)) {
            isNo(text, part == "HANDLE" ? "handle of a sensor"
                                        : "handle of a sensor and no path from the root directory");
        }
    }

    HubFault& mFault;
    std::string mWhy;
};

}  // namespace

std::string parseFault(const std::string& text, HubFault* fault) {
    FaultReader reader(fault);
    reader.read(text);
    return reader.why();
}

}  // namespace subhalctl
