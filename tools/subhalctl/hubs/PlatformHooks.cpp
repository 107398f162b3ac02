#include "tools/subhalctl/hubs/PlatformHooks.h"

namespace subhalctl {
namespace {

std::atomic<int64_t> gOffsetNs{0};    // of the hub's clock against the machine's
std::atomic<int64_t> gStandingNs{0};  // above 0: the clock stands there

}  // namespace

int64_t hubNowNs() {
    const int64_t standing = gStandingNs;
    return standing > 0 ? standing : bootTimeNs() + gOffsetNs;
}

void setHubClock(int64_t startNs, bool runs) {
    gStandingNs = runs ? 0 : startNs;
    gOffsetNs = startNs - bootTimeNs();
}

}  // namespace subhalctl
