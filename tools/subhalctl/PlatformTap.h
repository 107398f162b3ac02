#pragma once

#include <string>

namespace subhalctl {

/**
 * Lines of the platform log below this level, "verbose", "debug", "info", "warning", "error" or
 * "silent", are dropped from now on; any thread may log.
 */
void setLogLevel(const std::string& name);

}  // namespace subhalctl
