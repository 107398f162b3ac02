#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "directchannel/GrallocHalWrapper.h"
#include "directchannel/RingBuffer.h"
#include "fuzz/Fuzzing.h"
#include "simulator/SimulatedHub.h"
#include "subhal/SensorsSubHal.h"
#include "subhal/convert.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/FakeGralloc.h"

// The input is a row of steps: a client's memory descriptions, reports and events of the direct
// report sensor; graphics buffers of an allocator whose results the input gives; conversions there
// and back; the queue.
namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
namespace convert = android::hardware::sensors::V1_0::implementation;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;
using testing_support::FakeGralloc;

constexpr int kVdis = 38;
constexpr size_t kMaxSteps = 20;

/** Another one than the process's own, which keeps its first allocator. */
struct Wrapper : GrallocHalWrapper {
    explicit Wrapper(const native_handle_t* handle, bool isWhole) {
        void* address = nullptr;
        registerBuffer(handle);
        lock(handle, 0, 0, 0, 1, 1, &address);
        isSameMemory(handle, handle);
        unlock(handle);
        unregisterBuffer(handle);
        if (getError() != 0 && getVersion() >= 0 && isWhole) abort();
    }
};

/** What an allocator returns or lacks. */
FakeGralloc::Results resultsOf(fuzzing::Input& input) {
    constexpr const char* kCalls[] = {"load", "open",   "register", "retain",
                                      "lock", "unlock", "own",      "other"};
    constexpr const char* kParts[] = {"-module", "-device", "-getFunction", "-address",
                                      "-8",      "-16",     "-18",          "-20"};
    FakeGralloc::Results all;
    const uint8_t failing = input.byte();
    const uint8_t missing = input.byte();
    const int result = input.byte() % 16 - 4;
    for (size_t i = 0; i < 8; ++i) {
        if ((failing & 1 << i) != 0) all[kCalls[i]] = result;
        if ((missing & 1 << i) != 0) all[kParts[i]] = 0;
    }
    return all;
}

class Bench {
  public:
    Bench() {
        hub.wakeLibrary();
        if (!hub.waitIdle()) abort();
    }

    void step(fuzzing::Input& input) {
        switch (input.byte() % 8) {
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
            case 3:
                subHal.configDirectReport(kVdis, mChannel, RateLevel::FAST, [](Result, int32_t) {});
                if (!hub.push(kVdis, input.take(14)) || !hub.waitIdle()) abort();
                break;
            case 4:
                graphicsBuffer(input);
                break;
            case 5:
                queue(input);
                break;
            default:
                conversions(input);
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

    void graphicsBuffer(fuzzing::Input& input) {
        const testing_support::Handle handle(native_handle_create(0, 1));
        {
            FakeGralloc gralloc(input.byte() % 3, resultsOf(input));
            gralloc.capabilities = {4, 4, input.byte(), 4};  // one more than there is room for
            const Wrapper wrapper(handle.get(), gralloc.results.empty());
        }
        // The process's own is of version 1 and whole.
        FakeGralloc gralloc(1, {});
        GrallocHalWrapper::getInstance();
        gralloc.results = resultsOf(input);
        const sensors_direct_mem_t mem = {SENSOR_DIRECT_MEM_TYPE_GRALLOC,
                                          SENSOR_DIRECT_FMT_SENSORS_EVENT, input.byte() * size_t{3},
                                          input.byte() % 8 == 0 ? nullptr : handle.get()};
        GrallocDirectChannel channel(&mem);
        sensors_event_t event;
        input.fill(&event, sizeof(event));
        channel.write(&event);
        if (mem.handle != nullptr) channel.memoryMatches(&mem);
    }

    static void queue(fuzzing::Input& input) {
        RingBuffer ring(1 + input.byte() % 8);
        std::vector<sensors_event_t> events(9);
        size_t held = 0;
        for (int i = 0; i < 8; ++i) {
            held += ring.write(events.data(), input.byte() % events.size());
            if (held > 0) held -= ring.read(events.data(), input.byte() % events.size());
        }
    }

    static void conversions(fuzzing::Input& input) {
        sensors_event_t record;
        input.fill(&record, sizeof(record));
        record.type = input.byte() % 64;
        ASensorEvent other;
        memcpy(&other, &record, sizeof(other));
        Event event;
        convert::convertFromASensorEvent(other, &event);
        sensors_event_t back;
        convert::convertToSensorEvent(event, &back);
        Event again;
        convert::convertFromSensorEvent(back, &again);
        if (memcmp(&event, &again, sizeof(event)) != 0) abort();

        const std::string name = input.take(8);
        sensor_t sensor = {};
        sensor.name = input.byte() % 4 == 0 ? nullptr : name.c_str();
        sensor.maxDelay = input.byte();
        SensorInfo info;
        convert::convertFromSensor(sensor, &info);
        convert::convertToSensor(info, &sensor);
        for (const char* text :
             {sensor.name, sensor.vendor, sensor.stringType, sensor.requiredPermission})
            free(const_cast<char*>(text));
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
