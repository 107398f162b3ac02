// Counts, under callgrind, the instructions from the return of the record's read to the call of the
// proxy: the library's own work for an event, which no mood of the machine moves. Run by
// scripts/check-instructions.sh with collection switched off at the start.
//
//     event_instructions HANDLE RECORD_SIZE EVENTS

#include <sys/syscall.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

#include "bench/MountedHub.h"

namespace {

std::atomic<size_t> gRecordSize{0};  // of the counted reads, 0 for none
thread_local bool gCounting = false;

void countFrom(bool start) {
    if (gCounting == start) return;
    gCounting = start;
    CALLGRIND_TOGGLE_COLLECT;
}

}  // namespace

// The library's reads come by here.
extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buffer, size_t size) {
    countFrom(false);
    const ssize_t count = syscall(SYS_read, fd, buffer, size);
    if (size == gRecordSize.load(std::memory_order_relaxed)) countFrom(true);
    return count;
}

namespace {

class CountingProxy : public android::hardware::sensors::V2_0::implementation::HalProxyCallback {
  public:
    void postEvents(const std::vector<android::hardware::sensors::V1_0::Event>&,
                    android::hardware::sensors::V2_0::implementation::ScopedWakelock) override {
        countFrom(false);
        mEvents.fetch_add(1, std::memory_order_release);
    }
    void waitFor(int events) const {
        while (mEvents.load(std::memory_order_acquire) < events)
            std::this_thread::yield();
    }

  private:
    std::atomic<int> mEvents{0};
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 1;
    const int handle = atoi(argv[1]);
    const size_t size = strtoul(argv[2], nullptr, 10);
    const int events = atoi(argv[3]);

    auto hub = std::make_unique<bench::MountedHub>(std::vector<int>{handle});
    const bench::EntryPoint entry = bench::loadLibrary();
    hub->enter();
    hub->setDataAvailable(handle, 1);
    uint32_t version = 0;
    auto* hal = entry(&version);
    const android::sp<CountingProxy> proxy(new CountingProxy);
    hal->initialize(
        android::sp<android::hardware::sensors::V2_0::implementation::IHalProxyCallback>(proxy));
    hal->activate(handle, true);

    // The first event pays for the binding of names.
    for (int i = 0; i <= events; ++i) {
        if (i == 1) gRecordSize = size;
        hub->push(handle, std::string(size, '\1'));
        proxy->waitFor(i + 1);
    }
    gRecordSize = 0;
    hub.reset();  // callgrind writes outside
    _exit(0);
}
