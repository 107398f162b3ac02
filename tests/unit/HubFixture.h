#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulator/HubServices.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OnlySensors.h"
#include "tests/support/RecordingCallback.h"

namespace testing_support {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using simulator::RecordBuilder;
using simulator::Request;

/** A hub and its firmware; unless given more, it has its two own devices alone. */
class HubFixture : public testing::Test {
  protected:
    explicit HubFixture(const simulator::SimulatedHub::Options& options = onlySensors({}))
        : mHub(options) {}

    static bool logged(const LogLine& line) { return LogCapture::contains(line); }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    simulator::HubServices mServices{mHub};
    RecordingCallback mCallback;
};

}  // namespace testing_support
