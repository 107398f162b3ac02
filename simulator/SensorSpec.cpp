#include "simulator/SensorSpec.h"

#include <algorithm>
#include <cstring>

#include "simulator/RecordBuilder.h"

namespace simulator {
namespace {

constexpr size_t kNameSize = 15;

}  // namespace

std::string encodeSpec(const SensorSpec& spec) {
    char name[kNameSize] = {};
    std::memcpy(name, spec.chipName.data(), std::min(spec.chipName.size(), kNameSize - 1));
    RecordBuilder head;
    head.u8(static_cast<uint8_t>(spec.handle));
    RecordBuilder tail;
    tail.u8(static_cast<uint8_t>(spec.vendor)).i32(spec.version).u8(spec.wakeUp ? 1 : 0);
    tail.i32(spec.minDelayUs).i32(spec.maxDelayUs).u16(spec.fifoMax).u16(spec.fifoReserved);
    tail.f32(spec.resolution).f32(spec.range).f32(spec.powerMa);
    return head.bytes() + std::string(name, sizeof(name)) + tail.bytes();
}

}  // namespace simulator
