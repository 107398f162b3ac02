#pragma once

#include <functional>

#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

/** The verb to run and the common options. */
struct Command {
    GlobalOptions options;
    std::function<ExitCode(Proxy&)> run;
};

/** `run` is empty after help or a usage error, and `*exitCode` is set. */
Command parseCommandLine(int argc, char** argv, ExitCode* exitCode);

}  // namespace subhalctl
