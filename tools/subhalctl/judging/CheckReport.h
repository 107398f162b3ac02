#pragma once

#include <string>

namespace subhalctl {

/** kKnown: the rule is broken in the one way in which this library is known to break it. */
enum class Verdict { kPass, kFail, kSkip, kKnown };

/** Prints results as they come, and counts them. */
class CheckReport {
  public:
    /** @param format "text", "json" (an object per line) or "tap" */
    CheckReport(const std::string& format, bool onlyFailures)
        : mFormat(format), mOnlyFailures(onlyFailures) {}

    void begin() const;
    /** @param sensor "library" for a rule of no sensor */
    void add(Verdict verdict, const std::string& sensor, const char* rule,
             const std::string& figures);
    void end(bool interrupted) const;

    int failures() const { return mCounts[static_cast<size_t>(Verdict::kFail)]; }

  private:
    std::string mFormat;
    bool mOnlyFailures;
    int mCounts[4] = {};  // by verdict
};

/** Where a sensor's results go. */
struct Results {
    CheckReport* report;
    std::string sensor;

    void judge(bool passed, const char* rule, const std::string& figures,
               Verdict otherwise = Verdict::kFail) const {
        report->add(passed ? Verdict::kPass : otherwise, sensor, rule, figures);
    }
    /** Passes with these figures when there is no fault. */
    void expect(const char* rule, const std::string& fault, const std::string& figures) const {
        judge(fault.empty(), rule, fault.empty() ? figures : fault);
    }
    void skip(const char* rule, const std::string& why) const {
        judge(false, rule, why, Verdict::kSkip);
    }
};

}  // namespace subhalctl
