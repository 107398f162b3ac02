#pragma once

#include <string>
#include <utility>
#include <vector>

#include "simulator/HubServices.h"
#include "simulator/RearLightSensor.h"
#include "simulator/SimulatedHub.h"
#include "tools/subhalctl/hubs/Hub.h"

// With the sources that include it, all that this program knows of the simulator.

namespace subhalctl {

/** Returns false after reporting that the simulator's files have no room. */
bool haveRoom();

/** A hub on the simulator's devices. */
class InProcessHub : public Hub {
  public:
    explicit InProcessHub(const simulator::SimulatedHub::Options& options);

    bool unload(host_proxy::SubHalLibrary& library) override;
    std::vector<simulator::Request> takeInjections() override;
    std::vector<std::string> messages() override { return mServices.messages(); }
    bool waitReady() override { return mServices.waitReady(); }
    bool requestDump(int type, int count) override {
        return mServices.requestDump(type, count) && mHub.waitIdle();
    }
    std::vector<std::pair<std::string, size_t>> dumpFiles() override;

  protected:
    simulator::SimulatedHub mHub;

  private:
    simulator::HubServices mServices;
    simulator::RearLightSensor mRearLight;
};

}  // namespace subhalctl
