#include "tools/subhalctl/judging/Requirement.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <regex>

#include "tools/subhalctl/proxy/SensorLookup.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

enum Trait : unsigned { kTime = 1, kNeedsRate = 2 };

using Known = std::optional<double>;

/** A figure; times are in nanoseconds. */
struct Figure {
    const char* name;
    unsigned traits;
    Known (*of)(const Watched& watched);

    bool has(Trait trait) const { return (traits & trait) != 0; }
};

constexpr Figure kFigures[] = {
    {"events", 0, [](auto& one) -> Known { return one.events; }},
    {"lost", kNeedsRate, [](auto& one) -> Known { return one.lost(); }},
    {"backward", 0, [](auto& one) -> Known { return one.intervals.backward(); }},
    {"stale", 0, [](auto& one) -> Known { return one.stale; }},
    {"wakelocks", 0, [](auto& one) -> Known { return one.wakelocks; }},
    {"rate", kNeedsRate, [](auto& one) -> Known { return one.intervals.rateHz(); }},
    {"jitter", kTime | kNeedsRate, [](auto& one) -> Known { return one.intervals.jitterNs(); }},
    {"latency.p50", kTime, [](auto& one) -> Known { return one.latency.quantileNs(0.5); }},
    {"latency.p99", kTime, [](auto& one) -> Known { return one.latency.quantileNs(0.99); }},
    {"latency.max", kTime, [](auto& one) -> Known { return one.latency.quantileNs(1); }},
    {"interval.min", kTime | kNeedsRate,
     [](auto& one) -> Known { return one.intervals.shortestNs(); }},
    {"interval.max", kTime | kNeedsRate,
     [](auto& one) -> Known { return one.intervals.longestNs(); }},
};

/** As messages show it, and as it is compared: a count with all digits, all else with six. */
std::string textOf(const Figure& figure, double value) {
    if (figure.has(kTime)) return formatted("%.6g ms", value / 1e6);
    return formatted(std::strcmp(figure.name, "rate") == 0 ? "%.6g" : "%.17g", value);
}

struct Part {
    const Figure* figure;
    std::function<bool(double, double)> compare;
    double bound;
    std::string text;
};

/** Nothing, and the reason, when the part makes no sense. */
std::optional<Part> parsePart(const std::string& text, std::string* why) {
    static const std::map<std::string, decltype(Part::compare)> comparisons = {
        {"=", std::equal_to<>()},    {"==", std::equal_to<>()}, {"<", std::less<>()},
        {"<=", std::less_equal<>()}, {">", std::greater<>()},   {">=", std::greater_equal<>()}};
    static const std::map<std::string, double> units = {
        {"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
    static const std::regex form(
        R"( *([^ <>=]*) *(==?|[<>]=?) *([0-9]*[.]?[0-9]+(?:[eE][+-]?[0-9]{1,2})?) *([a-zA-Z]*) *)");
    std::smatch found;
    if (!std::regex_match(text, found, form)) {
        *why = quoted(text) + " is no requirement such as lost=0 or latency.p99<20ms";
        return {};
    }
    const auto* figure = std::find_if(std::begin(kFigures), std::end(kFigures),
                                      [&](const Figure& one) { return found[1] == one.name; });
    if (figure == std::end(kFigures)) {
        *why = "there is no figure " + quoted(found[1]);
        return {};
    }
    const auto unit = units.find(found[4]);
    const bool fits = figure->has(kTime) ? unit != units.end() : found[4] == "" || found[4] == "Hz";
    if (!fits) {
        *why = quoted(found[3].str() + found[4].str()) +
               (figure->has(kTime) ? " is no time such as 20ms" : " is no number");
        return {};
    }
    const double bound = std::strtod(found[3].str().c_str(), nullptr);
    return Part{figure, comparisons.at(found[2]), figure->has(kTime) ? bound * unit->second : bound,
                text};
}

std::vector<Part> parse(const std::string& text, std::string* why) {
    std::vector<Part> parts;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const auto part = parsePart(text.substr(begin, end - begin), why);
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
            const auto value = part.figure->of(one);
            // A sensor without a rate cannot miss one, and may not have reported.
            if (!one.grantedHz && (!value || part.figure->has(kNeedsRate))) continue;
            applies = true;
            const std::string shown = value ? textOf(*part.figure, *value) : "";
            const bool same = shown == textOf(*part.figure, part.bound);
            if (value && part.compare(same ? part.bound : *value, part.bound)) continue;
            const std::string is =
                value ? std::string(part.figure->name) + " is " + shown : "nothing was measured";
            broken.push_back(typeName(*one.sensor) + ": " + is + ", required is " + part.text);
        }
        if (!applies) broken.push_back(part.text + ": no sensor of this run has it");
    }
    return broken;
}

}  // namespace subhalctl
