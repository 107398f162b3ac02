#include "simulator/SensorSpec.h"

#include <cstddef>
#include <cstring>

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
    const Record record = {static_cast<uint8_t>(spec.handle),
                           {},
                           static_cast<uint8_t>(spec.vendor),
                           spec.version,
                           spec.wakeUp,
                           spec.minDelayUs,
                           spec.maxDelayUs,
                           spec.fifoMax,
                           spec.fifoReserved,
                           spec.resolution,
                           spec.range,
                           spec.powerMa};
    std::string bytes(reinterpret_cast<const char*>(&record), sizeof(record));
    const std::string name = spec.chipName.substr(0, kSpecNameSize);
    return bytes.replace(offsetof(Record, name), name.size(), name);
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
