#pragma once

#include <string>
#include <vector>

#include "tools/subhalctl/showing/EventWriter.h"

namespace subhalctl {

constexpr char kRequirementHelp[] =
    "Exit status 1 unless each sensor's figures meet these, as in 'lost=0,latency.p99<20ms': "
    "events, lost, backward, stale, wakelocks, rate (Hz), and latency.p50, latency.p99, "
    "latency.max, interval.min, interval.max, jitter (ns, us, ms or s)";

/** What is wrong with the text; empty for a requirement. */
std::string requirementFault(const std::string& text);

/** The parts of the requirement that the sensors' figures do not meet, in words. */
std::vector<std::string> brokenRequirements(const std::string& text,
                                            const std::vector<Watched>& watched);

}  // namespace subhalctl
