#pragma once

#include <V2_0/SubHal.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tools/proxy/HalProxyCallback.h"
#include "tools/proxy/SubHalLibrary.h"
#include "tools/subhalctl/ExitCode.h"
#include "tools/subhalctl/hubs/Hub.h"
#include "tools/subhalctl/proxy/EventQueue.h"
#include "tools/subhalctl/recording/CallTap.h"
#include "tools/subhalctl/recording/Recording.h"

namespace subhalctl {

using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V2_0::implementation::HalProxyCallback;
using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;

struct GlobalOptions {
    HubChoice hub;
    std::string library;   ///< empty: the build tree's, else what the loader finds
    std::string logLevel;  ///< empty: silent with a hub of this process, else warnings
    bool quiet = false;
    bool wide = false;   ///< all columns, however narrow the terminal is
    bool trace = false;  ///< show each call of the library on the hub's files
};

/** As in "BAD_VALUE". */
std::string resultName(Result result);

/** "SENSOR: WHAT: RESULT" on standard error. */
ExitCode refused(const std::string& sensor, const char* what, Result result);

/** Whether the call switches the sensor at the hub. */
bool isSwitch(const FileCall& call, int32_t handle, bool on);

/** The sensors proxy: loads the library and initialises it. Main thread only. */
class Proxy {
  public:
    explicit Proxy(const GlobalOptions& options) : mOptions(options) {}
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    const GlobalOptions& options() const { return mOptions; }

    /** Makes the hub that was asked for, if one was. Its threads run from now on. */
    ExitCode openHub();

    /** Between openHub() and open(): starts a recording. False after reporting the error. */
    bool recordTo(const std::string& path);
    /** Null without a recording. */
    Recorder* recorder() { return mRecorder.get(); }

    /** Before open(), in place of openHub(): the recording plays as `options` say. */
    ExitCode openReplay(const std::string& path, const ReplayOptions& options);
    /** The one that plays the hub, or null. */
    const Recording* recording() const { return mRecording.get(); }

    /** Before open(): keeps the library's calls on the hub's files for takeCalls(). */
    void keepCalls() { mCallsAreKept = true; }
    /** Those since the last time, in their order. */
    std::vector<FileCall> takeCalls();

    /**
     * Loads the library on the hub. Other threads run from now on. Reports any failure; having no
     * sensors at all is one.
     */
    ExitCode open();

    /** These need a successful open(). */
    ISensorsSubHal& subHal() { return *mLibrary->subHal(); }
    Result batch(int32_t handle, int64_t periodNs, int64_t latencyNs);
    Result activate(int32_t handle, bool enable);
    Result flush(int32_t handle);
    /** Reports when the library refuses, which leftOn() then remembers. */
    void switchOff(int32_t handle);
    bool leftOn() const { return mLeftOn; }
    EventQueue& events() { return mEvents; }
    const std::vector<SensorInfo>& sensors() const { return mSensors; }

    /** Passes the callback again, as a restarted proxy does. */
    Result initializeAgain() { return subHal().initialize(mCallback); }

    /** The one sensor that `text` names; null after reporting none or several. */
    const SensorInfo* find(const std::string& text) const;

    /** Null on the machine's own hub. */
    Hub* hub() { return mHub.get(); }

    /**
     * Unloads the library. False when it stays: its destructor would wait in exit() for a sensor to
     * report once more, so the process must end without destructors.
     */
    bool close();

    /** Wakelocks not released; meaningful once the library is unloaded. */
    int wakelocksHeld() const { return mCallback ? mCallback->wakelock().held() : 0; }

  private:
    ExitCode initialize();
    void tapCalls();
    template <typename Call>
    Result request(ProxyRequest request, const Call& call);
    ExitCode reportNoSensors() const;

    const GlobalOptions& mOptions;
    EventQueue mEvents;
    std::unique_ptr<Recorder> mRecorder;
    std::unique_ptr<Recording> mRecording;
    std::unique_ptr<Hub> mHub;
    bool mLeftOn = false;
    bool mCallsAreKept = false;
    std::mutex mCallLock;
    std::vector<FileCall> mCalls;  // guarded by mCallLock
    std::unique_ptr<CallTap> mTap;
    android::sp<HalProxyCallback> mCallback;
    std::unique_ptr<host_proxy::SubHalLibrary> mLibrary;
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

    /** False when the library refused; that was reported. */
    bool active() const { return mActive; }
    /** Before it was switched on. Earlier stamps are left from its previous user. */
    int64_t startNs() const { return mStartNs; }

  private:
    Proxy& mProxy;
    int32_t mHandle;
    int64_t mStartNs = 0;
    bool mActive = false;
};

}  // namespace subhalctl
