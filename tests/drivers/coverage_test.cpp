// What adding a driver takes, step by step: each that is forgotten fails here under its name.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "sensors/SensorList.h"
#include "simulator/SimulatedHub.h"
#include "tests/drivers/Golden.h"
#include "tests/support/RecordingCallback.h"
#include "tools/subhalctl/KnownSensors.h"
#include "tools/subhalctl/showing/SensorValues.h"

namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorList;
using golden::DriverRow;
using testing_support::LogCapture;

constexpr int kLastHandle = 71;

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
    const std::set<int> table = handlesOfTheTable();
    const auto chips = simulator::standardCatalogue();
    std::set<int> handles;
    for (const DriverRow& row : golden::allRows()) {
        SCOPED_TRACE(std::string(row.className) + ", handle " + std::to_string(row.handle));
        EXPECT_TRUE(handles.insert(row.handle).second) << "two golden rows";
        EXPECT_EQ(table.count(row.handle), 1U) << "no line in the table of sensors/SensorList.cpp";

        const auto* profile = simulator::findProfile(row.handle);
        EXPECT_NE(profile, nullptr) << "no device in the simulator's profiles";
        EXPECT_TRUE(std::any_of(chips.begin(), chips.end(), [&row](const auto& chip) {
            return chip.handle == row.handle;
        })) << "no chip in the simulator's standard catalogue";
        if (profile != nullptr) {
            EXPECT_TRUE(std::any_of(row.exchanges.begin(), row.exchanges.end(), [&](const auto& e) {
                return e.record.size() == profile->recordSize;
            })) << "another record size in the simulator's profile";
        }

        const bool hasData = std::any_of(row.exchanges.begin(), row.exchanges.end(),
                                         [](const auto& e) { return e.posted && !e.posted->meta; });
        const auto values = subhalctl::decode(row.type, {}).values;
        EXPECT_EQ(hasData, !values.empty() && values[0].form != subhalctl::Value::Form::kWord)
            << "no values of type " << row.type << " in tools/subhalctl/showing/SensorValues.cpp";
        EXPECT_NE(subhalctl::findKnownSensor(row.handle), nullptr)
            << "no row in tools/subhalctl/KnownSensors.cpp";
    }
    for (const int handle : table)
        EXPECT_EQ(handles.count(handle), 1U) << "no golden row of handle " << handle;
}

}  // namespace
