#include "tests/support/FakeGralloc.h"

#include <fcntl.h>
#include <hardware/gralloc.h>
#include <hardware/gralloc1.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace testing_support {
namespace {

FakeGralloc* gFake = nullptr;
hw_module_methods_t gMethods;
gralloc_module_t gModule;
gralloc1_device_t gDevice;
alloc_device_t gAllocator;

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

}  // namespace

FakeGralloc::FakeGralloc(int majorVersion, const Results& given) : results(given) {
    gFake = this;
    gModule.common.module_api_version = static_cast<uint16_t>(majorVersion << 8);
}

FakeGralloc::~FakeGralloc() {
    gFake = nullptr;
}

}  // namespace testing_support

// Both are found before the platform's own.
extern "C" __attribute__((visibility("default"))) int native_handle_delete(
    native_handle_t* handle) {
    using namespace testing_support;
    if (gFake != nullptr) note("delete");
    free(handle);
    return 0;
}

extern "C" __attribute__((visibility("default"))) int hw_get_module(const char* id,
                                                                    const hw_module_t** module) {
    using namespace testing_support;
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
