#include "simulator/SensorSpec.h"

#include <cstring>

#include "simulator/RecordBuilder.h"

namespace simulator {
namespace {

struct __attribute__((packed)) Record {
    uint8_t handle;
    char name[kSpecNameSize];
    uint8_t vendor;
    int32_t version;
    uint8_t wakeUp;
    int32_t minDelayUs;
    int32_t maxDelayUs;
    uint16_t fifoMax;
    uint16_t fifoReserved;
    float resolution;
    float range;
    float powerMa;
};
static_assert(sizeof(Record) == kSpecSize);

}  // namespace

std::string encodeSpec(const SensorSpec& spec) {
    std::string name = spec.chipName;
    name.resize(kSpecNameSize);
    RecordBuilder record;
    record.u8(static_cast<uint8_t>(spec.handle)).text(name).u8(static_cast<uint8_t>(spec.vendor));
    record.i32(spec.version).u8(spec.wakeUp ? 1 : 0).i32(spec.minDelayUs).i32(spec.maxDelayUs);
    record.u16(spec.fifoMax).u16(spec.fifoReserved);
    record.f32(spec.resolution).f32(spec.range).f32(spec.powerMa);
    return record.bytes();
}

std::vector<SensorSpec> decodeSpecs(const std::string& file) {
    std::vector<SensorSpec> specs;
    for (size_t at = 0; at + sizeof(Record) <= file.size(); at += sizeof(Record)) {
        Record record;
        std::memcpy(&record, file.data() + at, sizeof(record));
        specs.push_back({record.handle,
                         {record.name, strnlen(record.name, sizeof(record.name))},
                         record.vendor,
                         record.version,
                         record.wakeUp != 0,
                         record.minDelayUs,
                         record.maxDelayUs,
                         record.fifoMax,
                         record.fifoReserved,
                         record.resolution,
                         record.range,
                         record.powerMa});
    }
    return specs;
}

}  // namespace simulator
