#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace subhalctl {

/** One "--fault", taken apart. */
struct HubFault {
    enum class Kind {
        kOpen,
        kRead,
        kWrite,
        kIoctl,
        kClose,
        kPoll,
        kDrop,
        kCut,
        kAvailable,
        kAbsent,
        kPush
    };

    Kind kind = Kind::kOpen;
    std::string path;  ///< empty when a handle names the device
    int handle = -1;   ///< -1 when a path names the node
    int error = 0;     ///< errno
    int bytes = 0;     ///< kCut
    std::string text;  ///< kAvailable; the record of kPush
    int count = -1;    ///< calls that fail, -1 for all
    double afterSeconds = 0;
};

/**
 * Nothing, and the reason in `*why`, when the text makes no sense; whether the hub has the place is
 * another question.
 */
std::optional<HubFault> parseFault(const std::string& text, std::string* why);

}  // namespace subhalctl
