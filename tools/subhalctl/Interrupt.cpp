#include "tools/subhalctl/Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace subhalctl {
namespace {

std::atomic<bool> gInterrupted{false};
std::atomic<bool> gSignalled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "written in a signal handler");

int gWakePipe[2] = {-1, -1};

void onSignal(int signal) {
    if (gSignalled.exchange(true)) _exit(128 + signal);
    const int saved = errno;
    requestStop();
    errno = saved;
}

}  // namespace

void catchInterrupts() {
    if (pipe2(gWakePipe, O_CLOEXEC | O_NONBLOCK) != 0) gWakePipe[0] = gWakePipe[1] = -1;
    struct sigaction action {};
    action.sa_handler = onSignal;  // no SA_RESTART: blocking calls have to return
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        // nohup, or a shell's background job: the run goes on.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

void requestStop() {
    if (gInterrupted.exchange(true)) return;
    // The pipe is empty and does not block; without it, waiting ends at its next time-out.
    [[maybe_unused]] const ssize_t written = write(gWakePipe[1], "", 1);
}

bool interrupted() {
    return gInterrupted.load(std::memory_order_relaxed);
}

int interruptFd() {
    return gWakePipe[0];
}

}  // namespace subhalctl
