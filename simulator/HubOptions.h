#pragma once

#include <cstdint>
#include <vector>

#include "simulator/KnownSensors.h"

namespace simulator {

/** What kind of hub a program wants. */
struct HubOptions {
    uint64_t seed = 1;
    /** As the specification file lists them; one without a row in the table gets no device. */
    std::vector<SensorSpec> sensors = standardCatalogue();
    /** On: enabled sensors send records of their own, and a flush is answered by its marker.
     *  Off: records come only from push() and pushFlushMarker(). */
    bool generateSignals = false;
    bool still = false;        ///< the device lies on a table, untouched
    bool hasSensorHub = true;  ///< the device of handle 33
};

}  // namespace simulator
