#include "tools/subhalctl/judging/Requirement.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <optional>

#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

/** A figure; durations are in nanoseconds. */
struct Figure {
    const char* name;
    bool isDuration;
    double (*of)(const Watched& watched);
};

double asDouble(int64_t value) {
    return static_cast<double>(value);
}

constexpr char kRate[] = "rate";
constexpr Figure kFigures[] = {
    {"events", false, [](const Watched& one) { return asDouble(one.events); }},
    {"lost", false, [](const Watched& one) { return asDouble(one.intervals.lost()); }},
    {"backward", false, [](const Watched& one) { return asDouble(one.intervals.backward()); }},
    {"stale", false, [](const Watched& one) { return asDouble(one.stale); }},
    {"wakelocks", false, [](const Watched& one) { return asDouble(one.wakelocks); }},
    {kRate, false, [](const Watched& one) { return one.intervals.rateHz(); }},
    {"jitter", true, [](const Watched& one) { return one.intervals.jitterNs(); }},
    {"latency.p50", true, [](const Watched& one) { return asDouble(one.latency.quantileNs(0.5)); }},
    {"latency.p99", true,
     [](const Watched& one) { return asDouble(one.latency.quantileNs(0.99)); }},
    {"latency.max", true, [](const Watched& one) { return asDouble(one.latency.longestNs()); }},
    {"interval.min", true, [](const Watched& one) { return asDouble(one.intervals.shortestNs()); }},
    {"interval.max", true, [](const Watched& one) { return asDouble(one.intervals.longestNs()); }},
};

bool isMeasured(const Figure& figure, const Watched& one) {
    if (std::strncmp(figure.name, "latency", 7) == 0) return one.latency.count() > 0;
    return one.intervals.intervals() > 0 || !(figure.isDuration || figure.name == kRate);
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

std::vector<std::string> brokenRequirements(const std::string& text, const Watched& watched) {
    std::vector<std::string> broken;
    if (text.empty()) return broken;
    std::string why;
    for (const Part& part : parse(text, &why)) {
        const bool measured = isMeasured(*part.figure, watched);
        // A sensor without a rate cannot miss one, and may have reported only once.
        if (watched.grantedHz <= 0 && (!measured || part.figure->name == kRate)) continue;
        const double value = part.figure->of(watched);
        if (measured && part.compare(value, part.bound)) continue;
        const char* name = part.figure->name;
        const std::string is = !measured ? "nothing was measured"
                               : part.figure->isDuration
                                   ? formatted("%s is %.3f ms", name, value / 1e6)
                                   : formatted("%s is %g", name, value);
        broken.push_back(is + ", required is " + part.text);
    }
    return broken;
}

}  // namespace subhalctl
