#include "directchannel/DirectChannel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <climits>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "directchannel/GrallocHalWrapper.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LogCapture.h"

using android::hardware::sensors::V2_0::zelva_sensorhub::AshmemDirectChannel;
using android::hardware::sensors::V2_0::zelva_sensorhub::GrallocDirectChannel;
using android::hardware::sensors::V2_0::zelva_sensorhub::GrallocHalWrapper;
using testing_support::ClientMemory;
using testing_support::handleOf;
using testing_support::LogCapture;

namespace {

constexpr size_t kSize = 1000;

sensors_event_t eventOf(int32_t sensor) {
    sensors_event_t event = {};
    event.version = 104;
    event.sensor = sensor;
    return event;
}

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

/** How often a region is mapped for writing. */
int writableMappings(int fd) {
    struct stat status = {};
    fstat(fd, &status);
    int count = 0;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        char protection[5];
        unsigned long inode = 0;
        const int fields = sscanf(line.c_str(), "%*s %4s %*s %*s %lu", protection, &inode);
        if (fields == 2 && inode == status.st_ino && protection[1] == 'w') ++count;
    }
    return count;
}

sensors_direct_mem_t memoryOf(const native_handle_t* handle, size_t size = kSize) {
    return {SENSOR_DIRECT_MEM_TYPE_ASHMEM, SENSOR_DIRECT_FMT_SENSORS_EVENT, size, handle};
}

TEST(AshmemDirectChannel, WritesUntilDestroyed) {
    const ClientMemory client(kSize);
    const int fd = client.share();
    const auto handle = handleOf(fd);
    const sensors_direct_mem_t mem = memoryOf(handle.get());
    auto channel = std::make_unique<AshmemDirectChannel>(&mem);
    EXPECT_TRUE(channel->isValid());
    EXPECT_EQ(channel->getError(), -19);
    EXPECT_FALSE(channel->memoryMatches(&mem));
    EXPECT_EQ(writableMappings(fd), 1);
    for (const uint32_t sensor : {38U, 50U}) {
        const sensors_event_t event = eventOf(static_cast<int32_t>(sensor));
        channel->write(&event);
    }
    EXPECT_EQ(client.sensor(0), 38U);
    EXPECT_EQ(client.counter(0), 1U);
    EXPECT_EQ(client.sensor(1), 50U);
    EXPECT_EQ(client.counter(1), 2U);
    EXPECT_EQ(client.counter(2), 0U);

    EXPECT_TRUE(isOpen(fd));
    channel.reset();
    EXPECT_FALSE(isOpen(fd));
    EXPECT_EQ(writableMappings(client.fd()), 0);
    EXPECT_TRUE(client.isZero());
}

/** What a channel says of memory; the descriptor has to be closed. 0 for valid memory. */
int32_t errorOf(int fd, size_t size) {
    const auto handle = handleOf(fd);
    const sensors_direct_mem_t mem = memoryOf(handle.get(), size);
    int32_t error = 0;
    {
        AshmemDirectChannel channel(&mem);
        const sensors_event_t event = eventOf(38);
        channel.write(&event);
        if (!channel.isValid()) error = channel.getError();
        EXPECT_TRUE(isOpen(fd));
    }
    EXPECT_FALSE(isOpen(fd));
    return error;
}

TEST(AshmemDirectChannel, RefusesMemoryThatItCannotUse) {
    const auto region = [](size_t size) { return ashmem_create_region("refused", size); };
    for (const size_t size : {kSize + 1, kSize - 1, SIZE_MAX, size_t{0}})
        EXPECT_EQ(errorOf(region(kSize), size), -22) << size;
    EXPECT_EQ(errorOf(open("/dev/null", O_RDWR), 0), -22);
    // Mapping fails: memory that the client may only read.
    const int writable = region(kSize);
    const int readOnly = open(("/proc/self/fd/" + std::to_string(writable)).c_str(), O_RDONLY);
    close(writable);
    EXPECT_EQ(errorOf(readOnly, kSize), -12);
    // Too small for a record is no reason.
    EXPECT_EQ(errorOf(region(103), 103), 0);
    EXPECT_EQ(errorOf(region(0), 0), 0);
}

TEST(AshmemDirectChannel, WithoutADescriptorClosesDescriptorZero) {
    const int saved = fcntl(STDIN_FILENO, F_DUPFD, 3);
    const testing_support::Handle empty(native_handle_create(0, 1));
    for (const native_handle_t* handle : {static_cast<native_handle_t*>(nullptr), empty.get()}) {
        close(STDIN_FILENO);
        ASSERT_EQ(open("/dev/null", O_RDONLY), STDIN_FILENO);
        const sensors_direct_mem_t mem = memoryOf(handle);
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

// Graphics buffers. --------------------------------------------------------------------------

using Calls = std::vector<std::string>;

/** A graphics allocator of either version: notes every call, and answers 0 unless told. */
struct FakeGralloc {
    /** The major version, then a call's answer ("lock=6") or what is missing ("-device"). */
    explicit FakeGralloc(const std::string& arrangement) {
        std::istringstream words(arrangement);
        int major = 0;
        words >> major;
        version = static_cast<uint16_t>(major << 8);
        for (std::string word; words >> word;) {
            const size_t equals = word.find('=');
            if (equals == std::string::npos) missing.insert(word.substr(1));
            if (equals != std::string::npos)
                answers[word.substr(0, equals)] = std::stoi(word.substr(equals + 1));
        }
    }

    uint16_t version = 1 << 8;
    std::map<std::string, int> answers;  // by the call's first word
    std::set<std::string> missing;       // "module", "device", "address" or a function's number
    std::vector<int32_t> capabilities;
    uint64_t storeOfOwn = 7;

    Calls calls;
    const native_handle_t* handle = nullptr;  // of the last register
    uint8_t buffer[kSize] = {};
    hw_module_methods_t methods = {};
    gralloc_module_t module = {};
    gralloc1_device_t gralloc1 = {};
    alloc_device_t alloc = {};
};

FakeGralloc* gFake = nullptr;

int note(const std::string& call) {
    gFake->calls.push_back(call);
    return gFake->answers[call.substr(0, call.find(' '))];
}

/** A call of any kind that is only noted. */
constexpr char kClose[] = "close";
constexpr char kUnregister[] = "unregister";
template <const char* kCall, typename... Arguments>
int noted(Arguments...) {
    return note(kCall);
}

/** With the counter of the first record, which is cleared before the memory is given back. */
int noteWithCounter(const std::string& call) {
    uint32_t counter = 0;
    memcpy(&counter, gFake->buffer + 12, sizeof(counter));
    return note(call + " " + std::to_string(counter));
}

bool has(const std::string& what) {
    return gFake->missing.count(what) == 0;
}

// Of either version. -------------------------------------------------------------------------

int registerBuffer(buffer_handle_t handle) {
    gFake->handle = handle;
    return note("register");
}

int lockBuffer(const char* usage, const gralloc1_rect_t& region, void** address) {
    if (has("address")) *address = gFake->buffer;
    char call[80];
    snprintf(call, sizeof(call), "lock %s %d,%d,%d,%d", usage, region.left, region.top,
             region.width, region.height);
    return note(call);
}

// Of version 1. ------------------------------------------------------------------------------

int32_t backingStore(gralloc1_device_t*, buffer_handle_t handle, uint64_t* store) {
    const bool own = handle == gFake->handle;
    *store = own ? gFake->storeOfOwn : 7;
    return note(own ? "own" : "other");
}

int32_t retain(gralloc1_device_t*, buffer_handle_t handle) {
    return registerBuffer(handle);
}

int32_t release(gralloc1_device_t*, buffer_handle_t handle) {
    EXPECT_TRUE(handle == nullptr || isOpen(handle->data[0]));
    return noteWithCounter("release");
}

int32_t lock1(gralloc1_device_t*, buffer_handle_t, uint64_t producer, uint64_t consumer,
              const gralloc1_rect_t* region, void** address, int32_t fence) {
    EXPECT_EQ(fence, -1);
    return lockBuffer((std::to_string(producer) + "+" + std::to_string(consumer)).c_str(), *region,
                      address);
}

int32_t unlock1(gralloc1_device_t*, buffer_handle_t, int32_t* fence) {
    *fence = 99;
    return noteWithCounter("unlock");
}

gralloc1_function_pointer_t getFunction(gralloc1_device_t*, int32_t number) {
    using Pointer = gralloc1_function_pointer_t;
    static const std::map<int32_t, Pointer> functions = {
        {8, reinterpret_cast<Pointer>(backingStore)}, {15, reinterpret_cast<Pointer>(retain)},
        {16, reinterpret_cast<Pointer>(release)},     {18, reinterpret_cast<Pointer>(lock1)},
        {20, reinterpret_cast<Pointer>(unlock1)},
    };
    return has(std::to_string(number)) ? functions.at(number) : nullptr;
}

/**
 * Lets a body have a channel on a buffer of such an allocator, in a process of its own, because the
 * wrapper of a process is made only once.
 */
void onGralloc(const std::string& arrangement,
               const std::function<void(FakeGralloc& fake, sensors_direct_mem_t memory)>& body) {
    SCOPED_TRACE(arrangement);
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        EXPECT_FALSE(GrallocHalWrapper::hasInstance());
        LogCapture log;
        FakeGralloc fake(arrangement);
        gFake = &fake;
        const testing_support::Handle handle(native_handle_create(1, 1));
        handle->data[0] = open("/dev/null", O_RDONLY);
        handle->data[1] = 4711;
        body(fake, {SENSOR_DIRECT_MEM_TYPE_GRALLOC, SENSOR_DIRECT_FMT_SENSORS_EVENT, kSize,
                    handle.get()});
        EXPECT_TRUE(isOpen(handle->data[0]));
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(GrallocDirectChannel, WritesIntoAClonedBuffer) {
    const std::string support = "I gralloc hal ";
    const std::string kept = " RELEASE_IMPLY_DELETE";
    const Calls calls1 = {"register", "lock 96+0 0,0,1000,1", "unlock 0", "release 0"};
    const struct {
        const char* arrangement;
        std::vector<int32_t> capabilities;
        Calls calls;
        bool cloneLeft;
        testing_support::Lines lines;
    } cases[] = {
        {"1", {1, 2, 3}, calls1, true, {support + "support" + kept}},
        {"1", {1, 2}, calls1, false, {support + "does not support" + kept}},
        // More than there was room for.
        {"1", {1, 2, 4, 3}, calls1, false, {support + "does not support" + kept}},
        {"0", {}, {"register", "lock 48 0,0,1000,1", "unlock 0", "unregister"}, false, {}},
    };
    for (const auto& c : cases) {
        onGralloc(c.arrangement, [&c](FakeGralloc& fake, const sensors_direct_mem_t& memory) {
            fake.capabilities = c.capabilities;
            auto channel = std::make_unique<GrallocDirectChannel>(&memory);
            EXPECT_TRUE(channel->isValid());
            EXPECT_EQ(channel->getError(), 0);
            auto& gralloc = GrallocHalWrapper::getInstance();
            EXPECT_EQ(gralloc.getError(), 0);
            EXPECT_EQ(gralloc.getVersion(), fake.version >> 8);
            EXPECT_EQ(LogCapture::take(), c.lines);
            ASSERT_NE(fake.handle, memory.handle);
            const int cloneFd = fake.handle->data[0];
            EXPECT_EQ(fake.handle->data[1], 4711);
            const sensors_event_t event = eventOf(38);
            channel->write(&event);
            EXPECT_EQ(fake.buffer[12], 1U);
            channel.reset();
            EXPECT_EQ(Calls(fake.calls.begin() + 2, fake.calls.end()), c.calls);
            EXPECT_EQ(isOpen(cloneFd), c.cloneLeft);
        });
    }
}

TEST(GrallocDirectChannel, MatchesByBackingStore) {
    onGralloc("0", [](FakeGralloc& fake, const sensors_direct_mem_t& memory) {
        EXPECT_FALSE(GrallocDirectChannel(&memory).memoryMatches(&memory));
        fake.calls.clear();
        {
            class : public GrallocHalWrapper {
            } closing;
        }  // the product never ends its own
        EXPECT_EQ(fake.calls, (Calls{"load gralloc", "open gpu0", "close"}));
    });
    onGralloc("1", [](FakeGralloc& fake, sensors_direct_mem_t memory) {
        const GrallocDirectChannel channel(&memory);
        EXPECT_TRUE(channel.memoryMatches(&memory));
        fake.storeOfOwn = 8;
        EXPECT_FALSE(channel.memoryMatches(&memory));
        fake.storeOfOwn = 7;
        for (const char* failing : {"other", "own"}) {
            fake.answers = {{failing, 2}};
            EXPECT_FALSE(channel.memoryMatches(&memory));
        }
        fake.answers.clear();
        memory.type = SENSOR_DIRECT_MEM_TYPE_ASHMEM;
        EXPECT_FALSE(channel.memoryMatches(&memory));
    });
}

TEST(GrallocDirectChannel, Failures) {
    const std::string load = "E couldn't load gralloc module ";
    const std::string none = " returns no error, but result is nullptr";
    const auto unopened = [](const char* arrangement, int wrapperError, const std::string& line) {
        onGralloc(arrangement, [&](FakeGralloc&, const sensors_direct_mem_t& memory) {
            EXPECT_EQ(GrallocDirectChannel(&memory).getError(), -19);
            const auto log = LogCapture::take();
            EXPECT_EQ(("E " + log.front().text).find(line), 0U);
            EXPECT_EQ(log.back(), "E registerBuffer failed");
            auto& gralloc = GrallocHalWrapper::getInstance();
            EXPECT_EQ(gralloc.getError(), wrapperError);
            EXPECT_EQ(gralloc.getVersion(), -1);
            EXPECT_EQ(gralloc.lock(memory.handle, 0, 0, 0, 1, 1, nullptr), -19);
            EXPECT_EQ(gralloc.unlock(memory.handle), -19);
        });
    };
    unopened("1 load=-2 -module", -2, load + "(No such file or directory)");
    unopened("1 -module", -19, "");
    unopened("2", 0, "E Unknown version, not supported");
    unopened("2 load=-5", -5, load + "(Input/output error)");
    unopened("1 open=-13", -13, "E cannot open gralloc1 device (Permission denied)");
    unopened("1 -getFunction", -38, "E gralloc1_open" + none);
    unopened("1 -device", -38, "E gralloc1_open" + none);
    unopened("0 -device", -38, "E gralloc_open" + none);
    unopened("0 open=-5", -5, "E cannot open alloc device (Input/output error)");
    for (const char* missing : {"1 -8", "1 -15", "1 -16", "1 -18", "1 -20"})
        unopened(missing, -22, "E Function pointer for retain, release, lock, unlock and ");
    const auto refused = [](const char* arrangement, int error, const char* line,
                            const char* lastCall) {
        onGralloc(arrangement, [&](FakeGralloc& fake, const sensors_direct_mem_t& memory) {
            EXPECT_EQ(GrallocDirectChannel(&memory).getError(), error);
            EXPECT_EQ(LogCapture::take().back(), line);
            EXPECT_EQ(fake.calls.back(), lastCall);
        });
    };
    refused("0 register=-3", -3, "E registerBuffer failed", "unregister");
    // passes as it is
    refused("1 register=4", -12, "E registerBuffer failed", "release 0");
    refused("1 lock=6 -address", -38, "E lock buffer failed", "release 0");
    refused("1 -address", -12, "E lock buffer => nullptr", "release 0");
    onGralloc("1", [](FakeGralloc& fake, sensors_direct_mem_t memory) {
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

// Found before the platform's own.
extern "C" __attribute__((visibility("default"))) int hw_get_module(const char* id,
                                                                    const hw_module_t** module) {
    if (gFake == nullptr) return -ENOENT;
    FakeGralloc& fake = *gFake;
    fake.methods.open = [](const hw_module_t*, const char* device, hw_device_t** opened) {
        const bool isLegacy = strcmp(device, "gpu0") == 0;
        if (has("device")) *opened = isLegacy ? &gFake->alloc.common : &gFake->gralloc1.common;
        return note(std::string("open ") + device);
    };
    fake.module.common.module_api_version = fake.version;
    fake.module.common.methods = &fake.methods;
    fake.module.registerBuffer = [](const gralloc_module_t*, buffer_handle_t handle) {
        return registerBuffer(handle);
    };
    fake.module.unregisterBuffer = noted<kUnregister>;
    fake.module.lock = [](const gralloc_module_t*, buffer_handle_t, int usage, int left, int top,
                          int width, int height, void** address) {
        return lockBuffer(std::to_string(usage).c_str(), {left, top, width, height}, address);
    };
    fake.module.unlock = [](const gralloc_module_t*, buffer_handle_t) {
        return noteWithCounter("unlock");
    };
    fake.gralloc1.common.close = noted<kClose>;
    if (has("getFunction")) fake.gralloc1.getFunction = getFunction;
    fake.gralloc1.getCapabilities = [](gralloc1_device_t*, uint32_t* count, int32_t* answer) {
        EXPECT_EQ(*count, 3U);
        const auto& own = gFake->capabilities;
        std::copy_n(own.begin(), std::min<size_t>(*count, own.size()), answer);
        *count = static_cast<uint32_t>(own.size());
    };
    fake.alloc.common.close = noted<kClose>;
    if (has("module")) *module = &fake.module.common;
    return note(std::string("load ") + id);
}
