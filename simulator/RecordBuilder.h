#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace simulator {

/** Packs little-endian fields without gaps, as in the hub's IIO records. */
class RecordBuilder {
  public:
    RecordBuilder& u8(uint8_t value) { return put(value); }
    RecordBuilder& u16(uint16_t value) { return put(value); }
    RecordBuilder& i16(int16_t value) { return put(value); }
    RecordBuilder& i32(int32_t value) { return put(value); }
    RecordBuilder& u32(uint32_t value) { return put(value); }
    RecordBuilder& i64(int64_t value) { return put(value); }
    RecordBuilder& u64(uint64_t value) { return put(value); }
    RecordBuilder& f32(float value) { return put(value); }
    RecordBuilder& text(const std::string& bytes) {
        mBytes += bytes;
        return *this;
    }

    const std::string& bytes() const { return mBytes; }

  private:
    template <typename T>
    RecordBuilder& put(T value) {
        char raw[sizeof(T)];
        std::memcpy(raw, &value, sizeof(T));
        mBytes.append(raw, sizeof(T));
        return *this;
    }

    std::string mBytes;
};

}  // namespace simulator
