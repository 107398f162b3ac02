#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/subhalctl/judging/CheckReport.h"
#include "tools/subhalctl/proxy/EventQueue.h"

namespace subhalctl {

/** What came from one sensor while it was on. */
struct Observed {
    int64_t startNs = 0;   ///< before it was switched on
    int64_t endNs = 0;     ///< before it was switched off, or the look at it ended
    int64_t periodNs = 0;  ///< what it was asked for
    std::vector<ReceivedEvent> events;
    int completions = 0;  ///< of flushes
    size_t stale = 0;     ///< events from before, which are not among `events`

    /** Flush markers, stale records and data go their ways. */
    void add(const ReceivedEvent& received);
};

/** Where a sensor's results go. */
struct Results {
    CheckReport* report;
    std::string sensor;

    void pass(const char* rule, const std::string& figures) const;
    void fail(const char* rule, const std::string& figures) const;
    void judge(bool passed, const char* rule, const std::string& figures) const;
    void skip(const char* rule, const std::string& figures) const;
    void onPurpose(const char* rule, const std::string& figures) const;
};

// The rules that look at what was told or came; CheckVerb.cpp makes it come. Without events only
// checkFirstEvent() has something to tell.

void checkListing(const SensorInfo& sensor, const Results& results);
void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results);

void checkFirstEvent(const SensorInfo& sensor, const Observed& observed, const Results& results);
/** Within the platform's bounds of the period that the sensor grants. */
void checkRate(const SensorInfo& sensor, const Observed& observed, const char* rule,
               const Results& results);
void checkTimestamps(const SensorInfo& sensor, const Observed& observed, const Results& results);
void checkValues(const SensorInfo& sensor, const Observed& observed, const Results& results);
void checkWakelocks(const SensorInfo& sensor, const Observed& observed, const Results& results);
/** What an on-change or a one-shot sensor may send. */
void checkMode(const SensorInfo& sensor, const Observed& observed, const Results& results);
void checkBatching(const SensorInfo& sensor, const Observed& observed, int64_t latencyNs,
                   const Results& results);

}  // namespace subhalctl
