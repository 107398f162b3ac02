#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "simulator/SensorSpec.h"
#include "tools/subhalctl/judging/CheckReport.h"
#include "tools/subhalctl/proxy/ClientChannel.h"
#include "tools/subhalctl/proxy/EventQueue.h"

namespace subhalctl {

struct Rule {
    const char* name;
    const char* needs;  ///< what has to be there for it to be looked at; empty for nothing
    const char* text;
};
const std::vector<Rule>& checkRules();

/** What came from one sensor while it was on. */
struct Observed {
    int64_t startNs = 0;   ///< what is stamped earlier is of an earlier request
    int64_t endNs = 0;     ///< when the look at it ended
    int64_t periodNs = 0;  ///< what it was asked for
    std::vector<ReceivedEvent> events;
    size_t stale = 0;          ///< data from before the start, which are not among `events`
    int completions = 0;       ///< of flushes
    size_t beforeFlushed = 0;  ///< events that had come at the first completion
    std::string foreignKinds;  ///< types and meta-data codes that are not the sensor's

    void add(const SensorInfo& sensor, const ReceivedEvent& received);
};

/** How far time stamps lie apart, whatever was lost between them. */
struct Spacing {
    explicit Spacing(std::vector<int64_t> stamps);

    double rateHz = 0;
    int64_t typicalNs = 0;  ///< the median
    int64_t lost = 0;       ///< by gaps of more than one and a half of it
};

// The rules that look at what was listed or came; CheckVerb.cpp makes it come.

/** @param specs the hub's own, by handle */
void checkListing(const SensorInfo& sensor, const std::map<int, simulator::SensorSpec>& specs,
                  const Results& results);
void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results);

void checkFirstEvent(const SensorInfo& sensor, const Observed& observed, const Results& results);
/** False when a periodic sensor has no time stamps from which anything can be concluded. */
bool checkTimestamps(const SensorInfo& sensor, const Observed& observed, int64_t latencyNs,
                     const Results& results);
/** The rate that the sensor grants, and nothing lost. */
void checkRate(const SensorInfo& sensor, const Observed& observed, const Results& results);
void checkEvents(const SensorInfo& sensor, const Observed& observed, const Results& results);
/** What an on-change or a one-shot sensor may send. */
void checkMode(const SensorInfo& sensor, const Observed& observed, const Results& results);
/** With a flush at `flushedNs`, while events were held back. */
void checkBatching(const Observed& observed, int64_t latencyNs, int64_t flushedNs,
                   const Results& results);

/** Rates that the platform wants at a level. */
struct DirectLevel {
    android::hardware::sensors::V1_0::RateLevel level;
    const char* name;
    double lowestHz;
    double highestHz;
};
extern const DirectLevel kDirectLevels[3];
/** What is in the memory of a channel that has just been stopped. */
void checkDirectRecords(const SensorInfo& sensor, const DirectLevel& level,
                        const SharedMemory& memory, int64_t startNs, const Results& results);

}  // namespace subhalctl
