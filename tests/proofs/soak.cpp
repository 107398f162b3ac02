// Does the same thing very often and looks at what the process holds before and after: descriptors,
// mappings, heap. Each part runs a while first, until everything has its size. The argument divides
// the numbers.

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "tests/proofs/Session.h"
#include "tests/support/ClientMemory.h"

namespace {

using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V1_0::SharedMemType;
using proofs::Session;

constexpr int kVdis = 38;
constexpr int kAccelerometer = 1;
constexpr int kRecordsAtOnce = 50;
constexpr long kHeapSlack = 64 * 1024;
constexpr int kMappingSlack = 2;  // the allocator's own

struct Holding {
    int descriptors = 0;
    int messageDevices = 0;  // stay open for good, one for each time the library is loaded
    int mappings = 0;
    long heap = 0;
};

Holding holding() {
    malloc_trim(0);
    Holding now;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(entry.path(), gone);
        if (gone) continue;
        ++(target.find("hbx_sensorhub") == std::string::npos ? now.descriptors
                                                             : now.messageDevices);
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        ++now.mappings;
    now.heap = static_cast<long>(mallinfo2().uordblks);
    return now;
}

/** Whether `count` times `step` leaves what there was. */
bool isFlat(const char* name, int count, const std::function<void()>& step) {
    for (int i = 0; i < count / 10 + 1; ++i)
        step();
    const Holding before = holding();
    for (int i = 0; i < count; ++i)
        step();
    const Holding after = holding();
    const bool flat = after.descriptors == before.descriptors &&
                      std::abs(after.mappings - before.mappings) <= kMappingSlack &&
                      std::abs(after.heap - before.heap) <= kHeapSlack;
    printf("%-10s %7d times: descriptors %d -> %d, mappings %d -> %d, heap %ld -> %ld bytes%s\n",
           name, count, before.descriptors, after.descriptors, before.mappings, after.mappings,
           before.heap, after.heap, flat ? "" : "  NOT FLAT");
    if (after.messageDevices != before.messageDevices) {
        printf("           and %d message devices, which stay open\n",
               after.messageDevices - before.messageDevices);
    }
    fflush(stdout);
    return flat;
}

void useChannel(Session& session) {
    const testing_support::ClientMemory memory;
    const auto handle = testing_support::handleOf(memory.share());
    const SharedMemInfo mem{SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT,
                            static_cast<uint32_t>(memory.size()), handle.get()};
    const auto channel = host_proxy::registerDirectChannel(session.hal(), mem);
    host_proxy::configDirectReport(session.hal(), kVdis, channel.value, RateLevel::FAST);
    // Now and then it goes with the proxy's restart.
    if (channel.value % 8 == 0) {
        session.initialize();
    } else {
        session.hal().unregisterDirectChannel(channel.value);
    }
    session.hub().clearRequests();
}

}  // namespace

int main(int argc, char** argv) {
    const int divisor = argc > 1 ? std::max(1, atoi(argv[1])) : 1;
    bool flat = true;
    {
        Session session;
        session.start();
        flat &= isFlat("initialize", 10000 / divisor, [&] { session.initialize(); });
        flat &= isFlat("channel", 10000 / divisor, [&] { useChannel(session); });
        session.hal().activate(kAccelerometer, true);
        session.hal().batch(kAccelerometer, 0, 1'000'000'000);
        long delivered = 0;
        const std::string record = simulator::RecordBuilder().i16(1).i16(2).i16(3).u64(4).bytes();
        const int batches = 1'000'000 / kRecordsAtOnce / divisor;
        flat &= isFlat("batch", batches, [&] {
            for (int i = 0; i < kRecordsAtOnce; ++i)
                session.hub().push(kAccelerometer, record);
            session.settle();
            for (const auto& post : session.proxy().take())
                delivered += static_cast<long>(post.events.size());
        });
        const long sent = static_cast<long>(batches + batches / 10 + 1) * kRecordsAtOnce;
        printf("%ld of %ld records delivered\n", delivered, sent);
        flat &= delivered == sent;
    }
    flat &= isFlat("load", 100 / divisor, [] {
        Session session;
        session.start();
        session.initialize();
        if (!session.end()) abort();
    });
    return flat ? 0 : 1;
}
