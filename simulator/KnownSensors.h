#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/SensorSpec.h"
#include "simulator/signals/Signals.h"

namespace simulator {

constexpr int32_t kFirstPrivateType = 0x10000;
constexpr char kSensorPermission[] = "com.tavrine.permission.QSENSOR";
constexpr int kContextHandle = 32;       ///< in no specification file
constexpr int kHousekeepingHandle = 33;  ///< in no specification file, and never listed
constexpr int kFlipCoverHandle = 42;     ///< listed only if its status file exists
constexpr int kDebuggerHandle = 53;      ///< never listed

/** When a sensor's generated records are sent. */
enum class Reporting {
    kNone,        ///< never by the generator
    kContinuous,  ///< one record per period
    kOnChange,    ///< at enable, and whenever the data change
    kOnEvent,     ///< whenever the data change, but not at enable
    kOneShot,     ///< at the first change after enable, which disables the sensor
};

/** What host programs know about one of the hub's sensors; not taken from the library. */
struct KnownSensor {
    SensorSpec chip;         ///< as in the standard catalogue; nameless for the hub's own devices
    const char* iioName;     ///< of the plain twin, without suffix
    size_t recordSize;       ///< bytes on the wire, timestamp included
    bool plainNameIsWakeUp;  ///< of the plain twin; the other one has a suffix
    int32_t type;
    const char* shortType;  ///< "accelerometer", "back_tap"
    const char* displayName;
    bool needsPermission;
    uint32_t flags;  ///< of the listed sensor, without the chip's wake-up bit
    /**
     * Payload words in order, with the unit after the last that has it: "lux [lux], roi -, x y z
     * [m/s²], accuracy". "-" is an unused word, "#" a 64-bit count; "accuracy" is the low byte of
     * word 3. Empty for a sensor without data.
     */
    const char* values;
    Reporting reporting;
    SignalFunction* signal;  ///< null with Reporting::kNone

    bool isHubsOwn() const { return chip.chipName.empty(); }
    /** Empty for the platform's own types. */
    std::string stringType() const;
};

const std::vector<KnownSensor>& knownSensors();

/** Null if the hub has no such sensor. */
const KnownSensor* findKnownSensor(int handle);

/** Name of a sensor's IIO device: plain, or with "_wu" or "_nwu" when it is the other twin. */
std::string iioNameOf(const KnownSensor& sensor, bool wakeUp);

/** Realistic chips for every sensor of the table except the hub's own. */
std::vector<SensorSpec> standardCatalogue();

}  // namespace simulator
