#pragma once

#include <string>

#include "tools/subhalctl/recording/Series.h"

namespace subhalctl {

/** A page of HTML with everything in it, all sensors on one axis of time. */
std::string plotPage(const RecordedRun& run);

}  // namespace subhalctl
