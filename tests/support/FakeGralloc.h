#pragma once

#include <cutils/native_handle.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace testing_support {

/** The process's graphics allocator: notes every call, and answers 0 unless told. One at a time. */
struct FakeGralloc {
    using Told = std::map<std::string, int>;

    /** `answers` by a call's first word; "-device" and the like are missing. */
    FakeGralloc(int majorVersion, const Told& answers);
    FakeGralloc(const FakeGralloc&) = delete;
    FakeGralloc& operator=(const FakeGralloc&) = delete;
    ~FakeGralloc();

    Told told;
    std::vector<int32_t> capabilities;
    std::vector<std::string> calls;
    const native_handle_t* handle = nullptr;  // of the last register or retain
    uint8_t buffer[1000] = {};
};

}  // namespace testing_support
