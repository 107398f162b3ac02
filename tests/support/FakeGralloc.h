#pragma once

#include <cutils/native_handle.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace testing_support {

/** The process's graphics allocator: notes every call, and returns 0 or the result given. One at a
 * time. */
struct FakeGralloc {
    using Results = std::map<std::string, int>;

    /** `given`: results by a call's first word; "-device" and the like are missing. */
    FakeGralloc(int majorVersion, const Results& given);
    FakeGralloc(const FakeGralloc&) = delete;
    FakeGralloc& operator=(const FakeGralloc&) = delete;
    ~FakeGralloc();

    Results results;
    std::vector<int32_t> capabilities;
    std::vector<std::string> calls;
    const native_handle_t* handle = nullptr;  // of the last register or retain
    uint8_t buffer[1000] = {};
};

}  // namespace testing_support
