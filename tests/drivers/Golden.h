#pragma once

#include <android/hardware/sensors/1.0/types.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/LogCapture.h"

/**
 * What each driver must do with each record, written down by hand. The rows are the reference: they
 * are never derived from the product's tables, and they know nothing of the hub that they run on.
 */
namespace golden {

using android::hardware::sensors::V1_0::Event;
using testing_support::Lines;
using testing_support::LogLine;
using namespace std::string_literals;

/** A timestamp with eight different bytes; "%T" in a log line is its text. */
inline constexpr uint64_t kTime = 0x1122334455667788;
inline constexpr char kTimeText[] = "1234605616436508552";
/** Timestamp of an event that is stamped with the time of its reading; so is "%T". */
inline constexpr uint64_t kNow = ~uint64_t{0};

/** A value of the wire: the low bytes of a number, or a float's bits. */
struct Raw {
    template <typename T>
    Raw(T value) {
        if constexpr (std::is_floating_point_v<T>) {
            memcpy(&bits, &value, sizeof(value));
        } else {
            bits = static_cast<uint64_t>(value);
        }
    }
    uint64_t bits = 0;
};

/** A payload word: a float (1.0F) or bits that are none (1U). */
struct Word {
    Word(float value) { memcpy(&bits, &value, sizeof(bits)); }
    Word(uint32_t value) : bits(value) {}
    uint32_t bits = 0;
};

/** The last payload word that a vector has, behind its three components. */
inline constexpr uint32_t kAccuracyHigh = 3;

struct Posted {
    bool meta = false;
    uint64_t timestamp = 0;     // ns; flush-complete events carry 0
    std::vector<Word> payload;  // the leading words; the rest are zero
};

/** The flush-complete event: payload word 0 is 1. */
inline Posted meta() {
    return {true, 0, {1U}};
}

/** One record, and what must come of it. A row's exchanges run in order on one object. */
struct Exchange {
    std::string record;
    std::optional<Posted> posted;
    Lines log;
};

/** Which twin has the device name without suffix. */
enum PlainTwin { kNonWakeUp, kWakeUp };

/** Which records report a completed flush. */
enum class Marker { kNoTimestamp, kAllZero, kEveryRecord, kNone };

/** A form of a driver's record: the fields' widths in bytes, in wire order, without the timestamp
 *  behind them. From each the marker's exchanges are made: all zero, and one field at a time. */
struct Form {
    std::vector<size_t> widths;
    Marker marker;
    std::vector<size_t> ignored;  // fields that do not decide
    std::string tail;             // bytes that the hub sends behind the timestamp

    std::string pack(const std::vector<Raw>& values, uint64_t timestamp) const;
};

struct DriverRow {
    /** `typeName` without its "com.tavrine.sensor."; `flags` come beside the wake-up bit of the
     *  specification file; `failureOpening` is the log text of a failing read in front of "input
     *  data file ...", the class name and a colon unless it is given. */
    DriverRow(const char* name, int number, PlainTwin twin, const char* display, int32_t typeNumber,
              const char* typeName, const char* needed, uint32_t flags, const char* meta,
              const char* failureOpening = nullptr)
        : className(name),
          handle(number),
          plainIsWakeUp(twin == kWakeUp),
          displayName(display),
          type(typeNumber),
          stringType(*typeName == 0 ? "" : "com.tavrine.sensor."s + typeName),
          permission(needed),
          addedFlags(flags),
          readFailure("E "s + (failureOpening != nullptr ? failureOpening : name + " :"s) +
                      "input data file descriptor not available - (Input/output error)"),
          metaLine(meta) {}

    /** The records that follow have this form. */
    DriverRow& form(std::vector<size_t> widths, Marker marker = Marker::kNoTimestamp,
                    std::vector<size_t> ignored = {}, std::string tail = {}) {
        forms.push_back({std::move(widths), marker, std::move(ignored), std::move(tail)});
        return *this;
    }
    /** A record that is posted. The first has a distinct value in every field, and 32-bit counts
     *  beyond a float's 24 bits. Resolution is 0.5. */
    DriverRow& data(const std::vector<Raw>& values, std::vector<Word> payload, Lines log = {},
                    uint64_t timestamp = kTime) {
        return bytes(forms.back().pack(values, timestamp),
                     Posted{false, timestamp, std::move(payload)}, std::move(log));
    }
    /** The marker with data in its fields and lines in front of its own. */
    DriverRow& marker(const std::vector<Raw>& values, Lines log = {}) {
        log.emplace_back(metaLine);
        return bytes(forms.back().pack(values, 0), meta(), std::move(log));
    }
    /** Any record of any length. */
    DriverRow& bytes(std::string record, std::optional<Posted> posted, Lines log = {}) {
        exchanges.push_back({std::move(record), std::move(posted), std::move(log)});
        return *this;
    }

    const char* className;
    int handle;
    bool plainIsWakeUp;
    const char* displayName;
    int32_t type;
    std::string stringType;
    const char* permission;
    uint32_t addedFlags;
    LogLine readFailure;
    const char* metaLine;
    std::vector<Form> forms;
    std::vector<Exchange> exchanges;
    bool shown = true;
    bool direct = false;  // posts every event to the direct channels as well
    /** False when the other twin's device name is longer than the 29 characters compared. */
    bool twinIsReachable = true;
};

/** How tests name a row. */
inline void PrintTo(const DriverRow& row, std::ostream* stream) {
    *stream << row.className << row.handle;
}

inline constexpr char kQSensor[] = "com.tavrine.permission.QSENSOR";

/** Three 16-bit components in steps of the resolution, with or without a hub's padding. */
DriverRow& gyroscope(DriverRow& row);

using Rows = std::vector<DriverRow>;

// Each appends a family's rows.
void physicalRows(Rows& rows);
void lightRows(Rows& rows);
void motionRows(Rows& rows);
void orientationRows(Rows& rows);
void foldableRows(Rows& rows);
Rows allRows();

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
