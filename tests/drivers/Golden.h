#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "tests/support/LogCapture.h"

/**
 * What each driver must do with one exchange, written down by hand. The rows are the reference;
 * they are never derived from the product's tables.
 */
namespace golden {

using testing_support::LogLine;

/** Timestamp of an event that is stamped with the time of its reading. */
inline constexpr int64_t kNow = -1;
/** What stands for such a timestamp in the text of a log line. */
inline constexpr char kNowText[] = "%NOW%";

struct Posted {
    enum Kind { kData, kMeta } kind;
    int64_t timestamp = 0;        // ns; flush-complete events carry 0
    std::vector<uint32_t> words;  // bit patterns of the leading payload words; the rest are zero
};

inline Posted data(int64_t timestamp, std::vector<uint32_t> words) {
    return {Posted::kData, timestamp, std::move(words)};
}
/** The flush-complete event: payload word 0 is 1. */
inline Posted meta() {
    return {Posted::kMeta, 0, {1}};
}

/** One record, and what must come of it. A row's exchanges run in order on one object. */
struct Exchange {
    const char* what;
    std::string record;
    std::vector<Posted> posted;
    std::vector<LogLine> log;
};

struct DriverRow {
    const char* className;
    int handle;
    const char* iioName;  // without suffix
    bool plainIsWakeUp;   // the plain device name is the wake-up twin
    const char* displayName;
    int32_t type;
    const char* stringType;
    const char* permission;
    uint32_t addedFlags;  // beside the wake-up bit of the specification file
    /**
     * Resolution 0.5 and vendor "STM" are what the hub's specification file says of each row's
     * sensor. Start with a record that has a distinct value in every field.
     */
    std::vector<Exchange> exchanges;
    /** Log text of a read that fails with EIO, for the plain twin; error level. */
    std::string readFailure;
    bool shown = true;
    bool direct = false;  // posts every event to the direct channels as well
    /** False when the other twin's device name is longer than the 29 characters compared. */
    bool twinIsReachable = true;
};

/** How a failing test names a row. */
inline void PrintTo(const DriverRow& row, std::ostream* stream) {
    *stream << row.className;
}

inline constexpr char kQSensor[] = "com.tavrine.permission.QSENSOR";

/** Record fields in wire order. */
inline simulator::RecordBuilder rec() {
    return {};
}

std::vector<DriverRow> physicalRows();
std::vector<DriverRow> lightRows();
std::vector<DriverRow> motionRows();
std::vector<DriverRow> orientationRows();
std::vector<DriverRow> foldableRows();

}  // namespace golden
