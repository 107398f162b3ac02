// In place of what uses the simulator where the program is built for a device.

#include "tools/subhalctl/hubs/Hub.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {

ExitCode makeSignalHub(const HubChoice&, std::unique_ptr<Hub>*) {
    complain("this subhalctl was built without the simulator");
    return kCannotLoad;
}

ExitCode makeReplayHub(const Recording&, const ReplayOptions&, std::unique_ptr<Hub>*) {
    return makeSignalHub({}, nullptr);
}

}  // namespace subhalctl
