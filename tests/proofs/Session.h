#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "simulator/HubServices.h"
#include "simulator/RearLightSensor.h"
#include "tests/support/LoadedSubHal.h"

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
        kHanging  // the poll thread
    };

    /** @param loaded runs before the library's first call */
    explicit Session(const std::function<void(void* library)>& loaded = {});

    /** Returns a bit for each part that failed. */
    uint32_t round();
    /** The first failure of the last round(). */
    const std::string& complaint() const { return mComplaint; }

    testing_support::LoadedSubHal& subHal() { return mSubHal; }

    /** Waits until the library has dealt with everything. */
    void settle();

  private:
    void expect(Part part, bool good, const std::string& what);
    /** Queues a record; whether the proxy gets an event of the sensor. */
    bool delivers(int handle, const std::string& record);
    bool hasKept(simulator::Request::Kind kind, int handle);
    void inject(int handle, uint32_t word0, uint32_t word1);
    std::string serve(int operation, const std::string& request);

    void sensors();
    void firmware();
    void directChannel();

    void* mPreloaded = nullptr;
    std::unique_ptr<simulator::RearLightSensor> mRear;
    std::unique_ptr<simulator::HubServices> mServices;
    testing_support::LoadedSubHal mSubHal;
    simulator::SimulatedHub& mHub;
    host_proxy::ISensorsSubHal& mHal;
    std::set<int> mListed;
    uint32_t mLost = 0;
    int mRounds = 0;
    std::string mComplaint;
};

/** What the process has open, apart from the message device: the library never closes it. */
std::vector<std::string> openFiles();

}  // namespace proofs
