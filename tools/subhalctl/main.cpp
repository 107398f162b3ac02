#include <unistd.h>

#include <cstdio>

#include "tools/subhalctl/CommandLine.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/LogFilter.h"

namespace {

android_LogPriority logLevelOf(const subhalctl::GlobalOptions& options) {
    if (!options.logLevel.empty()) return subhalctl::parseLogLevel(options.logLevel);
    // The library logs ordinary progress at error level, which only buries a simulation's output.
    return options.sim ? ANDROID_LOG_SILENT : ANDROID_LOG_WARN;
}

}  // namespace

int main(int argc, char** argv) {
    subhalctl::ExitCode exitCode = subhalctl::kOk;
    const subhalctl::Command command = subhalctl::parseCommandLine(argc, argv, &exitCode);
    if (!command.run) return exitCode;
    subhalctl::setLogLevel(logLevelOf(command.options));
    subhalctl::catchInterrupts();
    std::setvbuf(stdout, nullptr, _IOLBF, 0);  // events are to be seen when they come

    subhalctl::Proxy proxy(command.options);
    exitCode = command.run(proxy);
    const bool mayExit = proxy.close();
    std::fflush(stdout);
    if (!mayExit) _exit(exitCode);
    if (proxy.wakelocksHeld() == 0) return exitCode;
    std::fprintf(stderr, "subhalctl: %d wakelocks were not given back\n", proxy.wakelocksHeld());
    return exitCode == subhalctl::kOk ? subhalctl::kCheckFailed : exitCode;
}
