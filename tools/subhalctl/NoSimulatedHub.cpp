// In place of SimulatedHub.cpp where the program is built for a device.

#include "tools/subhalctl/Hub.h"

namespace subhalctl {

std::unique_ptr<Hub> makeSimulatedHub(const HubOptions&, std::string* error) {
    *error = "this subhalctl was built without the simulator";
    return nullptr;
}

}  // namespace subhalctl
