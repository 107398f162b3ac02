#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/RecordBuilder.h"

namespace simulator {

class World;

/** What the hub's sensor specification file says about one sensor. */
struct SensorSpec {
    int handle = 0;
    std::string chipName;  ///< at most 14 characters reach the file
    int vendor = 0;        ///< index into the vendor table, 3 is "STM"
    int32_t version = 1;
    bool wakeUp = false;
    int32_t minDelayUs = 0;  ///< 0: on-change; negative: one-shot or special
    int32_t maxDelayUs = 0;
    uint16_t fifoMax = 0;
    uint16_t fifoReserved = 0;
    float resolution = 1.0F;  ///< physical unit per raw count
    float range = 0.0F;
    float powerMa = 0.0F;
};

/** The 46-byte record of a sensor in the hub's specification file. */
std::string encodeSpec(const SensorSpec& spec);

/** When a sensor's generated records are sent. */
enum class Reporting {
    kNone,        ///< never by the generator
    kContinuous,  ///< one record per period
    kOnChange,    ///< at enable, and whenever the data differ from the last record sent
    kOnEvent,     ///< whenever the data change, but not at enable
    kOneShot,     ///< at the first change after enable, then silent until enabled again
};

/**
 * Writes one record's data for the moment `seconds` after the hub's start, everything except the
 * trailing 8-byte timestamp. Must depend on its arguments only, so that a seed gives one history.
 */
using SignalFunction = void (*)(const World& world, const SensorSpec& spec, double seconds,
                                RecordBuilder& record);

/** What the driver knows about one kind of sensor, from its own table. */
struct DeviceProfile {
    int handle;
    const char* iioName;     ///< name of the plain twin, without suffix
    size_t recordSize;       ///< bytes on the wire, timestamp included
    bool plainNameIsWakeUp;  ///< the unsuffixed device is the wake-up twin
    Reporting reporting;
    SignalFunction signal;  ///< null with Reporting::kNone
};

/** The profile of `handle`, or null when the hub knows no such sensor. */
const DeviceProfile* findProfile(int handle);

/** IIO device name of a sensor: plain, or with "_wu"/"_nwu" when it is the other twin. */
std::string deviceName(const DeviceProfile& profile, bool wakeUp);

/** Real-looking chips for every sensor that the profile table can serve. */
std::vector<SensorSpec> standardCatalogue();

}  // namespace simulator
