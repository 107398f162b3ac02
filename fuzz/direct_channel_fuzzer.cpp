#include <cutils/ashmem.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <hardware/gralloc1.h>
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

// The input is a row of steps: a client's memory descriptions, reports and events of the direct
// report sensor; graphics buffers of an allocator that answers as the input says; conversions there
// and back; the queue.
namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
namespace convert = android::hardware::sensors::V1_0::implementation;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemType;

constexpr int kVdis = 38;
constexpr size_t kMaxSteps = 20;
constexpr size_t kBuffer = 400;

// The allocator. Bits of gMissing: 0 the device, 1 to 5 its functions, 6 the address, 7 the module.
uint8_t gMissing = 0;
uint16_t gVersion = 1 << 8;
int32_t gAnswer = 0;
uint8_t gBytes[kBuffer];
hw_module_methods_t gMethods;
gralloc_module_t gModule;
gralloc1_device_t gDevice;
alloc_device_t gAllocator;

bool isMissing(int bit) {
    return (gMissing & 1 << bit) != 0;
}

int32_t lockBuffer(void** address) {
    if (!isMissing(6)) *address = gBytes;
    return gAnswer;
}

gralloc1_function_pointer_t functionOf(gralloc1_device_t*, int32_t number) {
    using Pointer = gralloc1_function_pointer_t;
    const GRALLOC1_PFN_RETAIN retain = [](gralloc1_device_t*, buffer_handle_t) { return gAnswer; };
    const GRALLOC1_PFN_LOCK lock = [](gralloc1_device_t*, buffer_handle_t, uint64_t, uint64_t,
                                      const gralloc1_rect_t*, void** address,
                                      int32_t) { return lockBuffer(address); };
    const GRALLOC1_PFN_UNLOCK unlock = [](gralloc1_device_t*, buffer_handle_t, int32_t*) {
        return gAnswer;
    };
    const GRALLOC1_PFN_GET_BACKING_STORE store = [](gralloc1_device_t*, buffer_handle_t,
                                                    gralloc1_backing_store_t*) { return gAnswer; };
    switch (number) {
        case GRALLOC1_FUNCTION_GET_BACKING_STORE:
            return isMissing(1) ? nullptr : reinterpret_cast<Pointer>(store);
        case GRALLOC1_FUNCTION_LOCK:
            return isMissing(2) ? nullptr : reinterpret_cast<Pointer>(lock);
        case GRALLOC1_FUNCTION_UNLOCK:
            return isMissing(3) ? nullptr : reinterpret_cast<Pointer>(unlock);
        default:
            return isMissing(4) ? nullptr : reinterpret_cast<Pointer>(retain);
    }
}

void makeModule() {
    gMethods.open = [](const hw_module_t*, const char* name, hw_device_t** device) -> int {
        const bool isLegacy = strcmp(name, "gpu0") == 0;
        if (!isMissing(0)) *device = isLegacy ? &gAllocator.common : &gDevice.common;
        return gAnswer;
    };
    gModule.common.module_api_version = gVersion;
    gModule.common.methods = &gMethods;
    gModule.registerBuffer = [](const gralloc_module_t*, buffer_handle_t) { return gAnswer; };
    gModule.unregisterBuffer = gModule.registerBuffer;
    gModule.unlock = gModule.registerBuffer;
    gModule.lock = [](const gralloc_module_t*, buffer_handle_t, int, int, int, int, int,
                      void** address) { return lockBuffer(address); };
    gDevice.getFunction = functionOf;
    gDevice.getCapabilities = [](gralloc1_device_t*, uint32_t* count, int32_t* capabilities) {
        *capabilities = gAnswer;
        *count = 9;  // more than there was room for
    };
    gAllocator.common.close = [](hw_device_t*) { return 0; };
}

/** Another one than the process's own, which keeps its first allocator. */
struct Wrapper : GrallocHalWrapper {
    explicit Wrapper(const native_handle_t* handle) {
        void* address = nullptr;
        registerBuffer(handle);
        lock(handle, 0, 0, 0, 1, 1, &address);
        isSameMemory(handle, handle);
        unlock(handle);
        unregisterBuffer(handle);
        if (getError() != 0 && getVersion() >= 0 && gMissing == 0) abort();
    }
};

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
    struct Handle {
        Handle(int fds, int ints) : handle(native_handle_create(fds, ints)) {}
        ~Handle() { native_handle_delete(handle); }
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;
        native_handle_t* handle;
    };

    void registerChannel(fuzzing::Input& input) {
        const uint8_t kind = input.byte();
        const size_t size = static_cast<size_t>(input.byte()) * 16;
        const Handle handle((kind & 7) != 7 ? 1 : 0, 1);
        // A region, a device, or none at all; if nobody takes it, it is this function's.
        int fd = -1;
        if ((kind & 3) == 2) fd = open("/dev/null", O_RDWR | O_CLOEXEC);
        if ((kind & 3) < 2) fd = ashmem_create_region("client", size);
        handle.handle->data[0] = fd;
        SharedMemInfo mem;
        mem.type = static_cast<SharedMemType>((kind & 8) != 0 ? input.byte() : 1);
        mem.format = static_cast<SharedMemFormat>((kind & 16) != 0 ? input.byte() : 1);
        mem.size = static_cast<uint32_t>(size) + ((kind & 32) != 0 ? input.byte() : 0U);
        if ((kind & 192) != 192) mem.memoryHandle = handle.handle;
        const bool isTaken = mem.type == SharedMemType::ASHMEM &&
                             mem.format == SharedMemFormat::SENSORS_EVENT && (kind & 192) != 192 &&
                             handle.handle->numFds == 1;
        subHal.registerDirectChannel(mem, [this](Result result, int32_t channel) {
            if (result == Result::OK) mChannel = channel;
        });
        if (!isTaken && fd >= 0) close(fd);
    }

    void graphicsBuffer(fuzzing::Input& input) {
        constexpr int32_t kAnswers[] = {0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 100, -12};
        gMissing = input.byte();
        gVersion = static_cast<uint16_t>((input.byte() % 3) << 8);
        const int32_t answer = kAnswers[input.byte() % std::size(kAnswers)];
        const Handle handle(0, 1);
        gAnswer = (gMissing & 16) != 0 ? answer : 0;
        { const Wrapper wrapper(handle.handle); }
        // The process's own is of version 1 and whole.
        gMissing = 0;
        gVersion = 1 << 8;
        gAnswer = 0;
        GrallocHalWrapper::getInstance();
        gAnswer = answer;
        gMissing = input.byte();
        const sensors_direct_mem_t mem = {SENSOR_DIRECT_MEM_TYPE_GRALLOC,
                                          SENSOR_DIRECT_FMT_SENSORS_EVENT, input.byte() % kBuffer,
                                          (gMissing & 1) != 0 ? nullptr : handle.handle};
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

    simulator::SimulatedHub hub{[] {
        simulator::SimulatedHub::Options options;
        options.sensors = fuzzing::only({kVdis});
        return options;
    }()};
    SensorsSubHal& subHal = *new SensorsSubHal;  // stays: its thread waits for a record
    int32_t mChannel = 0;
};

}  // namespace

// Found before the platform's own.
extern "C" __attribute__((visibility("default"))) int hw_get_module(const char*,
                                                                    const hw_module_t** module) {
    makeModule();
    if (!isMissing(7)) *module = &gModule.common;
    return gAnswer;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Bench& bench = *new Bench;
    fuzzing::Input input(data, size);
    for (size_t i = 0; i < kMaxSteps && !input.atEnd(); ++i)
        bench.step(input);
    bench.tidy();
    return 0;
}
