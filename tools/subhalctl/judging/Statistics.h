#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace subhalctl {

/** `later` less `earlier`; what no number can hold is the nearest that one can. */
int64_t elapsedNs(int64_t earlier, int64_t later);

/** What the timestamps of one sensor's events tell about its rate. */
class IntervalStatistics {
  public:
    /** @param expectedPeriodNs period to find lost events by, 0 for a sensor without one */
    explicit IntervalStatistics(int64_t expectedPeriodNs = 0) : mExpectedNs(expectedPeriodNs) {}

    void add(int64_t timestampNs);

    int64_t events() const { return mEvents; }
    /** Events per second by their timestamps, 0 with less than two events in order. */
    double rateHz() const;
    /** Standard deviation of the intervals. */
    double jitterNs() const;
    /** Shortest and longest interval, 0 without any. */
    int64_t shortestNs() const { return mShortestNs; }
    int64_t longestNs() const { return mLongestNs; }
    /** Events that should have come in intervals of more than one and a half periods. */
    int64_t lost() const { return mLost; }
    /** Timestamps that did not lie behind the one before. */
    int64_t backward() const { return mBackward; }

  private:
    void addInterval(int64_t intervalNs);

    int64_t mExpectedNs;
    int64_t mEvents = 0;
    int64_t mLastNs = 0;
    int64_t mIntervals = 0;
    double mMeanNs = 0;
    double mSquares = 0;  // sum of squared deviations from the mean
    int64_t mShortestNs = 0;
    int64_t mLongestNs = 0;
    int64_t mLost = 0;
    int64_t mBackward = 0;
};

/** Quantiles of durations, each true to about 3 %, in memory that does not grow. */
class DurationStatistics {
  public:
    /** A negative duration counts as none at all. */
    void add(int64_t durationNs);

    int64_t count() const { return mCount; }
    /** @param share 0.5 for the median; 0 without durations */
    int64_t quantileNs(double share) const;
    int64_t longestNs() const { return mLongestNs; }

  private:
    static constexpr int kStepBits = 4;  // so many steps, as a power of two, between powers of two
    static constexpr size_t kSteps = size_t{1} << kStepBits;

    static size_t stepOf(int64_t durationNs);
    static int64_t middleOf(size_t step);

    std::array<int64_t, (64 - kStepBits) * kSteps> mCounts{};
    int64_t mCount = 0;
    int64_t mLongestNs = 0;
};

}  // namespace subhalctl
