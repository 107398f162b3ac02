#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/subhalctl/judging/Statistics.h"
#include "tools/subhalctl/proxy/EventQueue.h"
#include "tools/subhalctl/showing/Table.h"

namespace subhalctl {

enum class EventKind { kData, kFlushComplete, kAdditionalInfo };

EventKind kindOf(const Event& event);
/** "data", "flush" or "info". */
const char* kindName(EventKind kind);

/** One watched sensor. */
struct Watched {
    const SensorInfo* sensor;
    std::optional<double> askedHz;  ///< nothing: the sensor has no rate
    std::optional<double> grantedHz;
    IntervalStatistics intervals;
    int64_t startNs = 0;  ///< events stamped earlier are stale: left in the queue by an earlier run
    DurationStatistics latency{};  ///< from the event's time stamp to its arrival
    int64_t events = 0;            ///< of data and additional information, without the stale ones
    int64_t stale = 0;
    int64_t flushes = 0;
    int64_t wakelocks = 0;

    /** Nothing where it was not measured. */
    std::optional<int64_t> lost() const {
        return when(grantedHz && (intervals.intervals() > 0 || intervals.lost() > 0),
                    intervals.lost());
    }
    std::optional<double> rateHz() const { return grantedHz ? intervals.rateHz() : grantedHz; }
    std::optional<double> jitterNs() const { return grantedHz ? intervals.jitterNs() : grantedHz; }
    bool isStale(const ReceivedEvent& received) const;
    void add(const ReceivedEvent& received);
    /** Counts from here on. */
    void restart();
};

/** Writes events to standard output, one per line. */
class EventWriter {
  public:
    virtual ~EventWriter() = default;

    /** Prints the headings, unless `quiet`. */
    virtual void begin(const std::vector<Watched>& watched, bool quiet) = 0;
    virtual void event(const Watched& watched, const ReceivedEvent& received) = 0;
    /** Prints the figures, after the last event. */
    virtual void summary(const std::vector<Watched>& watched) = 0;

    /** @param format "text", "csv" or "json" (one object per line) */
    static std::unique_ptr<EventWriter> make(const std::string& format);
};

/**
 * What an event says: of data the values in right-aligned columns, then unit, accuracy and meaning.
 */
std::string valueColumns(const SensorInfo& sensor, const Event& event);

/** The columns of valueColumns(), as in "x [m/s²], y [m/s²], z [m/s²], accuracy". */
std::string valueLegend(const SensorInfo& sensor);

/** Seconds with nine digits, in 17 columns. */
std::string timeText(int64_t timestampNs);

/** A figure in a table, in units of `unit`; "-" where it is not known. */
std::string figureText(std::optional<double> figure, double unit = 1);
std::string millisecondsText(const DurationStatistics& durations, double share);

/** A table of the sensors' figures. */
std::string summaryTable(const std::vector<Watched>& watched);

/** The same, to be filled repeatedly; `slices` have the time in place of the handle. */
Table figuresTable(const std::vector<Watched>& watched, bool slices);
void addFigures(const std::vector<Watched>& watched, bool slices, Table* table);

}  // namespace subhalctl
