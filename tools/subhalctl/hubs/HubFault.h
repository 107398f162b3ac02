#pragma once

#include <string>

namespace subhalctl {

/** One parsed "--fault". */
struct HubFault {
    std::string kind;  ///< "open", "drop" and so on
    std::string path;  ///< empty when a handle names the device
    int handle = -1;   ///< -1 when a path names the node
    int error = 0;     ///< errno
    int bytes = 0;     ///< of a cut record
    std::string text;  ///< of the attribute, or the bytes of a pushed record
    int count = -1;    ///< calls that fail, -1 for all
    double afterSeconds = 0;
};

/** Why the text is no fault, empty when it is one. The caller checks that the hub has the place. */
std::string parseFault(std::string text, HubFault* fault);

}  // namespace subhalctl
