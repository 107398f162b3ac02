#pragma once

#include <cstdint>

namespace subhalctl {

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
    double mSquares = 0;  // sum of squared deviations from the mean, kept up per interval
    int64_t mShortestNs = 0;
    int64_t mLongestNs = 0;
    int64_t mLost = 0;
    int64_t mBackward = 0;
};

}  // namespace subhalctl
