#include "tools/subhalctl/HubFault.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tools/subhalctl/Hex.h"

namespace subhalctl {
namespace {

struct KindName {
    const char* name;
    HubFault::Kind kind;
    bool needsPlace;  ///< a handle or a path behind the name
    bool needsWhat;   ///< and something behind that
};

constexpr KindName kKinds[] = {
    {"open", HubFault::Kind::kOpen, true, true},
    {"read", HubFault::Kind::kRead, true, true},
    {"write", HubFault::Kind::kWrite, true, true},
    {"ioctl", HubFault::Kind::kIoctl, true, true},
    {"close", HubFault::Kind::kClose, true, true},
    {"poll", HubFault::Kind::kPoll, false, true},
    {"drop", HubFault::Kind::kDrop, true, false},
    {"cut", HubFault::Kind::kCut, true, true},
    {"available", HubFault::Kind::kAvailable, true, true},
    {"absent", HubFault::Kind::kAbsent, true, false},
    {"push", HubFault::Kind::kPush, true, true},
};

constexpr int kLastErrno = 133;

int errnoOf(const std::string& name) {
    for (int error = 1; error <= kLastErrno; ++error) {
        const char* known = strerrorname_np(error);
        if (known != nullptr && name == known) return error;
    }
    return 0;
}

/** The number at the end of `*text` behind `mark`, taken off it; false when it is none. */
bool takeNumber(std::string* text, char mark, double* number) {
    const size_t at = text->rfind(mark);
    if (at == std::string::npos) return true;
    std::string digits = text->substr(at + 1);
    double unit = 1;
    if (digits.size() > 2 && digits.compare(digits.size() - 2, 2, "ms") == 0) {
        unit = 0.001;
        digits.resize(digits.size() - 2);
    } else if (!digits.empty() && digits.back() == 's') {
        digits.pop_back();
    }
    char* end = nullptr;
    *number = std::strtod(digits.c_str(), &end) * unit;
    if (digits.empty() || *end != '\0' || !(*number >= 0 && *number <= 1e6)) return false;
    text->resize(at);
    return true;
}

bool takePlace(const std::string& place, HubFault* fault) {
    if (!place.empty() && place[0] == '/') {
        fault->path = place;
        return true;
    }
    char* end = nullptr;
    fault->handle = static_cast<int>(std::strtol(place.c_str(), &end, 10));
    return !place.empty() && *end == '\0' && fault->handle >= 0;
}

bool takeWhat(const std::string& what, HubFault* fault) {
    switch (fault->kind) {
        case HubFault::Kind::kCut:
            fault->bytes = std::atoi(what.c_str());
            return fault->bytes > 0 && fault->handle >= 0;
        case HubFault::Kind::kAvailable:
            fault->text = what;
            return fault->handle >= 0;
        case HubFault::Kind::kPush: {
            const auto bytes = bytesOfHex(what);
            fault->text = bytes.value_or("");
            return !fault->text.empty() && fault->handle >= 0;
        }
        default:
            fault->error = errnoOf(what);
            return fault->error != 0;
    }
}

}  // namespace

std::optional<HubFault> parseFault(const std::string& text, std::string* why) {
    std::string rest = text;
    double seconds = 0;
    double count = -1;
    if (!takeNumber(&rest, '@', &seconds) || !takeNumber(&rest, '*', &count)) {
        *why = "behind \"@\" stands a time such as 2s, behind \"*\" a count";
        return {};
    }
    const size_t first = std::min(rest.find(':'), rest.size());
    const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& one) {
        return rest.compare(0, first, one.name) == 0;
    });
    if (kind == std::end(kKinds)) {
        *why = "there is no fault \"" + rest.substr(0, first) + "\"";
        return {};
    }
    HubFault fault{kind->kind, "", -1, 0, 0, "", static_cast<int>(count), seconds};
    std::string place = first < rest.size() ? rest.substr(first + 1) : "";
    std::string what;
    if (kind->needsWhat) {  // a path may hold colons, so what is behind it is found from the end
        const size_t last = place.rfind(':');
        what = last == std::string::npos ? (kind->needsPlace ? "" : place) : place.substr(last + 1);
        place = last == std::string::npos ? (kind->needsPlace ? place : "") : place.substr(0, last);
    }
    if (kind->needsPlace && !takePlace(place, &fault)) {
        *why = "\"" + place + "\" is neither a handle nor a path";
        return {};
    }
    const bool byHandle = fault.handle >= 0;
    const bool needsHandle = fault.kind == HubFault::Kind::kDrop;
    if ((needsHandle && !byHandle) || (fault.kind == HubFault::Kind::kAbsent && byHandle)) {
        *why = needsHandle ? "a handle has to be named" : "a path has to be named";
        return {};
    }
    if (kind->needsWhat && !takeWhat(what, &fault)) {
        *why = "\"" + what + "\" is not what belongs there";
        return {};
    }
    return fault;
}

}  // namespace subhalctl
