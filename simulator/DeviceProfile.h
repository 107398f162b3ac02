#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "simulator/SensorSpec.h"
#include "simulator/signals/SignalFunction.h"

namespace simulator {

/** When a sensor's generated records are sent. */
enum class Reporting {
    kNone,        ///< never by the generator
    kContinuous,  ///< one record per period
    kOnChange,    ///< at enable, and whenever the data differ from the last record sent
    kOnEvent,     ///< whenever the data change, but not at enable
    kOneShot,     ///< at the first change after enable, then silent until enabled again
};

/** All that the simulator knows about one kind of sensor; the driver's own table. */
struct DeviceProfile {
    SensorSpec chip;         ///< as in the standard catalogue; nameless for the hub's own devices
    const char* iioName;     ///< name of the plain twin, without suffix
    size_t recordSize;       ///< bytes on the wire, timestamp included
    bool plainNameIsWakeUp;  ///< the unsuffixed device is the wake-up twin
    Reporting reporting;
    SignalFunction* signal;  ///< null with Reporting::kNone
};

/** The profile of `handle`, or null when the simulator has no row for it. */
const DeviceProfile* findProfile(int handle);

/** IIO device name of a sensor: plain, or with "_wu"/"_nwu" when it is the other twin. */
std::string deviceName(const DeviceProfile& profile, bool wakeUp);

/** Real-looking chips for every sensor of the table. */
std::vector<SensorSpec> standardCatalogue();

}  // namespace simulator
