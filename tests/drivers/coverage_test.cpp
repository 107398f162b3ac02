// The steps of adding a driver: a forgotten one fails here under its name.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "sensors/SensorList.h"
#include "simulator/KnownSensors.h"
#include "simulator/SimulatedHub.h"
#include "simulator/World.h"
#include "tests/drivers/Golden.h"
#include "tests/support/RecordingCallback.h"

namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorList;
using golden::DriverRow;
using testing_support::LogCapture;

constexpr int kLastHandle = 89;  // as many records as the library reads

/** Handles of the catalogue's table: those that it does not call invalid. */
std::set<int> handlesOfTheTable() {
    const LogCapture log;
    simulator::SimulatedHub hub;
    std::string spec;
    for (int handle = 1; handle <= kLastHandle; ++handle) {
        simulator::SensorSpec sensor;
        sensor.handle = handle;
        spec += encodeSpec(sensor);
    }
    hub.setRawSpec(spec);
    testing_support::RecordingCallback callback;
    const SensorList list(&callback);
    std::set<int> handles;
    for (int handle = 1; handle <= kLastHandle; ++handle) {
        const std::string line = "E pushSensorList invalid handle " + std::to_string(handle);
        if (!LogCapture::contains(line)) handles.insert(handle);
    }
    return handles;
}

TEST(Coverage, EveryStepOfAddingADriver) {
    std::set<int> table = handlesOfTheTable();
    std::set<int> handles;
    for (const DriverRow& row : golden::allRows()) {
        SCOPED_TRACE(std::string(row.className) + ", handle " + std::to_string(row.handle));
        EXPECT_TRUE(handles.insert(row.handle).second) << "two golden rows";
        EXPECT_EQ(table.count(row.handle), 1U) << "no line in the table of sensors/SensorList.cpp";

        const auto* known = simulator::findKnownSensor(row.handle);
        ASSERT_NE(known, nullptr) << "no row in simulator/KnownSensors.cpp";
        const bool fits =
            known->type == row.type && known->stringType() == row.stringType &&
            known->displayName == std::string(row.displayName) &&
            (known->needsPermission ? golden::kQSensor : std::string()) == row.permission &&
            known->flags == row.addedFlags && known->plainNameIsWakeUp == row.plainIsWakeUp &&
            std::any_of(row.exchanges.begin(), row.exchanges.end(),
                        [&](const auto& e) { return e.record.size() == known->recordSize; });
        EXPECT_TRUE(fits) << "another identity or record size in simulator/KnownSensors.cpp";
        EXPECT_FALSE(known->chip.chipName.empty()) << "no chip in simulator/KnownSensors.cpp";
        const bool hasData = std::any_of(row.exchanges.begin(), row.exchanges.end(),
                                         [](const auto& e) { return e.posted && !e.posted->meta; });
        EXPECT_EQ(hasData, known->values[0] != '\0')
            << "no values, or too many, in simulator/KnownSensors.cpp";
    }
    int last = 0;
    for (const auto& known : simulator::knownSensors()) {
        EXPECT_LT(last, known.chip.handle) << "simulator/KnownSensors.cpp is not sorted by handle";
        last = known.chip.handle;
        if (!known.isHubsOwn()) table.insert(known.chip.handle);
        if (known.signal == nullptr) continue;
        simulator::RecordBuilder record;
        known.signal(simulator::World(5), known.chip, 1.7, record);
        EXPECT_EQ(known.recordSize, record.bytes().size() + sizeof(uint64_t))
            << "another signal's length in simulator/KnownSensors.cpp, handle " << last;
    }
    for (const int handle : table)
        EXPECT_EQ(handles.count(handle), 1U) << "no golden row of handle " << handle;
}

}  // namespace
