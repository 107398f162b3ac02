#include "tools/subhalctl/judging/CheckReport.h"

#include "tools/subhalctl/showing/Json.h"
#include "tools/subhalctl/showing/Output.h"

namespace subhalctl {
namespace {

const char* nameOf(Verdict verdict) {
    if (verdict == Verdict::kPass) return "PASS";
    return verdict == Verdict::kFail ? "FAIL" : "SKIP";
}

}  // namespace

void CheckReport::begin() const {
    if (mFormat == "tap") print("TAP version 13\n");
}

void CheckReport::add(const RuleResult& result) {
    ++(result.verdict == Verdict::kPass ? mPassed
                                        : (result.verdict == Verdict::kFail ? mFailed : mSkipped));
    if (result.onPurpose) ++mOnPurpose;
    const std::string figures = (result.onPurpose ? "on purpose: " : "") + result.figures;
    if (mFormat == "json") {
        const Json line = {{"verdict", nameOf(result.verdict)},
                           {"sensor", result.sensor},
                           {"rule", result.rule},
                           {"figures", result.figures},
                           {"on_purpose", result.onPurpose}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        print("%s %d - %s %s%s%s\n", result.verdict == Verdict::kFail ? "not ok" : "ok",
              mPassed + mFailed + mSkipped, result.sensor.c_str(), result.rule.c_str(),
              result.verdict == Verdict::kSkip ? " # SKIP " : ": ", figures.c_str());
    } else if (!mOnlyFailures || result.verdict == Verdict::kFail) {
        print("%s  %-30s %-18s %s\n", nameOf(result.verdict), result.sensor.c_str(),
              result.rule.c_str(), figures.c_str());
    }
}

void CheckReport::end() const {
    const int all = mPassed + mFailed + mSkipped;
    if (mFormat == "json") {
        const Json line = {{"verdict", "summary"},
                           {"passed", mPassed},
                           {"failed", mFailed},
                           {"skipped", mSkipped},
                           {"on_purpose", mOnPurpose}};
        printText(jsonText(line) + "\n");
    } else if (mFormat == "tap") {
        print("1..%d\n", all);
    } else {
        print("%s: %d passed, %d failed, %d skipped, of them %d kept otherwise on purpose\n",
              counted(all, "rule").c_str(), mPassed, mFailed, mSkipped, mOnPurpose);
    }
}

}  // namespace subhalctl
