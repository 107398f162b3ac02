#include <gtest/gtest.h>
#include <utils/SystemClock.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "tests/drivers/Golden.h"

namespace golden {

namespace {

/** A payload word as the float that it may be, and its bits. */
std::string show(uint32_t bits) {
    float value = 0;
    memcpy(&value, &bits, sizeof(value));
    char text[40];
    snprintf(text, sizeof(text), "%.9g (0x%08x)", static_cast<double>(value), bits);
    return text;
}

void checkPayload(const std::vector<Word>& expected, const Event& event) {
    uint32_t words[16];
    memcpy(words, &event.u, sizeof(words));
    for (size_t i = 0; i < std::size(words); ++i) {
        const uint32_t wanted = i < expected.size() ? expected[i].bits : 0;
        if (words[i] == wanted) continue;
        ADD_FAILURE() << "payload word " << i << " is " << show(words[i]) << ", expected "
                      << show(wanted);
    }
}

Lines withTime(Lines lines, const std::string& time) {
    for (LogLine& line : lines) {
        const size_t at = line.text.find("%T");
        if (at != std::string::npos) line.text.replace(at, 2, time);
    }
    return lines;
}

void checkEvent(const DriverRow& row, const Posted& expected, const Event& event, int64_t begin) {
    EXPECT_EQ(event.sensorHandle, row.handle);
    EXPECT_EQ(static_cast<int32_t>(event.sensorType), expected.meta ? 0 : row.type);
    if (expected.timestamp == kNow) {
        EXPECT_GE(event.timestamp, begin);
        EXPECT_LE(event.timestamp, android::elapsedRealtimeNano());
    } else {
        EXPECT_EQ(event.timestamp, static_cast<int64_t>(expected.timestamp));
    }
}

void checkExchange(const DriverRow& row, const Exchange& exchange, RecordPath& path) {
    SCOPED_TRACE(testing::PrintToString(exchange.record));
    const int64_t begin = android::elapsedRealtimeNano();
    const Outcome outcome = path.pass(row.handle, exchange.record);
    const bool isNow = exchange.posted && exchange.posted->timestamp == kNow;
    ASSERT_EQ(outcome.events.size(), exchange.posted ? 1U : 0U);
    EXPECT_EQ(
        outcome.log,
        withTime(exchange.log, isNow ? std::to_string(outcome.events[0].timestamp) : kTimeText));
    if (!exchange.posted) return;
    checkEvent(row, *exchange.posted, outcome.events[0], begin);
    checkPayload(exchange.posted->payload, outcome.events[0]);
}

/** What kind of event a record gives, whatever its payload. */
void checkKind(const DriverRow& row, bool isMarker, const std::string& record, uint64_t timestamp,
               RecordPath& path) {
    SCOPED_TRACE(testing::PrintToString(record));
    const int64_t begin = android::elapsedRealtimeNano();
    const Outcome outcome = path.pass(row.handle, record);
    ASSERT_EQ(outcome.events.size(), 1U);
    if (row.exchanges[0].posted->timestamp == kNow) timestamp = kNow;
    checkEvent(row, isMarker ? meta() : Posted{false, timestamp, {}}, outcome.events[0], begin);
    const auto logged = std::count(outcome.log.begin(), outcome.log.end(), LogLine(row.metaLine));
    EXPECT_EQ(logged, isMarker ? 1 : 0) << row.metaLine;
}

/** A flush marker must be taken for one whatever it holds that does not count, and a record that
 *  lacks one of its signs must not: a sensor at rest sends zeros, too. */
void checkForm(const DriverRow& row, const Form& form, RecordPath& path) {
    const bool always = form.marker == Marker::kEveryRecord;
    const bool byTime = form.marker == Marker::kNoTimestamp;
    const bool byAll = form.marker == Marker::kAllZero;
    std::vector<Raw> values(form.widths.size(), 0);
    checkKind(row, always || byTime || byAll, form.pack(values, 0), 0, path);
    // In the lowest and in the highest byte of the timestamp alone.
    for (const uint64_t timestamp : {uint64_t{1}, uint64_t{1} << 56}) {
        checkKind(row, always, form.pack(values, timestamp), timestamp, path);
    }
    for (size_t i = 0; i < values.size(); ++i) {
        const bool decides = std::count(form.ignored.begin(), form.ignored.end(), i) == 0;
        for (const uint64_t value : {uint64_t{1}, uint64_t{1} << (8 * form.widths[i] - 1)}) {
            values[i] = value;
            const bool isMarker = always || byTime || (byAll && !decides);
            checkKind(row, isMarker, form.pack(values, 0), 0, path);
        }
        values[i] = 0;
    }
}

}  // namespace

std::string Form::pack(const std::vector<Raw>& values, uint64_t timestamp) const {
    std::string record;
    EXPECT_EQ(values.size(), widths.size());
    for (size_t i = 0; i < widths.size(); ++i)
        record.append(reinterpret_cast<const char*>(&values.at(i).bits), widths[i]);
    return record.append(reinterpret_cast<const char*>(&timestamp), sizeof(timestamp)) + tail;
}

Rows allRows() {
    Rows rows;
    for (const auto appendFamily :
         {physicalRows, lightRows, motionRows, orientationRows, foldableRows})
        appendFamily(rows);
    return rows;
}

void checkRecords(const DriverRow& row, RecordPath& path) {
    for (const Exchange& exchange : row.exchanges)
        checkExchange(row, exchange, path);
    for (const Form& form : row.forms)
        checkForm(row, form, path);
}

}  // namespace golden
