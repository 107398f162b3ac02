// Does the same thing very often and looks at what the process holds before and after: descriptors,
// mappings, heap. Each part runs a while first, until everything has its size. The argument divides
// the numbers.

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/proofs/Session.h"

namespace {

using android::hardware::sensors::V1_0::RateLevel;
using proofs::Session;

constexpr int kVdis = 38;
constexpr int kAccelerometer = 1;
constexpr int kRecordsAtOnce = 50;
constexpr long kHeapSlack = 64 * 1024;
constexpr int kMappingSlack = 2;  // the allocator's own

struct Holding {
    long descriptors = static_cast<long>(proofs::openFiles().size());
    long mappings = 0;
    long heap = 0;

    Holding() {
        malloc_trim(0);
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            ++mappings;
        heap = static_cast<long>(mallinfo2().uordblks);
    }
};

/** Whether `count` times `step` leaves what there was. */
bool isFlat(const char* name, int count, const std::function<void()>& step) {
    for (int i = 0; i < count / 10 + 1; ++i)
        step();
    const Holding before;
    for (int i = 0; i < count; ++i)
        step();
    const Holding after;
    const bool flat = after.descriptors == before.descriptors &&
                      std::abs(after.mappings - before.mappings) <= kMappingSlack &&
                      std::abs(after.heap - before.heap) <= kHeapSlack;
    printf(
        "%-10s %7d times: descriptors %ld -> %ld, mappings %ld -> %ld, heap %ld -> %ld bytes%s\n",
        name, count, before.descriptors, after.descriptors, before.mappings, after.mappings,
        before.heap, after.heap, flat ? "" : "  NOT FLAT");
    fflush(stdout);
    return flat;
}

void useChannel(testing_support::LoadedSubHal& subHal) {
    const testing_support::ClientMemory memory;
    const int32_t channel = subHal.openChannel(memory);
    host_proxy::configDirectReport(subHal.hal(), kVdis, channel, RateLevel::FAST);
    // Now and then it goes with the proxy's restart.
    if (channel % 8 == 0) {
        subHal.hal().initialize(&subHal.proxy());
    } else {
        subHal.hal().unregisterDirectChannel(channel);
    }
    subHal.hub().clearRequests();
    testing_support::LogCapture::take();
}

}  // namespace

int main(int argc, char** argv) {
    const int divisor = argc > 1 ? std::max(1, atoi(argv[1])) : 1;
    bool flat = true;
    {
        Session session;
        auto& subHal = session.subHal();
        flat &= isFlat("initialize", 10000 / divisor, [&] { subHal.initialize(); });
        flat &= isFlat("channel", 10000 / divisor, [&] { useChannel(subHal); });
        subHal.hal().activate(kAccelerometer, true);
        subHal.hal().batch(kAccelerometer, 0, 1'000'000'000);
        long delivered = 0;
        const int batches = 1'000'000 / kRecordsAtOnce / divisor;
        flat &= isFlat("batch", batches, [&] {
            for (int i = 0; i < kRecordsAtOnce; ++i)
                subHal.hub().push(kAccelerometer, testing_support::sample());
            session.settle();
            testing_support::LogCapture::take();
            for (const auto& post : subHal.proxy().take())
                delivered += static_cast<long>(post.events.size());
        });
        const long sent = static_cast<long>(batches + batches / 10 + 1) * kRecordsAtOnce;
        printf("%ld of %ld records delivered\n", delivered, sent);
        flat &= delivered == sent;
    }
    flat &= isFlat("load", 100 / divisor, [] {
        Session session;
        if (!session.subHal().unload()) abort();
    });
    return flat ? 0 : 1;
}
