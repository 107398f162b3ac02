#include "tools/subhalctl/judging/CheckReport.h"

#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

const char* nameOf(Verdict verdict) {
    constexpr const char* kNames[] = {"PASS", "FAIL", "SKIP", "KNOWN"};
    return kNames[static_cast<size_t>(verdict)];
}

/** What TAP has behind a test's name. */
const char* directiveOf(Verdict verdict) {
    if (verdict == Verdict::kSkip) return " # SKIP ";
    return verdict == Verdict::kKnown ? " # TODO known deviation: " : ": ";
}

}  // namespace

void CheckReport::begin() const {
    if (mFormat == "tap") print("TAP version 13\n");
}

void CheckReport::add(const RuleResult& result) {
    const Verdict verdict = result.verdict;
    ++mCounts[static_cast<size_t>(verdict)];
    if (mFormat == "json") {
        const Json line = {{"verdict", nameOf(verdict)},
                           {"sensor", result.sensor},
                           {"rule", result.rule},
                           {"figures", result.figures}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        const bool ok = verdict == Verdict::kPass || verdict == Verdict::kSkip;
        print("%s %d - %s %s%s%s\n", ok ? "ok" : "not ok",
              mCounts[0] + mCounts[1] + mCounts[2] + mCounts[3], result.sensor.c_str(),
              result.rule.c_str(), directiveOf(verdict), result.figures.c_str());
    } else if (!mOnlyFailures || verdict == Verdict::kFail) {
        printVerdict(nameOf(verdict));
        print(" %-30s %-18s %s\n", result.sensor.c_str(), result.rule.c_str(),
              result.figures.c_str());
    }
}

void CheckReport::end(bool interrupted) const {
    const int passed = count(Verdict::kPass), failed = count(Verdict::kFail);
    const int skipped = count(Verdict::kSkip), known = count(Verdict::kKnown);
    const int all = passed + failed + skipped + known;
    if (mFormat == "json") {
        const Json line = {{"verdict", "summary"},      {"passed", passed},
                           {"failed", failed},          {"skipped", skipped},
                           {"known_deviations", known}, {"interrupted", interrupted}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        if (interrupted)
            print("Bail out! interrupted\n");
        else
            print("1..%d\n", all);
    } else {
        print("%s%s: %d passed, %d failed, %d skipped, %s\n",
              interrupted ? "interrupted after " : "", counted(all, "rule").c_str(), passed, failed,
              skipped, counted(known, "known deviation").c_str());
    }
}

}  // namespace subhalctl
