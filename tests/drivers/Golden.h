#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
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
using Lines = std::vector<LogLine>;

/** Timestamp of an event that is stamped with the time of its reading. */
inline constexpr int64_t kNow = -1;
/** What stands for such a timestamp in the text of a log line. */
inline constexpr char kNowText[] = "%NOW%";
/** A timestamp with eight different bytes: 1234605616436508552. */
inline constexpr int64_t kTime = 0x1122334455667788;

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
    int64_t timestamp = 0;      // ns; flush-complete events carry 0
    std::vector<Word> payload;  // the leading words; the rest are zero
};

inline Posted data(int64_t timestamp, std::vector<Word> payload) {
    return {false, timestamp, std::move(payload)};
}
/** The flush-complete event: payload word 0 is 1. */
inline Posted meta() {
    return {true, 0, {1U}};
}
inline LogLine info(std::string text) {
    return {'I', std::move(text)};
}
inline LogLine error(std::string text) {
    return {'E', std::move(text)};
}

/** One record, and what must come of it. A row's exchanges run in order on one object. */
struct Exchange {
    const char* what;
    std::string record;
    std::optional<Posted> posted;
    Lines log;
};

/** Which twin has the device name without suffix. */
enum PlainTwin { kNonWakeUp, kWakeUp };

struct DriverRow {
    /** `flags` come beside the wake-up bit of the specification file; `failureOpening` is the log
     *  text of a failing read in front of "input data file ...". */
    DriverRow(const char* name, int number, PlainTwin twin, const char* display, int32_t typeNumber,
              const char* typeName, const char* needed, uint32_t flags, const char* failureOpening)
        : className(name),
          handle(number),
          plainIsWakeUp(twin == kWakeUp),
          displayName(display),
          type(typeNumber),
          stringType(typeName),
          permission(needed),
          addedFlags(flags),
          readFailure(std::string(failureOpening) +
                      "input data file descriptor not available - (Input/output error)") {}

    /** The first is a record with a distinct value in every field. Resolution is 0.5. */
    DriverRow& on(const char* what, std::string record, std::optional<Posted> posted,
                  Lines log = {}) {
        exchanges.push_back({what, std::move(record), std::move(posted), std::move(log)});
        return *this;
    }
    DriverRow& flushMarker(std::string record, Lines log) {
        return on("flush marker", std::move(record), meta(), std::move(log));
    }
    DriverRow& postsDirectly() {
        direct = true;
        return *this;
    }
    DriverRow& hasNoOtherTwin() {
        twinIsReachable = false;
        return *this;
    }

    const char* className;
    int handle;
    bool plainIsWakeUp;
    const char* displayName;
    int32_t type;
    const char* stringType;
    const char* permission;
    uint32_t addedFlags;
    std::string readFailure;
    std::vector<Exchange> exchanges;
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

/** The record of nine bytes that many drivers share. */
inline std::string byteRecord(uint8_t value, uint64_t timestamp) {
    return rec().u8(value).u64(timestamp).bytes();
}
inline std::string intRecord(int32_t value, uint64_t timestamp) {
    return rec().i32(value).u64(timestamp).bytes();
}
inline std::string vectorRecord(int16_t x, int16_t y, int16_t z, uint64_t timestamp) {
    return rec().i16(x).i16(y).i16(z).u64(timestamp).bytes();
}

std::vector<DriverRow> physicalRows();
std::vector<DriverRow> lightRows();
std::vector<DriverRow> motionRows();
std::vector<DriverRow> orientationRows();
std::vector<DriverRow> foldableRows();

}  // namespace golden
