#include "directchannel/DirectChannel.h"

#include <cutils/ashmem.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "directchannel/GrallocHalWrapper.h"
#include "tests/support/LogCapture.h"

using android::hardware::sensors::V2_0::zelva_sensorhub::AshmemDirectChannel;
using android::hardware::sensors::V2_0::zelva_sensorhub::GrallocDirectChannel;
using android::hardware::sensors::V2_0::zelva_sensorhub::GrallocHalWrapper;
using testing_support::LogCapture;

namespace {

constexpr size_t kSize = 1000;

sensors_event_t eventOf(int32_t sensor) {
    sensors_event_t event = {};
    event.version = 104;
    event.sensor = sensor;
    event.timestamp = 5;
    return event;
}

uint32_t word(const void* base, size_t offset) {
    uint32_t value = 0;
    memcpy(&value, static_cast<const uint8_t*>(base) + offset, sizeof(value));
    return value;
}

// Anonymous shared memory. -------------------------------------------------------------------

bool isOpen(int fd) {
    return fcntl(fd, F_GETFD) >= 0;
}

/** Protections of the process's mappings of a region, for example "-w-s". */
std::vector<std::string> mappingsOf(int fd) {
    struct stat status = {};
    fstat(fd, &status);
    std::vector<std::string> protections;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        char protection[5];
        unsigned long inode = 0;
        if (sscanf(line.c_str(), "%*s %4s %*s %*s %lu", protection, &inode) == 2 &&
            inode == status.st_ino) {
            protections.emplace_back(protection);
        }
    }
    return protections;
}

/** A descriptor in a handle, as the client's memory arrives. */
class Memory {
  public:
    Memory(int fd, size_t size) : mHandle(native_handle_create(1, 0)) {
        mHandle->data[0] = fd;
        mMem = {SENSOR_DIRECT_MEM_TYPE_ASHMEM, SENSOR_DIRECT_FMT_SENSORS_EVENT, size, mHandle};
    }
    ~Memory() { native_handle_delete(mHandle); }
    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    const sensors_direct_mem_t* get() const { return &mMem; }

  private:
    native_handle_t* mHandle;
    sensors_direct_mem_t mMem = {};
};

TEST(AshmemDirectChannel, WritesUntilDestroyed) {
    const int fd = ashmem_create_region("written_region", kSize);
    const int clientFd = dup(fd);
    const Memory memory(fd, kSize);
    auto channel = std::make_unique<AshmemDirectChannel>(memory.get());
    EXPECT_TRUE(channel->isValid());
    EXPECT_EQ(channel->getError(), -19);
    EXPECT_FALSE(channel->memoryMatches(memory.get()));
    EXPECT_EQ(mappingsOf(clientFd), (std::vector<std::string>{"-w-s"}));

    void* client = mmap(nullptr, kSize, PROT_READ, MAP_SHARED, clientFd, 0);
    ASSERT_NE(client, MAP_FAILED);
    const sensors_event_t events[] = {eventOf(38), eventOf(50)};
    channel->write(&events[0]);
    channel->write(&events[1]);
    EXPECT_EQ(word(client, 4), 38U);
    EXPECT_EQ(word(client, 12), 1U);
    EXPECT_EQ(word(client, 108), 50U);
    EXPECT_EQ(word(client, 116), 2U);
    EXPECT_EQ(word(client, 220), 0U);

    EXPECT_TRUE(isOpen(fd));
    channel.reset();
    EXPECT_FALSE(isOpen(fd));
    EXPECT_EQ(mappingsOf(clientFd), (std::vector<std::string>{"r--s"}));
    EXPECT_EQ(std::string(static_cast<char*>(client), kSize), std::string(kSize, '\0'));
    munmap(client, kSize);
    close(clientFd);
}

/** What a channel says of memory that it must refuse; the descriptor has to be closed. */
int32_t refusal(int fd, size_t size) {
    const Memory memory(fd, size);
    int32_t error = 0;
    {
        AshmemDirectChannel channel(memory.get());
        EXPECT_FALSE(channel.isValid());
        const sensors_event_t event = eventOf(38);
        channel.write(&event);
        error = channel.getError();
        EXPECT_TRUE(isOpen(fd));
    }
    EXPECT_FALSE(isOpen(fd));
    return error;
}

TEST(AshmemDirectChannel, RefusesMemoryThatItCannotUse) {
    const auto region = [](size_t size) { return ashmem_create_region("refused", size); };
    EXPECT_EQ(refusal(region(kSize), kSize + 1), -22);
    EXPECT_EQ(refusal(region(kSize), kSize - 1), -22);
    EXPECT_EQ(refusal(region(kSize), SIZE_MAX), -22);
    EXPECT_EQ(refusal(region(kSize), 0), -22);
    EXPECT_EQ(refusal(open("/dev/null", O_RDWR), 0), -22);
    // Mapping fails: memory that the client may only read.
    const int writable = region(kSize);
    const int readOnly = open(("/proc/self/fd/" + std::to_string(writable)).c_str(), O_RDONLY);
    close(writable);
    EXPECT_EQ(refusal(readOnly, kSize), -12);
    // Too small for a record is no reason.
    EXPECT_TRUE(AshmemDirectChannel(Memory(region(103), 103).get()).isValid());
    const sensors_event_t event = {};
    AshmemDirectChannel empty(Memory(region(0), 0).get());
    EXPECT_TRUE(empty.isValid());
    empty.write(&event);
}

TEST(AshmemDirectChannel, WithoutADescriptorClosesDescriptorZero) {
    const int saved = fcntl(STDIN_FILENO, F_DUPFD, 3);
    native_handle_t* empty = native_handle_create(0, 1);
    empty->data[0] = 12345;
    const native_handle_t* const none = nullptr;
    for (const native_handle_t* handle : {none, static_cast<const native_handle_t*>(empty)}) {
        close(STDIN_FILENO);
        ASSERT_EQ(open("/dev/null", O_RDONLY), STDIN_FILENO);
        const sensors_direct_mem_t mem = {1, 1, kSize, handle};
        auto channel = std::make_unique<AshmemDirectChannel>(&mem);
        EXPECT_FALSE(channel->isValid());
        EXPECT_EQ(channel->getError(), -22);
        EXPECT_TRUE(isOpen(STDIN_FILENO));
        channel.reset();
        EXPECT_FALSE(isOpen(STDIN_FILENO));
    }
    native_handle_delete(empty);
    if (saved >= 0) {
        dup2(saved, STDIN_FILENO);
        close(saved);
    }
}

// Graphics buffers. --------------------------------------------------------------------------

/** A graphics allocator of either version, which notes every call on it. */
struct FakeGralloc {
    // What the loader gives.
    int loadResult = 0;
    bool loads = true;
    uint16_t apiVersion = GRALLOC_MODULE_API_VERSION_1_0;
    // What opening gives.
    int openResult = 0;
    bool opens = true;
    bool hasGetFunction = true;
    int32_t missingFunction = 0;
    std::vector<int32_t> capabilities;
    // What the operations give.
    int registerResult = 0;
    int lockResult = 0;
    bool locks = true;
    int storeResultOfSecond = 0;
    uint64_t storeOfSecond = 7;

    std::vector<std::string> calls;
    const native_handle_t* handle = nullptr;  // of the last register
    uint8_t buffer[kSize] = {};
    hw_module_methods_t methods;
    gralloc_module_t module;
    gralloc1_device_t gralloc1;
    alloc_device_t alloc;
};

FakeGralloc* gFake = nullptr;

void note(const std::string& call) {
    gFake->calls.push_back(call);
}

/** With the counter of the first record, which is cleared before the memory is given back. */
void noteWithCounter(const std::string& call) {
    note(call + std::to_string(word(gFake->buffer, 12)));
}

int openModule(const hw_module_t*, const char* id, hw_device_t** device) {
    note(std::string("open ") + id);
    const bool isLegacy = strcmp(id, "gpu0") == 0;
    if (gFake->opens) *device = isLegacy ? &gFake->alloc.common : &gFake->gralloc1.common;
    return gFake->openResult;
}

int closeDevice(hw_device_t* device) {
    note(device == &gFake->alloc.common ? "close gpu0" : "close gralloc");
    return 0;
}

int32_t retain(gralloc1_device_t*, buffer_handle_t handle) {
    note("retain");
    gFake->handle = handle;
    return gFake->registerResult;
}

int32_t release(gralloc1_device_t*, buffer_handle_t handle) {
    EXPECT_EQ(handle, gFake->handle);
    EXPECT_TRUE(isOpen(handle->data[0]));
    noteWithCounter("release");
    return 0;
}

int32_t lock1(gralloc1_device_t*, buffer_handle_t handle, uint64_t producer, uint64_t consumer,
              const gralloc1_rect_t* r, void** address, int32_t fence) {
    EXPECT_EQ(handle, gFake->handle);
    char text[80];
    snprintf(text, sizeof(text), "lock %lx %lx %d,%d,%d,%d fence %d",
             static_cast<unsigned long>(producer), static_cast<unsigned long>(consumer), r->left,
             r->top, r->width, r->height, fence);
    note(text);
    if (gFake->locks) *address = gFake->buffer;
    return gFake->lockResult;
}

int32_t unlock1(gralloc1_device_t*, buffer_handle_t handle, int32_t* fence) {
    EXPECT_EQ(handle, gFake->handle);
    *fence = 99;
    noteWithCounter("unlock");
    return 0;
}

int32_t backingStore(gralloc1_device_t*, buffer_handle_t handle, gralloc1_backing_store_t* store) {
    const bool own = handle == gFake->handle;
    note(own ? "store own" : "store other");
    *store = own ? gFake->storeOfSecond : 7;
    return own ? gFake->storeResultOfSecond : 0;
}

gralloc1_function_pointer_t getFunction(gralloc1_device_t*, int32_t descriptor) {
    static const std::map<int32_t, gralloc1_function_pointer_t> functions = {
        {8, reinterpret_cast<gralloc1_function_pointer_t>(backingStore)},
        {15, reinterpret_cast<gralloc1_function_pointer_t>(retain)},
        {16, reinterpret_cast<gralloc1_function_pointer_t>(release)},
        {18, reinterpret_cast<gralloc1_function_pointer_t>(lock1)},
        {20, reinterpret_cast<gralloc1_function_pointer_t>(unlock1)},
    };
    note("get " + std::to_string(descriptor));
    return descriptor == gFake->missingFunction ? nullptr : functions.at(descriptor);
}

void getCapabilities(gralloc1_device_t*, uint32_t* count, int32_t* capabilities) {
    note("capabilities " + std::to_string(*count));
    const auto& own = gFake->capabilities;
    std::copy_n(own.begin(), std::min<size_t>(*count, own.size()), capabilities);
    *count = static_cast<uint32_t>(own.size());
}

int lockLegacy(const gralloc_module_t*, buffer_handle_t, int usage, int left, int top, int width,
               int height, void** address) {
    char text[80];
    snprintf(text, sizeof(text), "lock %x %d,%d,%d,%d", static_cast<unsigned>(usage), left, top,
             width, height);
    note(text);
    if (gFake->locks) *address = gFake->buffer;
    return gFake->lockResult;
}

class Gralloc : public testing::Test {
  protected:
    Gralloc() { gFake = &fake; }
    ~Gralloc() override { gFake = nullptr; }

    FakeGralloc fake;
    LogCapture log;
};

/** The wrapper as an object of its own; the product has it as a singleton only. */
class OpenedWrapper : public GrallocHalWrapper {};

constexpr uint16_t kLegacy = HARDWARE_MAKE_API_VERSION(0, 3);

using Calls = std::vector<std::string>;
using Log = std::vector<testing_support::LogLine>;

TEST_F(Gralloc, Failures) {
    struct Case {
        std::function<void()> arrange;
        int error;
        std::vector<const char*> lines;
    };
    constexpr char kUnknown[] = "Unknown version, not supported";
    constexpr char kOpenedNone[] = "gralloc1_open returns no error, but result is nullptr";
    const auto unknown = [this] { fake.apiVersion = HARDWARE_MAKE_API_VERSION(2, 0); };
    const auto legacy = [this] { fake.apiVersion = kLegacy, fake.opens = false; };
    const Case cases[] = {
        {[&] { fake.loads = false, fake.loadResult = -2; },
         -2,
         {"couldn't load gralloc module (No such file or directory)"}},
        {[&] { fake.loads = false; }, -19, {}},
        {unknown, 0, {kUnknown}},
        {[&] { unknown(), fake.loadResult = -5; },
         -5,
         {"couldn't load gralloc module (Input/output error)", kUnknown}},
        {[&] { fake.openResult = -13; }, -13, {"cannot open gralloc1 device (Permission denied)"}},
        {[&] { fake.hasGetFunction = false; }, -38, {kOpenedNone}},
        {[&] { fake.opens = false; }, -38, {kOpenedNone}},
        {legacy, -38, {"gralloc_open returns no error, but result is nullptr"}},
        {[&] { legacy(), fake.openResult = -5; },
         -5,
         {"cannot open alloc device (Input/output error)"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        fake = FakeGralloc();
        c.arrange();
        OpenedWrapper wrapper;
        EXPECT_EQ(wrapper.getError(), c.error);
        EXPECT_EQ(wrapper.getVersion(), -1);
        Log lines;
        for (const char* line : c.lines)
            lines.push_back({'E', line});
        EXPECT_EQ(log.take(), lines);
        EXPECT_EQ(wrapper.registerBuffer(nullptr), -19);
        EXPECT_EQ(wrapper.unregisterBuffer(nullptr), -19);
        EXPECT_EQ(wrapper.lock(nullptr, 0, 0, 0, 1, 1, nullptr), -19);
        EXPECT_EQ(wrapper.unlock(nullptr), -19);
        EXPECT_FALSE(wrapper.isSameMemory(nullptr, nullptr));
    }
}

TEST_F(Gralloc, Version1NeedsAllItsFunctions) {
    for (const int32_t missing : {15, 16, 18, 20, 8}) {
        fake.missingFunction = missing;
        OpenedWrapper wrapper;
        EXPECT_EQ(wrapper.getError(), -22);
        EXPECT_EQ(wrapper.registerBuffer(nullptr), -19);
        const Log lines = log.take();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].level, 'E');
        EXPECT_EQ(lines[0].text.find("Function pointer for retain, release, "
                                     "lock, unlock and getBackingStore are "),
                  0u);
        EXPECT_NE(lines[0].text.find("(nil)"), std::string::npos);
    }
}

TEST_F(Gralloc, Version1Opens) {
    for (const bool implied : {true, false}) {
        fake.calls.clear();
        fake.capabilities = implied ? std::vector<int32_t>{1, 2, 3} : std::vector<int32_t>{1, 2};
        {
            const OpenedWrapper wrapper;
            EXPECT_EQ(wrapper.getError(), 0);
            EXPECT_EQ(wrapper.getVersion(), 1);
            EXPECT_EQ(wrapper.isReleaseImplyDelete(), implied);
        }
        EXPECT_EQ(log.take(), (Log{{'I', implied ? "gralloc hal support RELEASE_IMPLY_DELETE"
                                                 : "gralloc hal does not support "
                                                   "RELEASE_IMPLY_DELETE"}}));
        EXPECT_EQ(fake.calls, (Calls{"open gralloc", "get 15", "get 16", "get 18", "get 20",
                                     "get 8", "capabilities 3"}));
    }
    // More capabilities than there was room for.
    fake.capabilities = {1, 2, 4, 3};
    EXPECT_FALSE(OpenedWrapper().isReleaseImplyDelete());
}

TEST_F(Gralloc, LegacyOpensAndCloses) {
    fake.apiVersion = kLegacy;
    auto wrapper = std::make_unique<OpenedWrapper>();
    EXPECT_EQ(wrapper->getError(), 0);
    EXPECT_EQ(wrapper->getVersion(), 0);
    EXPECT_FALSE(wrapper->isReleaseImplyDelete());
    wrapper.reset();
    EXPECT_EQ(fake.calls, (Calls{"open gpu0", "close gpu0"}));
    EXPECT_EQ(log.take(), Log{});
}

TEST_F(Gralloc, MapsErrorsOfVersion1) {
    const int32_t expected[] = {0, -22, -22, -22, -12, -12, -38, -38, INT32_MIN, INT32_MIN};
    OpenedWrapper wrapper;
    for (int error = 0; error < 10; ++error) {
        EXPECT_EQ(GrallocHalWrapper::mapGralloc1Error(error), expected[error]) << error;
        fake.registerResult = error;
        EXPECT_EQ(wrapper.registerBuffer(nullptr), expected[error]) << error;
    }
    EXPECT_EQ(GrallocHalWrapper::mapGralloc1Error(-1), INT32_MIN);
    // Legacy statuses pass as they are.
    fake.apiVersion = kLegacy;
    OpenedWrapper legacy;
    fake.registerResult = -3;
    EXPECT_EQ(legacy.registerBuffer(nullptr), -3);
}

/** Runs in a process of its own, because the wrapper of a process is made only once. */
void inChild(const std::function<void()>& body) {
    fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        EXPECT_FALSE(GrallocHalWrapper::hasInstance());
        body();
        fflush(nullptr);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

/** A buffer handle with one descriptor. */
class BufferMemory {
  public:
    BufferMemory() : mHandle(native_handle_create(1, 1)) {
        mHandle->data[0] = open("/dev/null", O_RDONLY);
        mHandle->data[1] = 4711;
        mMem = {SENSOR_DIRECT_MEM_TYPE_GRALLOC, SENSOR_DIRECT_FMT_SENSORS_EVENT, kSize, mHandle};
    }
    ~BufferMemory() {
        EXPECT_EQ(native_handle_close(mHandle), 0);
        native_handle_delete(mHandle);
    }
    BufferMemory(const BufferMemory&) = delete;
    BufferMemory& operator=(const BufferMemory&) = delete;

    sensors_direct_mem_t* get() { return &mMem; }

  private:
    native_handle_t* mHandle;
    sensors_direct_mem_t mMem = {};
};

TEST_F(Gralloc, ChannelWritesIntoAClonedBuffer) {
    struct Case {
        uint16_t version;
        std::vector<int32_t> capabilities;
        Calls calls;  // from the register on
        bool cloneLeft;
    };
    const Calls calls1 = {"retain",      "lock 60 0 0,0,1000,1 fence -1",
                          "store other", "store own",
                          "unlock0",     "release0"};
    const Case cases[] = {
        {GRALLOC_MODULE_API_VERSION_1_0, {3}, calls1, true},
        {GRALLOC_MODULE_API_VERSION_1_0, {}, calls1, false},
        {kLegacy, {}, {"register", "lock 30 0,0,1000,1", "unlock0", "unregister"}, false},
    };
    for (const Case& c : cases) {
        fake.apiVersion = c.version;
        fake.capabilities = c.capabilities;
        inChild([&] {
            BufferMemory memory;
            auto channel = std::make_unique<GrallocDirectChannel>(memory.get());
            EXPECT_TRUE(GrallocHalWrapper::hasInstance());
            EXPECT_TRUE(channel->isValid());
            EXPECT_EQ(channel->getError(), 0);
            ASSERT_NE(fake.handle, memory.get()->handle);
            const int cloneFd = fake.handle->data[0];
            EXPECT_EQ(fake.handle->data[1], 4711);
            EXPECT_EQ(channel->memoryMatches(memory.get()), c.version != kLegacy);
            const sensors_event_t event = eventOf(38);
            channel->write(&event);
            EXPECT_EQ(word(fake.buffer, 12), 1U);
            channel.reset();
            const auto first = std::find(fake.calls.begin(), fake.calls.end(), c.calls[0]);
            EXPECT_EQ(Calls(first, fake.calls.end()), c.calls);
            EXPECT_EQ(isOpen(cloneFd), c.cloneLeft);
        });
    }
}

TEST_F(Gralloc, ChannelFailures) {
    const auto expectFailure = [this](const sensors_direct_mem_t* mem, int error,
                                      const std::string& line) {
        const GrallocDirectChannel channel(mem);
        EXPECT_FALSE(channel.isValid());
        EXPECT_EQ(channel.getError(), error);
        EXPECT_EQ(log.take().back(), (testing_support::LogLine{'E', line}));
    };
    inChild([&] {
        BufferMemory memory;
        sensors_direct_mem_t broken = *memory.get();
        broken.handle = nullptr;
        expectFailure(&broken, -22, "mem->handle == nullptr");
        native_handle_t* closed = native_handle_create(1, 0);
        closed->data[0] = -1;
        broken.handle = closed;
        expectFailure(&broken, -12, "clone mem->handle failed...");
        native_handle_delete(closed);
        EXPECT_EQ(fake.calls, Calls{});

        fake.registerResult = 4;
        expectFailure(memory.get(), -12, "registerBuffer failed");
        EXPECT_EQ(fake.calls.back(), "release0");
        EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "unlock0"), 0);

        fake.registerResult = 0;
        fake.lockResult = 6;
        fake.locks = false;
        expectFailure(memory.get(), -38, "lock buffer failed");
        fake.lockResult = 0;
        expectFailure(memory.get(), -12, "lock buffer => nullptr");
    });
    fake.loads = false;
    inChild([&] { expectFailure(BufferMemory().get(), -19, "registerBuffer failed"); });
}

TEST_F(Gralloc, ChannelsMatchByBackingStore) {
    inChild([&] {
        BufferMemory memory;
        const GrallocDirectChannel channel(memory.get());
        fake.calls.clear();
        EXPECT_TRUE(channel.memoryMatches(memory.get()));
        EXPECT_EQ(fake.calls, (Calls{"store other", "store own"}));
        fake.storeOfSecond = 8;
        EXPECT_FALSE(channel.memoryMatches(memory.get()));
        fake.storeOfSecond = 7;
        fake.storeResultOfSecond = 2;
        EXPECT_FALSE(channel.memoryMatches(memory.get()));
        fake.storeResultOfSecond = 0;
        memory.get()->type = SENSOR_DIRECT_MEM_TYPE_ASHMEM;
        EXPECT_FALSE(channel.memoryMatches(memory.get()));
    });
}

}  // namespace

// Found before the platform's own.
extern "C" __attribute__((visibility("default"))) int hw_get_module(const char* id,
                                                                    const hw_module_t** module) {
    EXPECT_STREQ(id, "gralloc");
    if (gFake == nullptr) return -ENOENT;
    gFake->methods.open = openModule;
    gFake->module = {};
    gFake->module.common.module_api_version = gFake->apiVersion;
    gFake->module.common.methods = &gFake->methods;
    gFake->module.registerBuffer = [](const gralloc_module_t*, buffer_handle_t handle) {
        note("register");
        gFake->handle = handle;
        return gFake->registerResult;
    };
    gFake->module.unregisterBuffer = [](const gralloc_module_t*, buffer_handle_t handle) {
        EXPECT_EQ(handle, gFake->handle);
        note("unregister");
        return 0;
    };
    gFake->module.lock = lockLegacy;
    gFake->module.unlock = [](const gralloc_module_t*, buffer_handle_t) {
        noteWithCounter("unlock");
        return 0;
    };
    gFake->gralloc1 = {};
    gFake->gralloc1.common.close = closeDevice;
    if (gFake->hasGetFunction) gFake->gralloc1.getFunction = getFunction;
    gFake->gralloc1.getCapabilities = getCapabilities;
    gFake->alloc = {};
    gFake->alloc.common.close = closeDevice;
    if (gFake->loads) *module = &gFake->module.common;
    return gFake->loadResult;
}
