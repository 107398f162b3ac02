#include "tools/subhalctl/hubs/PlatformHooks.h"

#include <time.h>

#include <atomic>

namespace subhalctl {
namespace {

std::atomic<PlatformHooks*> gHooks{nullptr};
std::atomic<PropertySink> gPropertySink{nullptr};
std::atomic<int64_t> gOffsetNs{0};    // of the hub's clock against the machine's
std::atomic<int64_t> gStandingNs{0};  // above 0: the clock stands there

}  // namespace

void setPlatformHooks(PlatformHooks* hooks) {
    gHooks = hooks;
}

PlatformHooks* platformHooks() {
    return gHooks;
}

void setPropertySink(PropertySink sink) {
    gPropertySink = sink;
}

void propertyWasUsed(const char* call, const std::string& name, const std::string& value) {
    if (const PropertySink sink = gPropertySink) sink(call, name, value);
}

int64_t bootTimeNs() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

int64_t hubNowNs() {
    const int64_t standing = gStandingNs;
    return standing > 0 ? standing : bootTimeNs() + gOffsetNs;
}

void setHubClock(int64_t startNs, bool runs) {
    gStandingNs = runs ? 0 : startNs;
    gOffsetNs = startNs - bootTimeNs();
}

}  // namespace subhalctl
