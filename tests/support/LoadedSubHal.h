#pragma once

#include <functional>
#include <string>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "simulator/SimulatedHub.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OnlySensors.h"
#include "tools/proxy/SubHalLibrary.h"

namespace testing_support {

using namespace android::hardware::sensors::V1_0;
using namespace android::hardware::sensors::V2_0::implementation;
using simulator::RecordBuilder;
using simulator::Request;

/** The shipped library, loaded as the proxy loads it, on a hub without signals of its own. */
class LoadedSubHal {
  public:
    using Options = simulator::SimulatedHub::Options;

    /** @param prepare runs on the hub before the library is loaded */
    explicit LoadedSubHal(
        const Options& options = {},
        const std::function<void(simulator::SimulatedHub&)>& prepare = [](auto&) {});
    ~LoadedSubHal();

    simulator::SimulatedHub& hub() { return mHub; }
    ISensorsSubHal& hal() { return *mLibrary.subHal(); }
    HalProxyCallback& proxy() { return *mProxy; }
    host_proxy::SubHalLibrary& library() { return mLibrary; }

    /** Passes the proxy's callback and forgets the log so far. */
    void initialize();

    /** Queues a record and waits until the library has dealt with it. */
    bool deliver(int handle, const std::string& record);

    /** Of the events that the proxy got since the last call, and of what is delivered. */
    std::vector<int64_t> timestamps();
    std::vector<int64_t> timestamps(int handle, const std::string& record);

    /** Makes the region a direct channel; its handle, or -1 when it is refused. */
    int32_t openChannel(const ClientMemory& memory);

    /** "enable HANDLE VALUE" and "batch HANDLE PERIOD LATENCY" lines since the last call. */
    std::vector<std::string> requests();

    /** Ends the library; its destructor's log can be read afterwards. */
    bool unload();

  private:
    LogCapture mLog;
    simulator::SimulatedHub mHub;
    android::sp<HalProxyCallback> mProxy;
    host_proxy::SubHalLibrary mLibrary;
};

/** What a sensor of three 16-bit components sends. */
inline std::string sample(uint64_t timestamp = 4) {
    return RecordBuilder().i16(1).i16(2).i16(3).u64(timestamp).bytes();
}

}  // namespace testing_support
