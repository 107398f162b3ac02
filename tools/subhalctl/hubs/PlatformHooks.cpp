#include "tools/subhalctl/hubs/PlatformHooks.h"

namespace subhalctl {
namespace {

constexpr int64_t kRuns = -1;

std::atomic<int64_t> gOffsetNs{0};  // of the hub's clock against the machine's
std::atomic<int64_t> gStandingNs{kRuns};

}  // namespace

int64_t hubNowNs() {
    const int64_t standing = gStandingNs;
    return standing != kRuns ? standing : bootTimeNs() + gOffsetNs;
}

void setHubClock(int64_t startNs, bool runs) {
    gStandingNs = runs ? kRuns : startNs;
    gOffsetNs = startNs - bootTimeNs();
}

}  // namespace subhalctl
