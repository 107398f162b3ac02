#include <unistd.h>

#include <string>

#include "tools/subhalctl/CommandLine.h"
#include "tools/subhalctl/Interrupt.h"
#include "tools/subhalctl/PlatformTap.h"
#include "tools/subhalctl/showing/Output.h"

namespace {

std::string logLevelOf(const subhalctl::GlobalOptions& options) {
    if (!options.logLevel.empty()) return options.logLevel;
    // The library logs ordinary progress at error level, which only buries a simulation's output.
    return options.hub.sim || !options.hub.recording.empty() ? "silent" : "warning";
}

subhalctl::ExitCode play(const subhalctl::Command& command, bool* mayExit) {
    subhalctl::Proxy proxy(command.options);
    subhalctl::ExitCode exitCode = command.run(proxy);
    if (exitCode == subhalctl::kOk && proxy.leftOn()) exitCode = subhalctl::kRefused;
    *mayExit = proxy.close();
    if (!*mayExit) _exit(subhalctl::afterOutput(exitCode));
    if (proxy.wakelocksHeld() == 0) return exitCode;
    subhalctl::complain("%d wakelocks were not given back", proxy.wakelocksHeld());
    return exitCode == subhalctl::kOk ? subhalctl::kCheckFailed : exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    subhalctl::prepareOutput();
    subhalctl::catchInterrupts();
    subhalctl::ExitCode exitCode = subhalctl::kOk;
    const subhalctl::Command command = subhalctl::parseCommandLine(argc, argv, &exitCode);
    if (!command.run) return subhalctl::afterOutput(exitCode);
    if (command.options.wide) subhalctl::showWide();
    subhalctl::setLogLevel(logLevelOf(command.options));
    // As the sensors service does; the library names one file relative to it.
    if (chdir("/") != 0) subhalctl::complain("cannot enter the root directory");
    bool mayExit = true;
    exitCode = play(command, &mayExit);
    return subhalctl::afterOutput(exitCode);
}
