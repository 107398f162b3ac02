#pragma once

#include <functional>

#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

/** What the command line asks for. */
struct Command {
    GlobalOptions options;
    std::function<ExitCode(Proxy&)> run;
};

/** Empty `run` when there is nothing to run: `*exitCode` tells whether help or a mistake. */
Command parseCommandLine(int argc, char** argv, ExitCode* exitCode);

}  // namespace subhalctl
