#pragma once

#include <cstddef>
#include <optional>

#include "tools/subhalctl/doctor/Findings.h"

namespace subhalctl {

/**
 * Tries the nodes of each sensor as the library does, without the library. Returns the number of
 * sensors, or nothing after reporting that there is no hub.
 */
std::optional<size_t> examineHub(Findings& findings);

}  // namespace subhalctl
