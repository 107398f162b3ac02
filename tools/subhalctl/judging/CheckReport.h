#pragma once

#include <memory>
#include <string>

namespace subhalctl {

enum class Verdict { kPass, kFail, kSkip };

/** What became of one rule. */
struct RuleResult {
    Verdict verdict;
    std::string sensor;  ///< "library" for what is no sensor's
    std::string rule;
    std::string figures;
    bool onPurpose = false;  ///< skipped, because the library departs from the rule deliberately
};

/** Prints results as they come, and counts them. */
class CheckReport {
  public:
    /** @param format "text", "json" (an object per line) or "tap" */
    CheckReport(const std::string& format, bool onlyFailures)
        : mFormat(format), mOnlyFailures(onlyFailures) {}

    void begin() const;
    void add(const RuleResult& result);
    void end() const;

    int failures() const { return mFailed; }

  private:
    std::string mFormat;
    bool mOnlyFailures;
    int mPassed = 0;
    int mFailed = 0;
    int mSkipped = 0;
    int mOnPurpose = 0;  // of the skipped ones
};

}  // namespace subhalctl
