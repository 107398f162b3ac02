#include "directchannel/DirectChannel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <hardware/gralloc.h>
#include <hardware/gralloc1.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "directchannel/GrallocHalWrapper.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LogCapture.h"

namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using namespace testing_support;

constexpr size_t kSize = 1000;

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

sensors_direct_mem_t memoryOf(int type, const native_handle_t* handle, size_t size = kSize) {
    return {type, SENSOR_DIRECT_FMT_SENSORS_EVENT, size, handle};
}

/** A channel's error on memory, 0 when it is valid. The descriptor ends with it. */
int32_t errorOf(int fd, size_t size) {
    const auto handle = handleOf(fd);
    const sensors_direct_mem_t mem = memoryOf(SENSOR_DIRECT_MEM_TYPE_ASHMEM, handle.get(), size);
    auto channel = std::make_unique<AshmemDirectChannel>(&mem);
    EXPECT_FALSE(channel->memoryMatches(&mem));
    int32_t error = channel->getError();
    if (channel->isValid()) {
        EXPECT_EQ(error, -19);
        error = 0;
    }
    EXPECT_TRUE(isOpen(fd));
    sensors_event_t event = {};
    channel->write(&event);
    channel.reset();
    EXPECT_FALSE(isOpen(fd));
    return error;
}

TEST(AshmemDirectChannel, TakesARegionOfJustTheSize) {
    const auto region = [](size_t size) { return ashmem_create_region("region", size); };
    // Too small for a record is no reason.
    for (const size_t size : {kSize, size_t{103}, size_t{0}})
        EXPECT_EQ(errorOf(region(size), size), 0) << size;
    for (const size_t size : {kSize + 1, kSize - 1, SIZE_MAX, size_t{0}})
        EXPECT_EQ(errorOf(region(kSize), size), -22) << size;
    EXPECT_EQ(errorOf(open("/dev/null", O_RDWR), 0), -22);
    // Mapping fails: memory that the client may only read.
    const int writable = region(kSize);
    const int readOnly = open(("/proc/self/fd/" + std::to_string(writable)).c_str(), O_RDONLY);
    close(writable);
    EXPECT_EQ(errorOf(readOnly, kSize), -12);
}

TEST(AshmemDirectChannel, WithoutADescriptorClosesDescriptorZero) {
    const int saved = fcntl(STDIN_FILENO, F_DUPFD, 3);
    const Handle empty(native_handle_create(0, 1));
    for (const native_handle_t* handle : {static_cast<native_handle_t*>(nullptr), empty.get()}) {
        close(STDIN_FILENO);
        ASSERT_EQ(open("/dev/null", O_RDONLY), STDIN_FILENO);
        const auto mem = memoryOf(SENSOR_DIRECT_MEM_TYPE_ASHMEM, handle);
        auto channel = std::make_unique<AshmemDirectChannel>(&mem);
        EXPECT_FALSE(channel->isValid());
        EXPECT_EQ(channel->getError(), -22);
        EXPECT_TRUE(isOpen(STDIN_FILENO));
        channel.reset();
        EXPECT_FALSE(isOpen(STDIN_FILENO));
    }
    if (saved >= 0) {
        dup2(saved, STDIN_FILENO);
        close(saved);
    }
}

// The fake allocator's, of either interface.
struct FakeGralloc* gFake = nullptr;
hw_module_methods_t gMethods;
gralloc_module_t gModule;
gralloc1_device_t gDevice;
alloc_device_t gAllocator;

/** The process's graphics allocator: notes every call, and returns 0 or the result given. One at a
 * time. */
struct FakeGralloc {
    using Results = std::map<std::string, int>;

    /** `given`: results by a call's first word; "-device" and the like are missing. */
    FakeGralloc(int majorVersion, const Results& given) : results(given) {
        gFake = this;
        gModule.common.module_api_version = static_cast<uint16_t>(majorVersion << 8);
    }
    FakeGralloc(const FakeGralloc&) = delete;
    FakeGralloc& operator=(const FakeGralloc&) = delete;
    ~FakeGralloc() { gFake = nullptr; }

    Results results;
    std::vector<int32_t> capabilities;
    std::vector<std::string> calls;
    const native_handle_t* handle = nullptr;  // of the last register or retain
    uint8_t buffer[1000] = {};
};

bool has(const std::string& what) {
    return gFake->results.count("-" + what) == 0;
}

int note(const std::string& call) {
    gFake->calls.push_back(call);
    const auto result = gFake->results.find(call.substr(0, call.find(' ')));
    return result == gFake->results.end() ? 0 : result->second;
}

/** With the counter of the first record, which is cleared before the memory is given back. */
int noteWithCounter(const std::string& call, buffer_handle_t handle) {
    const bool isClosed = handle->numFds > 0 && fcntl(handle->data[0], F_GETFD) < 0;
    uint32_t counter = 0;
    memcpy(&counter, gFake->buffer + 12, sizeof(counter));
    return note(call + " " + std::to_string(counter) + (isClosed ? " closed" : ""));
}

// The owner is the module in the legacy interface, the device in version 1.
template <typename Owner>
int retain(Owner*, buffer_handle_t handle) {
    gFake->handle = handle;
    return note(std::is_const_v<Owner> ? "register" : "retain");
}

template <typename Owner>
int release(Owner*, buffer_handle_t handle) {
    return noteWithCounter(std::is_const_v<Owner> ? "unregister" : "release", handle);
}

template <typename Owner, typename... Fence>
int unlock(Owner*, buffer_handle_t handle, Fence... fence) {
    (void(*fence = 99), ...);
    return noteWithCounter("unlock", handle);
}

int lock(const std::string& usage, const gralloc1_rect_t& region, void** address) {
    if (has("address")) *address = gFake->buffer;
    char place[60];
    snprintf(place, sizeof(place), " %d,%d,%d,%d", region.left, region.top, region.width,
             region.height);
    return note("lock " + usage + place);
}

int lock0(const gralloc_module_t*, buffer_handle_t, int usage, int left, int top, int width,
          int height, void** address) {
    return lock(std::to_string(usage), {left, top, width, height}, address);
}

int lock1(gralloc1_device_t*, buffer_handle_t, uint64_t producer, uint64_t consumer,
          const gralloc1_rect_t* region, void** address, int32_t fence) {
    const std::string usage = std::to_string(producer) + "+" + std::to_string(consumer);
    return lock(usage + std::to_string(fence), *region, address);
}

int backingStore(gralloc1_device_t*, buffer_handle_t handle, uint64_t* store) {
    const bool isOwn = handle == gFake->handle;
    *store = isOwn && !has("same") ? 8 : 7;
    return note(isOwn ? "own" : "other");
}

gralloc1_function_pointer_t functionOf(gralloc1_device_t*, int32_t number) {
    using Pointer = gralloc1_function_pointer_t;
    static const std::map<int32_t, Pointer> functions = {
        {8, reinterpret_cast<Pointer>(backingStore)},
        {15, reinterpret_cast<Pointer>(retain<gralloc1_device_t>)},
        {16, reinterpret_cast<Pointer>(release<gralloc1_device_t>)},
        {18, reinterpret_cast<Pointer>(lock1)},
        {20, reinterpret_cast<Pointer>(unlock<gralloc1_device_t, int32_t*>)},
    };
    return has(std::to_string(number)) ? functions.at(number) : nullptr;
}

void capabilitiesOf(gralloc1_device_t*, uint32_t* room, int32_t* result) {
    const auto& own = gFake->capabilities;
    std::copy_n(own.begin(), std::min<size_t>(*room, own.size()), result);
    *room = static_cast<uint32_t>(own.size());
}

int openDevice(const hw_module_t*, const char* name, hw_device_t** opened) {
    const bool isLegacy = strcmp(name, "gpu0") == 0;
    if (has("device")) *opened = isLegacy ? &gAllocator.common : &gDevice.common;
    return note(std::string("open ") + name);
}

using Calls = std::vector<std::string>;

/**
 * Lets a body have a channel on a buffer of such an allocator, in a process of its own, because the
 * wrapper of a process is made only once.
 */
void onGralloc(int version, const FakeGralloc::Results& results,
               const std::function<void(FakeGralloc& fake, sensors_direct_mem_t memory)>& body) {
    SCOPED_TRACE(testing::PrintToString(results) + " in version " + std::to_string(version));
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        EXPECT_FALSE(GrallocHalWrapper::hasInstance());
        LogCapture log;
        FakeGralloc fake(version, results);
        const Handle handle(native_handle_create(1, 1));
        handle->data[0] = open("/dev/null", O_RDONLY);
        handle->data[1] = 4711;
        body(fake, memoryOf(SENSOR_DIRECT_MEM_TYPE_GRALLOC, handle.get()));
        EXPECT_TRUE(isOpen(handle->data[0]));
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(GrallocDirectChannel, WritesIntoAClonedBuffer) {
    const struct {
        int version;
        std::vector<int32_t> capabilities;
        bool cloneLeft;
    } cases[] = {{1, {1, 2, 3}, true},
                 {1, {1, 2}, false},
                 {1, {1, 2, 4, 3}, false},  // more than there was room for
                 {0, {}, false}};
    for (const auto& c : cases) {
        onGralloc(c.version, {}, [&c](FakeGralloc& fake, const sensors_direct_mem_t& memory) {
            fake.capabilities = c.capabilities;
            auto channel = std::make_unique<GrallocDirectChannel>(&memory);
            EXPECT_TRUE(channel->isValid());
            EXPECT_EQ(channel->getError(), 0);
            auto& gralloc = GrallocHalWrapper::getInstance();
            EXPECT_EQ(gralloc.getError(), 0);
            EXPECT_EQ(gralloc.getVersion(), c.version);
            ASSERT_NE(fake.handle, memory.handle);
            const int cloneFd = fake.handle->data[0];
            EXPECT_EQ(fake.handle->data[1], 4711);
            sensors_event_t event = {};
            channel->write(&event);
            EXPECT_EQ(fake.buffer[12], 1U);
            channel.reset();
            EXPECT_EQ(isOpen(cloneFd), c.cloneLeft);
            Calls expected = {"load gralloc",       "open gpu0", "register",
                              "lock 48 0,0,1000,1", "unlock 0",  "unregister 0"};
            if (c.version == 1)
                expected = {"load gralloc",           "open gralloc", "retain",
                            "lock 96+0-1 0,0,1000,1", "unlock 0",     "release 0"};
            if (!c.cloneLeft) expected.emplace_back("delete");
            EXPECT_EQ(fake.calls, expected);
            if (c.version == 0) {
                EXPECT_LOG();
            } else {
                EXPECT_LOG(std::string("I gralloc hal ") + (c.cloneLeft ? "" : "does not ") +
                           "support RELEASE_IMPLY_DELETE");
            }
        });
    }
}

TEST(GrallocDirectChannel, MatchesByBackingStore) {
    onGralloc(0, {}, [](FakeGralloc&, const sensors_direct_mem_t& memory) {
        EXPECT_FALSE(GrallocDirectChannel(&memory).memoryMatches(&memory));
    });
    onGralloc(1, {}, [](FakeGralloc& fake, sensors_direct_mem_t memory) {
        const GrallocDirectChannel channel(&memory);
        EXPECT_TRUE(channel.memoryMatches(&memory));
        for (const char* differing : {"-same", "other", "own"}) {
            fake.results = {{differing, 2}};
            EXPECT_FALSE(channel.memoryMatches(&memory)) << differing;
        }
        fake.results.clear();
        memory.type = SENSOR_DIRECT_MEM_TYPE_ASHMEM;
        EXPECT_FALSE(channel.memoryMatches(&memory));
    });
}

TEST(GrallocDirectChannel, Failures) {
    using Results = FakeGralloc::Results;
    const std::string load = "E couldn't load gralloc module ";
    const std::string none = " returns no error, but result is nullptr";
    const auto unopened = [](int version, const Results& results, int error,
                             const std::string& line) {
        onGralloc(version, results, [&](FakeGralloc&, const sensors_direct_mem_t& memory) {
            EXPECT_EQ(GrallocDirectChannel(&memory).getError(), -19);
            const auto log = LogCapture::take();
            EXPECT_EQ(("E " + log.front().text).find(line), 0U);
            EXPECT_EQ(log.back(), "E registerBuffer failed");
            auto& gralloc = GrallocHalWrapper::getInstance();
            EXPECT_EQ(gralloc.getError(), error);
            EXPECT_EQ(gralloc.getVersion(), -1);
            EXPECT_EQ(gralloc.lock(memory.handle, 0, 0, 0, 1, 1, nullptr), -19);
            EXPECT_EQ(gralloc.unlock(memory.handle), -19);
        });
    };
    unopened(1, {{"load", -2}, {"-module", 0}}, -2, load + "(No such file or directory)");
    unopened(1, {{"-module", 0}}, -19, "");
    unopened(2, {}, 0, "E Unknown version, not supported");
    unopened(2, {{"load", -5}}, -5, load + "(Input/output error)");
    unopened(1, {{"open", -13}}, -13, "E cannot open gralloc1 device (Permission denied)");
    unopened(1, {{"-getFunction", 0}}, -38, "E gralloc1_open" + none);
    unopened(1, {{"-device", 0}}, -38, "E gralloc1_open" + none);
    unopened(0, {{"-device", 0}}, -38, "E gralloc_open" + none);
    unopened(0, {{"open", -5}}, -5, "E cannot open alloc device (Input/output error)");
    for (const char* missing : {"-8", "-15", "-16", "-18", "-20"})
        unopened(1, {{missing, 0}}, -22,
                 "E Function pointer for retain, release, lock, unlock and ");
    const auto refused = [](int version, const Results& results, int error, const char* line) {
        onGralloc(version, results, [&](FakeGralloc& fake, const sensors_direct_mem_t& memory) {
            EXPECT_EQ(GrallocDirectChannel(&memory).getError(), error);
            EXPECT_EQ(LogCapture::take().back(), line);
            EXPECT_EQ(fake.calls.at(fake.calls.size() - 2),
                      version == 0 ? "unregister 0" : "release 0");
            EXPECT_EQ(fake.calls.back(), "delete");
        });
    };
    refused(0, {{"register", -3}}, -3, "E registerBuffer failed");  // passes as it is
    refused(1, {{"retain", 4}}, -12, "E registerBuffer failed");
    refused(1, {{"lock", 6}, {"-address", 0}}, -38, "E lock buffer failed");
    refused(1, {{"-address", 0}}, -12, "E lock buffer => nullptr");
    onGralloc(1, {}, [](FakeGralloc& fake, sensors_direct_mem_t memory) {
        const auto closed = handleOf(-1);
        memory.handle = closed.get();
        EXPECT_EQ(GrallocDirectChannel(&memory).getError(), -12);
        memory.handle = nullptr;
        EXPECT_EQ(GrallocDirectChannel(&memory).getError(), -22);
        EXPECT_LOG("E clone mem->handle failed...", "E mem->handle == nullptr");
        EXPECT_EQ(fake.calls, Calls{});
    });
    const int32_t expected[] = {0, -22, -22, -22, -12, -12, -38, -38, INT32_MIN, INT32_MIN};
    for (int error = 0; error < 10; ++error)
        EXPECT_EQ(GrallocHalWrapper::mapGralloc1Error(error), expected[error]) << error;
    EXPECT_EQ(GrallocHalWrapper::mapGralloc1Error(-1), INT32_MIN);
}

}  // namespace

// Both are found before the platform's own.
extern "C" __attribute__((visibility("default"))) int native_handle_delete(
    native_handle_t* handle) {
    if (gFake != nullptr) note("delete");
    free(handle);
    return 0;
}

extern "C" __attribute__((visibility("default"))) int hw_get_module(const char* id,
                                                                    const hw_module_t** module) {
    if (gFake == nullptr) return -ENOENT;
    gMethods.open = openDevice;
    gModule.common.methods = &gMethods;
    gModule.registerBuffer = retain<const gralloc_module_t>;
    gModule.unregisterBuffer = release<const gralloc_module_t>;
    gModule.lock = lock0;
    gModule.unlock = unlock<const gralloc_module_t>;
    gDevice.getFunction = has("getFunction") ? functionOf : nullptr;
    gDevice.getCapabilities = capabilitiesOf;
    gAllocator.common.close = [](hw_device_t*) { return note("close"); };
    if (has("module")) *module = &gModule.common;
    return note(std::string("load ") + id);
}
