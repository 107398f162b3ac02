#include "tools/subhalctl/hubs/HubFault.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tools/subhalctl/recording/Hex.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

enum class Place { kNone, kHandle, kPath, kEither };

struct KindRow {
    const char* form;  ///< as the user writes it, the name first
    HubFault::Kind kind;
    Place place;
    bool needsWhat;  ///< something stands behind the place
    bool isCall;     ///< fails as often as one likes
};

constexpr KindRow kKinds[] = {
    {"open:WHERE:ERROR", HubFault::Kind::kOpen, Place::kEither, true, true},
    {"read:WHERE:ERROR", HubFault::Kind::kRead, Place::kEither, true, true},
    {"write:WHERE:ERROR", HubFault::Kind::kWrite, Place::kEither, true, true},
    {"ioctl:WHERE:ERROR", HubFault::Kind::kIoctl, Place::kEither, true, true},
    {"close:WHERE:ERROR", HubFault::Kind::kClose, Place::kEither, true, true},
    {"poll:ERROR", HubFault::Kind::kPoll, Place::kNone, true, true},
    {"drop:HANDLE", HubFault::Kind::kDrop, Place::kHandle, false, false},
    {"cut:HANDLE:BYTES", HubFault::Kind::kCut, Place::kHandle, true, false},
    {"available:HANDLE:TEXT", HubFault::Kind::kAvailable, Place::kHandle, true, false},
    {"absent:PATH", HubFault::Kind::kAbsent, Place::kPath, false, false},
    {"push:HANDLE:HEX@TIME", HubFault::Kind::kPush, Place::kHandle, true, false},
};

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

/** What stands behind the last `mark`, taken off `*text`; nothing when there is no mark. */
std::optional<std::string> takeTail(std::string* text, char mark) {
    const size_t at = text->rfind(mark);
    if (at == std::string::npos) return {};
    std::string tail = text->substr(at + 1);
    text->resize(at);
    return tail;
}

/** Takes a fault out of its text, up to the first part that does not fit. */
class FaultReader {
  public:
    explicit FaultReader(const std::string& text) : mRest(text) {
        takeTail();
        takeKind();
        if (mWhy.empty()) takeParts();
    }

    const HubFault& fault() const { return mFault; }
    /** What is wrong, empty when nothing is. */
    const std::string& why() const { return mWhy; }

  private:
    void takeTail();
    void takeKind();
    void takeParts();
    void takePlace(const std::string& place);
    void takeWhat(const std::string& what);

    void isNo(const std::string& text, const std::string& wanted) {
        if (mWhy.empty()) mWhy = quoted(text) + " is no " + wanted;
    }

    std::string mRest;  // what has not been taken yet
    const KindRow* mKind = nullptr;
    bool mCounts = false;
    HubFault mFault{};
    std::string mWhy;
};

void FaultReader::takeTail() {
    const auto time = subhalctl::takeTail(&mRest, '@');
    if (time && !takeSeconds(*time, &mFault.afterSeconds)) {
        isNo(*time, "time, as 5s and 250ms in read:1:EIO@5s and read:1:EIO*3@250ms");
    }
    const auto count = subhalctl::takeTail(&mRest, '*');
    mCounts = count.has_value();
    if (count && !takeWhole(*count, 1, kMostCalls, &mFault.count)) {
        isNo(*count, "count of calls from 1 on, as 3 in read:1:EIO*3");
    }
}

void FaultReader::takeKind() {
    const std::string name = mRest.substr(0, mRest.find(':'));
    std::string forms;
    for (const KindRow& row : kKinds) {
        const std::string form = row.form;
        if (form.substr(0, form.find(':')) == name) mKind = &row;
        forms += (forms.empty() ? "" : ", ") + form;
    }
    if (mKind == nullptr) return isNo(name, "fault; there are " + forms);
    mRest.erase(0, std::min(name.size() + 1, mRest.size()));
    mFault.kind = mKind->kind;
    if (mCounts && !mKind->isCall) isNo(name, "call, so it does not happen a number of times");
}

void FaultReader::takeParts() {
    // A path may hold colons, what stands behind a handle may as well.
    const bool last = mKind->place == Place::kEither;
    const size_t colon = last ? mRest.rfind(':') : mRest.find(':');
    if (mKind->place == Place::kNone) {
        takeWhat(mRest);
    } else if (!mKind->needsWhat) {
        takePlace(mRest);
    } else if (colon == std::string::npos) {
        mWhy = std::string("it is written ") + mKind->form;
    } else {
        takePlace(mRest.substr(0, colon));
        takeWhat(mRest.substr(colon + 1));
    }
}

void FaultReader::takePlace(const std::string& place) {
    if (mKind->place != Place::kHandle && !place.empty() && place[0] == '/') {
        mFault.path = place;
    } else if (mKind->place == Place::kPath) {
        isNo(place, "path from the root directory");
    } else if (!takeWhole(place, 0, kLargestNumber, &mFault.handle)) {
        isNo(place, mKind->place == Place::kHandle
                        ? "handle of a sensor"
                        : "handle of a sensor and no path from the root directory");
    }
}

void FaultReader::takeWhat(const std::string& what) {
    switch (mFault.kind) {
        case HubFault::Kind::kCut:
            if (!takeWhole(what, 1, kLargestRecord - 1, &mFault.bytes)) {
                isNo(what, formatted("number of bytes from 1 to %d", kLargestRecord - 1));
            }
            return;
        case HubFault::Kind::kAvailable:
            mFault.text = what;
            return;
        case HubFault::Kind::kPush:
            mFault.text = bytesOfHex(what).value_or("");
            if (mFault.text.empty() || mFault.text.size() > kLargestRecord) {
                isNo(what, formatted("record of 1 to %d bytes in hex", kLargestRecord));
            } else if (mWhy.empty() && mFault.afterSeconds <= 0) {
                mWhy = "it needs a time, when the library has the buffer on: push:HANDLE:HEX@TIME";
            }
            return;
        default:
            mFault.error = errnoOf(what);
            if (mFault.error == 0)
                isNo(what, "name of an error such as EIO or EACCES; see errno(3)");
    }
}

}  // namespace

std::optional<HubFault> parseFault(const std::string& text, std::string* why) {
    const FaultReader reader(text);
    *why = reader.why();
    if (!why->empty()) return {};
    return reader.fault();
}

}  // namespace subhalctl
