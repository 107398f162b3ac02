#pragma once

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "simulator/KnownSensors.h"
#include "simulator/SimulatedHub.h"

namespace testing_support {

/** A hub that has only these of the standard sensors, beside its own two. */
inline simulator::SimulatedHub::Options onlySensors(const std::vector<int>& handles) {
    simulator::SimulatedHub::Options options;
    auto& sensors = options.sensors;
    const auto isOther = [&handles](const simulator::SensorSpec& spec) {
        return std::find(handles.begin(), handles.end(), spec.handle) == handles.end();
    };
    sensors.erase(std::remove_if(sensors.begin(), sensors.end(), isOther), sensors.end());
    if (sensors.size() != handles.size()) abort();
    return options;
}

/** What the golden rows expect: a chip "CHIP" of STM, in steps of a half. */
inline simulator::SensorSpec plainSensor(int handle, bool wakeUp = false, int vendor = 3) {
    simulator::SensorSpec spec;
    spec.handle = handle;
    spec.chipName = "CHIP";
    spec.vendor = vendor;
    spec.wakeUp = wakeUp;
    spec.resolution = 0.5F;
    return spec;
}

}  // namespace testing_support
