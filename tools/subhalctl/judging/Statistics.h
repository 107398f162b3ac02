#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace subhalctl {

/** `later` less `earlier`, clamped to the range of the type. */
int64_t elapsedNs(int64_t earlier, int64_t later);

inline double milliseconds(int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

/** Rate and gaps of one sensor's events, by their time stamps. */
class IntervalStatistics {
  public:
    /** @param expectedPeriodNs period to find lost events by, 0 for a sensor without one */
    explicit IntervalStatistics(int64_t expectedPeriodNs = 0) : mExpectedNs(expectedPeriodNs) {}

    void add(int64_t timestampNs);
    /** Keeps the last time stamp, so that the next interval counts. */
    void restart();

    int64_t events() const { return mEvents; }
    int64_t intervals() const { return mIntervals; }
    /** Events per second by their timestamps, 0 with less than two events in order. */
    double rateHz() const;
    /** Standard deviation of the intervals. */
    double jitterNs() const;
    /** Shortest and longest interval, 0 without any. */
    int64_t shortestNs() const { return mShortestNs; }
    int64_t longestNs() const { return mLongestNs; }
    /** Events missing in intervals of more than one and a half periods. */
    int64_t lost() const { return mLost; }
    /** Timestamps not later than the one before. */
    int64_t backward() const { return mBackward; }

  private:
    int64_t mExpectedNs;
    int64_t mEvents = 0;
    std::optional<int64_t> mLastNs{};
    int64_t mIntervals = 0;
    double mMeanNs = 0;
    double mSquares = 0;  // sum of squared deviations from the mean
    int64_t mShortestNs = 0;
    int64_t mLongestNs = 0;
    int64_t mLost = 0;
    int64_t mBackward = 0;
};

/** How far time stamps lie apart, whatever was lost between them. */
struct Spacing {
    explicit Spacing(const std::vector<int64_t>& stamps);

    double rateHz = 0;
    int64_t typicalNs = 0;  ///< the median
    int64_t lost = 0;       ///< by gaps of more than one and a half of it
};

/**
 * Quantiles of durations: exact for the first million, and true to 0.1 % once there are more, so
 * that a run of days costs no more memory.
 */
class DurationStatistics {
  public:
    /** A negative duration counts as none at all. */
    void add(int64_t durationNs);

    bool exact() const { return mCounts.empty(); }
    int64_t count() const { return mCount; }
    /** @param share 0.5 for the median; 0 without durations */
    int64_t quantileNs(double share) const;
    int64_t longestNs() const { return mLongestNs; }

  private:
    static constexpr size_t kMostExact = 1'000'000;

    mutable std::vector<int64_t> mDurations;  // in any order; none once they are counted
    std::map<int64_t, int64_t> mCounts;       // by rounded duration
    int64_t mCount = 0;
    int64_t mLongestNs = 0;
};

}  // namespace subhalctl
