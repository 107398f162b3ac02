#include "tools/subhalctl/judging/Requirement.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <optional>

#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

/** A figure; durations are in nanoseconds. */
struct Figure {
    const char* name;
    bool isDuration;
    bool needsRate;
    double (*of)(const Watched& watched);
};

double asDouble(int64_t value) {
    return static_cast<double>(value);
}

constexpr Figure kFigures[] = {
    {"events", false, false, [](const Watched& one) { return asDouble(one.events); }},
    {"lost", false, true, [](const Watched& one) { return asDouble(one.intervals.lost()); }},
    {"backward", false, false,
     [](const Watched& one) { return asDouble(one.intervals.backward()); }},
    {"stale", false, false, [](const Watched& one) { return asDouble(one.stale); }},
    {"wakelocks", false, false, [](const Watched& one) { return asDouble(one.wakelocks); }},
    {"rate", false, true, [](const Watched& one) { return one.intervals.rateHz(); }},
    {"jitter", true, true, [](const Watched& one) { return one.intervals.jitterNs(); }},
    {"latency.p50", true, false,
     [](const Watched& one) { return asDouble(one.latency.quantileNs(0.5)); }},
    {"latency.p99", true, false,
     [](const Watched& one) { return asDouble(one.latency.quantileNs(0.99)); }},
    {"latency.max", true, false,
     [](const Watched& one) { return asDouble(one.latency.longestNs()); }},
    {"interval.min", true, true,
     [](const Watched& one) { return asDouble(one.intervals.shortestNs()); }},
    {"interval.max", true, true,
     [](const Watched& one) { return asDouble(one.intervals.longestNs()); }},
};

bool isMeasured(const Figure& figure, const Watched& one) {
    if (std::strncmp(figure.name, "latency", 7) == 0) return one.latency.count() > 0;
    return !figure.needsRate || one.intervals.intervals() > 0;
}

/** As messages show it. Counts are whole; all else is compared with these six digits. */
std::string textOf(const Figure& figure, double value) {
    const bool isCount = !figure.isDuration && std::strcmp(figure.name, "rate") != 0;
    if (isCount) return formatted("%.0f", value);
    return formatted("%.6g", figure.isDuration ? value / 1e6 : value) +
           (figure.isDuration ? " ms" : "");
}

using Comparison = std::function<bool(double, double)>;

const std::map<std::string, Comparison>& comparisons() {
    static const std::map<std::string, Comparison> all = {
        {"=", std::equal_to<>()},    {"==", std::equal_to<>()}, {"<", std::less<>()},
        {"<=", std::less_equal<>()}, {">", std::greater<>()},   {">=", std::greater_equal<>()}};
    return all;
}

struct Part {
    const Figure* figure;
    Comparison compare;
    double bound;
    std::string text;
};

std::string trimmed(const std::string& text) {
    const size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::optional<double> unitOf(const std::string& text, bool isDuration) {
    if (!isDuration) return text.empty() || text == "Hz" ? std::optional<double>(1) : std::nullopt;
    if (text == "ns") return 1;
    if (text == "us") return 1e3;
    if (text == "ms") return 1e6;
    return text == "s" ? std::optional<double>(1e9) : std::nullopt;
}

/** Nothing, and the reason, when the part makes no sense. */
std::optional<Part> parsePart(const std::string& text, std::string* why) {
    const size_t at = std::min(text.find_first_of("<>="), text.size());
    const size_t after = std::min(text.find_first_not_of("<>=", at), text.size());
    const std::string name = trimmed(text.substr(0, at));
    const auto* figure = std::find_if(std::begin(kFigures), std::end(kFigures),
                                      [&](const Figure& one) { return name == one.name; });
    if (figure == std::end(kFigures)) {
        *why = "there is no figure " + quoted(name);
        return {};
    }
    const auto found = comparisons().find(text.substr(at, after - at));
    if (found == comparisons().end()) {
        *why = "expected one of = < <= > >= after " + name;
        return {};
    }
    const std::string number = trimmed(text.substr(after));
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    const auto unit = unitOf(trimmed(end), figure->isDuration);
    if (end == number.c_str() || !unit || !(value >= 0 && value <= 1e18)) {
        *why = quoted(number) + (figure->isDuration ? " is no time such as 20ms" : " is no number");
        return {};
    }
    return Part{figure, found->second, value * *unit, text};
}

std::vector<Part> parse(const std::string& text, std::string* why) {
    std::vector<Part> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const auto part = parsePart(trimmed(text.substr(begin, end - begin)), why);
        if (!part) return {};
        parts.push_back(*part);
        begin = end + 1;
    }
    return parts;
}

}  // namespace

std::string requirementFault(const std::string& text) {
    std::string why;
    parse(text, &why);
    return why;
}

std::vector<std::string> brokenRequirements(const std::string& text,
                                            const std::vector<Watched>& watched) {
    std::vector<std::string> broken;
    std::string why;
    const auto parts = text.empty() ? std::vector<Part>() : parse(text, &why);
    for (const Part& part : parts) {
        bool applies = false;
        for (const Watched& one : watched) {
            const bool measured = isMeasured(*part.figure, one);
            // A sensor without a rate cannot miss one, and may not have reported.
            if (one.grantedHz <= 0 && (!measured || part.figure->needsRate)) continue;
            applies = true;
            const double value = part.figure->of(one);
            const std::string shown = textOf(*part.figure, value);
            const bool same = shown == textOf(*part.figure, part.bound);
            if (measured && part.compare(same ? part.bound : value, part.bound)) continue;
            const std::string is =
                measured ? std::string(part.figure->name) + " is " + shown : "nothing was measured";
            broken.push_back(typeName(*one.sensor) + ": " + is + ", required is " + part.text);
        }
        if (!applies) broken.push_back(part.text + ": no sensor of this run has it");
    }
    return broken;
}

}  // namespace subhalctl
