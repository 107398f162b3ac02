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
    const char* needs;  ///< without it the rule is skipped; may be empty
    const char* text;
};
const std::vector<Rule>& checkRules();

/** What came from one sensor while it was on. */
struct Observed {
    int64_t startNs = 0;   ///< earlier time stamps belong to an earlier request
    int64_t endNs = 0;     ///< when the look at it ended
    int64_t periodNs = 0;  ///< the requested one
    std::vector<ReceivedEvent> events;
    size_t stale = 0;          ///< data from before the start, which are not among `events`
    int completions = 0;       ///< of flushes
    size_t beforeFlushed = 0;  ///< events that had come at the first completion
    std::string foreignKinds;  ///< types and meta-data codes that are not the sensor's

    void add(const SensorInfo& sensor, const ReceivedEvent& received);
};

/** A sensor under test. */
struct Tested {
    const SensorInfo& sensor;
    Results results;
    Observed observed{};
};

/** How far time stamps lie apart, whatever was lost between them. */
struct Spacing {
    explicit Spacing(const std::vector<int64_t>& stamps);

    double rateHz = 0;
    int64_t typicalNs = 0;  ///< the median
    int64_t lost = 0;       ///< by gaps of more than one and a half of it
};

// CheckVerb.cpp runs the sensors; these rules judge what they listed and reported.

/** @param specs the hub's own, by handle */
void checkListing(const Tested& tested, const std::map<int, simulator::SensorSpec>& specs);
void checkNamesDistinct(const std::vector<SensorInfo>& sensors, const Results& results);

void checkFirstEvent(const Tested& tested);
/** False when the time stamps of a periodic sensor prove nothing. */
bool checkTimestamps(const Tested& tested, int64_t latencyNs);
/** The rate that the sensor grants, and nothing lost. */
void checkRate(const Tested& tested);
/** Values, wakelocks, and what an on-change or a one-shot sensor may send. */
void checkEvents(const Tested& tested);
/** With a flush at `flushedNs`, while events were held back. */
void checkBatching(const Tested& tested, int64_t latencyNs, int64_t flushedNs);

/** Rates that the platform wants at a level. */
struct DirectLevel {
    android::hardware::sensors::V1_0::RateLevel level;
    const char* name;
    double lowestHz;
    double highestHz;
};
extern const DirectLevel kDirectLevels[3];
/** The memory of a channel that has just been stopped. */
void checkDirectRecords(const Tested& tested, const DirectLevel& level, const SharedMemory& memory,
                        int64_t startNs);

}  // namespace subhalctl
