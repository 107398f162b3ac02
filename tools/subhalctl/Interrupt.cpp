#include "tools/subhalctl/Interrupt.h"

#include <atomic>
#include <csignal>

namespace subhalctl {
namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "written in a signal handler");

void onSignal(int) {
    gInterrupted.store(true, std::memory_order_relaxed);
}

}  // namespace

void catchInterrupts() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool interrupted() {
    return gInterrupted.load(std::memory_order_relaxed);
}

}  // namespace subhalctl
