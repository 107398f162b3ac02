#include <utils/SystemClock.h>

#include <ctime>

namespace android {
namespace {

constexpr int64_t kNsPerSecond = 1000000000;
constexpr int64_t kNsPerMs = 1000000;

int64_t nowNs(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return int64_t{now.tv_sec} * kNsPerSecond + now.tv_nsec;
}

}  // namespace

int64_t uptimeMillis() {
    return nowNs(CLOCK_MONOTONIC) / kNsPerMs;
}

int64_t elapsedRealtime() {
    return elapsedRealtimeNano() / kNsPerMs;
}

int64_t elapsedRealtimeNano() {
    return nowNs(CLOCK_BOOTTIME);
}

}  // namespace android
