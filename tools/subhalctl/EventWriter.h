#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/subhalctl/EventQueue.h"
#include "tools/subhalctl/Statistics.h"

namespace subhalctl {

/** One watched sensor. */
struct Watched {
    const SensorInfo* sensor;
    double askedHz;  ///< 0: none, the sensor reports when it has something to say
    IntervalStatistics statistics;
    int64_t flushes = 0;
    int64_t wakelocks = 0;
};

enum class EventKind { kData, kFlushComplete, kAdditionalInfo };

EventKind kindOf(const Event& event);

/** Writes events to stdout, one per line. */
class EventWriter {
  public:
    virtual ~EventWriter() = default;

    /** What goes before the first event. */
    virtual void begin(const std::vector<Watched>& watched) = 0;
    virtual void event(const SensorInfo& sensor, const ReceivedEvent& received) = 0;
    /** What goes behind the last one. */
    virtual void summary(const std::vector<Watched>& watched) = 0;

    /** @param format "text", "csv" or "json" (one object per line) */
    static std::unique_ptr<EventWriter> make(const std::string& format);
};

/** The values of a data event in right-aligned columns, then unit, accuracy and meaning. */
std::string valueColumns(const SensorInfo& sensor, const Event& event);

}  // namespace subhalctl
