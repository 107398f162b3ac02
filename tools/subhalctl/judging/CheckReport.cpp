#include "tools/subhalctl/judging/CheckReport.h"

#include <numeric>

#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

constexpr const char* kNames[] = {"PASS", "FAIL", "SKIP", "KNOWN"};  // by verdict

/** What follows a test's name in TAP. */
const char* directiveOf(Verdict verdict) {
    if (verdict == Verdict::kSkip) return " # SKIP ";
    return verdict == Verdict::kKnown ? " # TODO known deviation: " : ": ";
}

}  // namespace

void CheckReport::begin() const {
    if (mFormat == "tap") print("TAP version 13\n");
}

void CheckReport::add(Verdict verdict, const std::string& sensor, const char* rule,
                      const std::string& figures) {
    const char* name = kNames[static_cast<size_t>(verdict)];
    ++mCounts[static_cast<size_t>(verdict)];
    if (mFormat == "json") {
        const Json line = {
            {"verdict", name}, {"sensor", sensor}, {"rule", rule}, {"figures", figures}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        const bool ok = verdict == Verdict::kPass || verdict == Verdict::kSkip;
        print("%s %d - %s %s%s%s\n", ok ? "ok" : "not ok",
              std::accumulate(std::begin(mCounts), std::end(mCounts), 0), sensor.c_str(), rule,
              directiveOf(verdict), figures.c_str());
    } else if (!mOnlyFailures || verdict == Verdict::kFail) {
        printVerdict(name);
        print(" %-30s %-18s %s\n", sensor.c_str(), rule, figures.c_str());
    }
}

void CheckReport::end(bool interrupted) const {
    const auto [passed, failed, skipped, known] = mCounts;
    const int all = passed + failed + skipped + known;
    if (mFormat == "json") {
        const Json line = {{"verdict", "summary"},      {"passed", passed},
                           {"failed", failed},          {"skipped", skipped},
                           {"known_deviations", known}, {"interrupted", interrupted}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        printText(interrupted ? "Bail out! interrupted\n" : formatted("1..%d\n", all));
    } else {
        print("%s%s: %d passed, %d failed, %d skipped, %s\n",
              interrupted ? "interrupted after " : "", counted(all, "rule").c_str(), passed, failed,
              skipped, counted(known, "known deviation").c_str());
    }
}

}  // namespace subhalctl
