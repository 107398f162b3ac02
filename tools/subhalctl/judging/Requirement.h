#pragma once

#include <string>
#include <vector>

#include "tools/subhalctl/showing/EventWriter.h"

namespace subhalctl {

constexpr char kRequirementHelp[] =
    "Exit code 1 unless each sensor's figures fulfil these, as in 'lost=0,latency.p99<20ms': "
    "events, lost, backward, stale, wakelocks, rate (Hz), and latency.p50, latency.p99, "
    "latency.max, interval.min, interval.max, jitter (ns, us, ms or s)";

/** What is wrong with the text, empty when it can be judged by. */
std::string requirementFault(const std::string& text);

/** The parts of the requirement that the figures do not fulfil, in words. */
std::vector<std::string> brokenRequirements(const std::string& text, const Watched& watched);

}  // namespace subhalctl
