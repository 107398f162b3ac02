#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "simulator/World.h"

namespace subhalctl {

using simulator::bootTimeNs;

/** Handles the library's calls to the platform other than on files. Any thread. */
class PlatformHooks {
  public:
    virtual ~PlatformHooks() = default;

    /** The time since boot that the library gets, where `now` is the true one. */
    virtual int64_t clock(int64_t now) = 0;
    /** The value that the library gets of a property, where `value` is the platform's. */
    virtual std::string property(const std::string& name, const std::string& value) = 0;
};

/** Null for none. They outlive the library. */
inline std::atomic<PlatformHooks*> gPlatformHooks{nullptr};

/** Sees each property that is read or set, for "--trace"; null for none. */
using PropertySink = void (*)(const char* call, const std::string& name, const std::string& value);
inline std::atomic<PropertySink> gPropertySink{nullptr};

/** The clock of the events' time stamps: the machine's, or that of a recording. */
int64_t hubNowNs();

/** Sets hubNowNs() to continue from `startNs`, or to stop there. */
void setHubClock(int64_t startNs, bool runs);

}  // namespace subhalctl
