#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace subhalctl {

/** Stands behind what the library asks of the platform beside files. Any thread. */
class PlatformHooks {
  public:
    virtual ~PlatformHooks() = default;

    /** What the library is to take for the time since boot, which is `now`. */
    virtual int64_t clock(int64_t now) { return now; }
    /** A property's value in place of the platform's. */
    virtual std::optional<std::string> property(const std::string&) { return {}; }
    virtual void propertyWasRead(const std::string&, const std::string&) {}
};

/** Null for none. They outlive the library. */
void setPlatformHooks(PlatformHooks* hooks);
PlatformHooks* platformHooks();

/** Sees each property that is read or set, for "--trace"; null for none. */
using PropertySink = void (*)(const char* call, const std::string& name, const std::string& value);
void setPropertySink(PropertySink sink);
void propertyWasUsed(const char* call, const std::string& name, const std::string& value);

/** The clock of the events' time stamps: the machine's, or that of a recording. */
int64_t hubNowNs();

/** Sets hubNowNs() to run on from `startNs`, or to stand still there. */
void setHubClock(int64_t startNs, bool runs);

int64_t bootTimeNs();

}  // namespace subhalctl
