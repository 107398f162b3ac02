#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulator/HubServices.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OnlySensors.h"
#include "tests/support/RecordingCallback.h"

namespace testing_support {

/** A hub with its two own devices alone, and its firmware. */
class HubFixture : public testing::Test {
  protected:
    using Log = std::vector<LogLine>;

    static bool logged(const LogLine& line) { return LogCapture::contains(line); }

    LogCapture mLog;
    simulator::SimulatedHub mHub{onlySensors({})};
    simulator::HubServices mServices{mHub};
    RecordingCallback mCallback;
};

}  // namespace testing_support
