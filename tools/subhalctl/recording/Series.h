#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tools/subhalctl/ExitCode.h"
#include "tools/subhalctl/recording/Recording.h"
#include "tools/subhalctl/showing/EventWriter.h"

namespace subhalctl {

struct Span {
    int64_t beginNs;
    int64_t endNs;
};

/** One event of a recording, and how it follows the one before, by time stamp. */
struct RecordedEvent {
    ReceivedEvent received;
    int64_t readNs;                ///< when its record was read; its arrival when unknown
    std::vector<double> values{};  ///< only of data
    int64_t intervalNs = 0;        ///< 0 for the first one
    int64_t lost = 0;              ///< events missing just before it
    bool backward = false;         ///< not stamped later than the one that came before
    bool stale = false;
    bool retyped = false;  ///< data of another type than the first
    bool late = false;     ///< beyond the requested latency, two periods and 100 ms

    bool isData() const { return kindOf(received.event) == EventKind::kData && !stale; }
    int64_t stampNs() const { return received.event.timestamp; }
    int64_t latencyNs() const { return elapsedNs(received.event.timestamp, received.receivedNs); }
};

/** One sensor of a recording. */
struct Series {
    SensorInfo sensor{};
    int64_t periodNs = 0;   ///< granted, 0 for a sensor without a rate
    int64_t latencyNs = 0;  ///< requested
    std::vector<RecordedEvent> events{};
    std::vector<const RecordedEvent*> data{};  ///< those of `events`, by time stamp
    std::vector<const Recording::Entry*> requests{};
    std::vector<Span> on{};
    int64_t late = 0;
    Watched figures{nullptr, {}, {}, IntervalStatistics()};

    /** As in "light (5)". */
    std::string name() const;
    bool hasData() const { return figures.intervals.events() > 0; }
};

/** A recording and its sensors, which point into it. */
struct RecordedRun {
    RecordedRun() = default;
    RecordedRun(const RecordedRun&) = delete;
    RecordedRun& operator=(const RecordedRun&) = delete;

    /** Reports any failure; a recording without data is one. */
    ExitCode load(const std::string& path);

    std::string name;  ///< of the file
    Recording recording;
    std::map<int32_t, Series> sensors;  ///< by handle, with a request or an event
    std::vector<Span> wakelocks;
    int64_t endNs = 0;
};

}  // namespace subhalctl
