#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "tools/subhalctl/doctor/Findings.h"

namespace subhalctl {

struct HubDevices {
    size_t sensors = 0;                           ///< in the specification
    std::multimap<std::string, std::string> iio;  ///< "iio:deviceN" by name
};

/**
 * Tries the nodes of each sensor as the library does, without the library. Returns nothing
 * after reporting that there is no hub.
 */
std::optional<HubDevices> examineHub(Findings& findings);

}  // namespace subhalctl
