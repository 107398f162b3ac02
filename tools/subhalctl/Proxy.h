#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/HubServices.h"
#include "simulator/RearLightSensor.h"
#include "simulator/SimulatedHub.h"
#include "tools/proxy/SubHalLibrary.h"
#include "tools/subhalctl/EventQueue.h"
#include "tools/subhalctl/ExitCode.h"

namespace subhalctl {

using host_proxy::HalProxyCallback;
using host_proxy::ISensorsSubHal;
using host_proxy::Result;

struct GlobalOptions {
    bool sim = false;
    uint64_t seed = 1;
    std::string library;   ///< empty: the build tree's, else what the loader finds
    std::string logLevel;  ///< empty: silent with `sim`, else warnings
    bool quiet = false;
};

/** Text of a library's answer, as in "BAD_VALUE". */
std::string resultName(Result result);

/** The sensors proxy: loads the library and initialises it. Main thread only. */
class Proxy {
  public:
    explicit Proxy(const GlobalOptions& options) : mOptions(options) {}
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    const GlobalOptions& options() const { return mOptions; }

    /**
     * Loads the library, on a simulated hub with "--sim". Other threads run from now on. Anything
     * but kOk has been told on stderr.
     */
    ExitCode open();

    /** These need a successful open(). */
    ISensorsSubHal& subHal() { return *mLibrary->subHal(); }
    EventQueue& events() { return mEvents; }
    const std::vector<SensorInfo>& sensors() const { return mSensors; }

    /** The one sensor that `text` names; null when it names none or several, which is told. */
    const SensorInfo* find(const std::string& text) const;

    /** Null without "--sim". */
    simulator::SimulatedHub* hub() { return mHub ? &*mHub : nullptr; }
    simulator::HubServices* hubServices() { return mHubServices ? &*mHubServices : nullptr; }

    /**
     * Unloads the library. False when it stays: its destructor would wait in exit() for a sensor to
     * report once more, so the process must end without destructors.
     */
    bool close();

    /** Wakelocks not given back; of use once the library is unloaded. */
    int wakelocksHeld() const { return mCallback ? mCallback->wakelock().held() : 0; }

  private:
    void makeHub();
    ExitCode initialize();

    const GlobalOptions& mOptions;
    std::optional<simulator::SimulatedHub> mHub;
    std::optional<simulator::HubServices> mHubServices;
    std::optional<simulator::RearLightSensor> mRearLight;
    EventQueue mEvents;
    android::sp<HalProxyCallback> mCallback;
    std::optional<host_proxy::SubHalLibrary> mLibrary;
    std::vector<SensorInfo> mSensors;
};

/** Keeps a sensor switched on. The Proxy outlives it. */
class ActiveSensor {
  public:
    /** Sets the rate and activates; see active(). */
    ActiveSensor(Proxy& proxy, const SensorInfo& sensor, int64_t periodNs, int64_t latencyNs);
    ~ActiveSensor();
    ActiveSensor(const ActiveSensor&) = delete;
    ActiveSensor& operator=(const ActiveSensor&) = delete;

    /** False when the library refused, which has been told on stderr. */
    bool active() const { return mActive; }

  private:
    Proxy& mProxy;
    int32_t mHandle;
    bool mActive = false;
};

}  // namespace subhalctl
