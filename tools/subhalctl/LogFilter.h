#pragma once

#include <android/log.h>

#include <string>

namespace subhalctl {

/** Lines of the platform log below this level are dropped from now on; any thread may log. */
void setLogLevel(android_LogPriority level);

/** Level for "verbose", "debug", "info", "warning", "error" or "silent". */
android_LogPriority parseLogLevel(const std::string& name);

}  // namespace subhalctl
