#pragma once

#include <V2_0/SubHal.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "simulator/HubServices.h"
#include "simulator/RearLightSensor.h"
#include "simulator/SimulatedHub.h"
#include "tools/proxy/SubHalLibrary.h"

namespace proofs {

/**
 * The library on a hub of a few sensors, through everything that it does: start, one round of
 * requests and records after the other, end.
 */
class Session {
  public:
    /** What can stop working by itself. */
    enum Part {
        kCatalogue,
        kAccelerometer,
        kOneShot,
        kLight,
        kGyroscope,
        kContext,
        kMessages,
        kFiles,
        kDumps,
        kStanding,  // the library stands still
        kParts
    };
    static const char* const kPartNames[kParts];

    Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /** @param loaded runs before the library's first call */
    void start(const std::function<void(void* library)>& loaded = nullptr);
    /** Answers a bit for each part that did not do all that it has to. */
    uint32_t round();
    /** What round() missed first, in words. */
    const std::string& complaint() const { return mComplaint; }
    /** Ends the library; false when it stays resident. */
    bool end();

    simulator::SimulatedHub& hub() { return mHub; }
    host_proxy::ISensorsSubHal& hal() { return *mHal; }
    host_proxy::HalProxyCallback& proxy() { return *mProxy; }
    void initialize();

    /** Waits until the library has dealt with everything. */
    void settle();

  private:
    static constexpr int kVdis = 38;

    void expect(Part part, bool good, const std::string& what);
    /** Queues a record; whether the proxy gets an event of the sensor. */
    bool delivers(int handle, const std::string& record);
    bool hasKept(simulator::Request::Kind kind, int handle);
    void inject(int handle, uint32_t word0, uint32_t word1);
    std::string serve(int operation, const std::string& request);

    void sensors();
    void firmware();
    void directChannel();

    simulator::SimulatedHub mHub;
    simulator::RearLightSensor mRear;
    simulator::HubServices mServices;
    android::sp<host_proxy::HalProxyCallback> mProxy;
    void* mLibrary = nullptr;
    host_proxy::ISensorsSubHal* mHal = nullptr;
    std::set<int> mListed;
    uint32_t mLost = 0;
    int mRounds = 0;
    std::string mComplaint;
};

}  // namespace proofs
