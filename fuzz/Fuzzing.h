#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/support/OnlySensors.h"
#include "tests/support/RecordingCallback.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzzing {

/** The next `size` bytes of the input, zero-filled at its end. */
class Input {
  public:
    Input(const uint8_t* data, size_t size) : mBytes(reinterpret_cast<const char*>(data), size) {}

    bool atEnd() const { return mAt >= mBytes.size(); }
    std::string take(size_t size) {
        std::string bytes = atEnd() ? "" : mBytes.substr(mAt, size);
        mAt += size;
        bytes.resize(size);
        return bytes;
    }
    void fill(void* target, size_t size) { memcpy(target, take(size).data(), size); }
    uint8_t byte() { return static_cast<uint8_t>(take(1)[0]); }
    int64_t number() {
        int64_t value = 0;
        fill(&value, sizeof(value));
        return value;
    }

  private:
    std::string mBytes;
    size_t mAt = 0;
};

}  // namespace fuzzing
