#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <string>
#include <vector>

#include "tests/drivers/Golden.h"

namespace golden {

using android::hardware::sensors::V1_0::Event;

/** What came of one record. */
struct Outcome {
    std::vector<Event> events;
    Lines log;
};

/** Drivers behind some hub, simulated or real. */
class RecordPath {
  public:
    virtual ~RecordPath() = default;

    /** Has the driver of `handle` read one record. */
    virtual Outcome pass(int handle, const std::string& record) = 0;
};

/** Runs a row's exchanges in order, then those made from its forms. */
void checkRecords(const DriverRow& row, RecordPath& path);

}  // namespace golden
