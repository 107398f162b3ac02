#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "fuzz/Fuzzing.h"
#include "simulator/SimulatedHub.h"
#include "subhal/SensorsSubHal.h"
#include "tests/support/ClientMemory.h"

// The input is a row of steps: a client's memory descriptions, reports and events of the direct
// report sensor.
namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;

constexpr int kVdis = 38;
constexpr size_t kMaxSteps = 20;

class Bench {
  public:
    Bench() {
        hub.wakeLibrary();
        if (!hub.waitIdle()) abort();
    }

    void step(fuzzing::Input& input) {
        switch (input.byte() % 4) {
            case 0:
                registerChannel(input);
                break;
            case 1:
                subHal.configDirectReport(static_cast<int32_t>(input.byte() % 80) - 1, mChannel,
                                          static_cast<RateLevel>(input.byte() % 5),
                                          [](Result, int32_t) {});
                break;
            case 2:
                subHal.unregisterDirectChannel(mChannel - input.byte() % 3);
                break;
            default:
                subHal.configDirectReport(kVdis, mChannel, RateLevel::FAST, [](Result, int32_t) {});
                if (!hub.push(kVdis, input.take(14)) || !hub.waitIdle()) abort();
        }
    }

    void tidy() {
        subHal.initialize(nullptr);
        hub.clearRequests();
        // A handle without descriptors has descriptor 0 closed.
        const int zero = open("/dev/null", O_RDWR);
        if (zero != 0) close(zero);
    }

  private:
    void registerChannel(fuzzing::Input& input) {
        const uint8_t kind = input.byte();
        const size_t size = static_cast<size_t>(input.byte()) * 16;
        const testing_support::Handle handle(native_handle_create((kind & 7) != 7 ? 1 : 0, 1));
        // A region, a device, or none at all; if nobody takes it, it is this function's.
        int fd = -1;
        if ((kind & 3) == 2) fd = open("/dev/null", O_RDWR | O_CLOEXEC);
        if ((kind & 3) < 2) fd = ashmem_create_region("client", size);
        handle->data[0] = fd;
        SharedMemInfo mem;
        mem.type = static_cast<SharedMemType>((kind & 8) != 0 ? input.byte() : 1);
        mem.format = static_cast<SharedMemFormat>((kind & 16) != 0 ? input.byte() : 1);
        mem.size = static_cast<uint32_t>(size) + ((kind & 32) != 0 ? input.byte() : 0U);
        if ((kind & 192) != 192) mem.memoryHandle = handle.get();
        const bool isTaken = mem.type == SharedMemType::ASHMEM &&
                             mem.format == SharedMemFormat::SENSORS_EVENT && (kind & 192) != 192 &&
                             handle->numFds == 1;
        subHal.registerDirectChannel(mem, [this](Result result, int32_t channel) {
            if (result == Result::OK) mChannel = channel;
        });
        if (!isTaken && fd >= 0) close(fd);
    }

    simulator::SimulatedHub hub{testing_support::onlySensors({kVdis})};
    SensorsSubHal& subHal = *new SensorsSubHal;  // stays: its thread waits for a record
    int32_t mChannel = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench& bench = *new Bench;
    fuzzing::Input input(data, size);
    for (size_t i = 0; i < kMaxSteps && !input.atEnd(); ++i)
        bench.step(input);
    bench.tidy();
    return 0;
}
