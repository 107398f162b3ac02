#pragma once

#include <string>

namespace subhalctl {

/** kKnown: the rule is broken in the one way in which this library is known to break it. */
enum class Verdict { kPass, kFail, kSkip, kKnown };

/** What became of one rule. */
struct RuleResult {
    Verdict verdict;
    std::string sensor;  ///< "library" for what is no sensor's
    std::string rule;
    std::string figures;
};

/** Prints results as they come, and counts them. */
class CheckReport {
  public:
    /** @param format "text", "json" (an object per line) or "tap" */
    CheckReport(const std::string& format, bool onlyFailures)
        : mFormat(format), mOnlyFailures(onlyFailures) {}

    void begin() const;
    void add(const RuleResult& result);
    void end(bool interrupted) const;

    int failures() const { return count(Verdict::kFail); }

  private:
    int count(Verdict verdict) const { return mCounts[static_cast<size_t>(verdict)]; }

    std::string mFormat;
    bool mOnlyFailures;
    int mCounts[4] = {};  // by verdict
};

/** Where a sensor's results go. */
struct Results {
    CheckReport* report;
    std::string sensor;

    void add(Verdict verdict, const char* rule, const std::string& figures) const {
        report->add({verdict, sensor, rule, figures});
    }
    void judge(bool passed, const char* rule, const std::string& figures) const {
        add(passed ? Verdict::kPass : Verdict::kFail, rule, figures);
    }
    void skip(const char* rule, const std::string& why) const { add(Verdict::kSkip, rule, why); }
};

}  // namespace subhalctl
