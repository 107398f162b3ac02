#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace subhalctl {

/** `later` less `earlier`, clamped to the range of the type. */
int64_t elapsedNs(int64_t earlier, int64_t later);

inline double milliseconds(int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

inline double hertzOf(int64_t periodNs) {
    return 1e9 / static_cast<double>(periodNs);
}

/** A figure that is only known sometimes. */
template <typename Number>
std::optional<Number> when(bool known, Number value) {
    return known ? std::optional(value) : std::nullopt;
}

/** Position, in order of size, of the least value that `share` of `count` values do not exceed. */
size_t quantileIndex(double share, size_t count);

/** Events missing in an interval of more than one and a half periods; 0 without a period. */
int64_t lostWithin(int64_t intervalNs, int64_t periodNs);

/** How long a sensor that works may have been silent when it is switched off. */
int64_t toleratedSilenceNs(int64_t periodNs, int64_t latencyNs);

/**
 * Rate and gaps of one sensor's events, by their time stamps in order of time, so that one that
 * comes out of order leaves no gap behind.
 */
class IntervalStatistics {
  public:
    /** @param expectedPeriodNs period to find lost events by, 0 for a sensor without one */
    explicit IntervalStatistics(int64_t expectedPeriodNs = 0) : mExpectedNs(expectedPeriodNs) {}

    void add(int64_t timestampNs);
    /** The sensor is switched off: too long a silence before it counts as lost events. */
    void end(int64_t timeNs, int64_t latencyNs);
    /** Keeps the time stamps: an interval counts after the restart if it ends there. */
    void restart();

    int64_t events() const { return mEvents; }
    int64_t intervals() const { return all().count; }
    // Nothing without an interval.
    /** Events per second by their timestamps. */
    std::optional<double> rateHz() const { return when(intervals() > 0, 1e9 / all().meanNs); }
    /** Standard deviation of the intervals. */
    std::optional<double> jitterNs() const;
    std::optional<int64_t> shortestNs() const { return when(intervals() > 0, all().shortestNs); }
    std::optional<int64_t> longestNs() const { return when(intervals() > 0, all().longestNs); }
    /** Events missing between the others and, after end(), behind them. */
    int64_t lost() const;
    /** Events missing behind the last one; 0 before end(). */
    int64_t lostAtEnd() const;
    /** Timestamps not later than that of the event that came before. */
    int64_t backward() const { return mBackward; }

  private:
    static constexpr size_t kUnsettled = 4096;  // a later event may come between these

    struct Intervals {
        int64_t count = 0;
        double meanNs = 0;
        double squares = 0;  // sum of squared deviations from the mean
        int64_t shortestNs = 0;
        int64_t longestNs = 0;
        int64_t lost = 0;

        void add(int64_t intervalNs, int64_t periodNs);
    };
    struct Stamp {
        int64_t ns;
        bool isNew;  // since the restart
    };

    Intervals all() const;

    int64_t mExpectedNs;
    int64_t mEvents = 0;
    int64_t mBackward = 0;
    std::optional<int64_t> mLastNs{};  // by arrival
    std::deque<Stamp> mStamps{};       // the latest ones, in order of time
    Intervals mSettled{};              // before those
    std::optional<int64_t> mEndNs{};
    int64_t mLatencyNs = 0;
};

/** How far time stamps lie apart in order of time. */
struct Spacing {
    /** @param grantedNs 0 where no period is known */
    explicit Spacing(std::vector<int64_t> stamps, int64_t grantedNs = 0);

    double rateHz = 0;
    int64_t typicalNs = 0;  ///< the median
    int64_t periodNs = 0;   ///< the granted one, or the median if that is 10 % longer
    int64_t lost = 0;       ///< by gaps of more than one and a half of it
};

/**
 * Quantiles of durations, also of negative ones: exact for the first million, and true to 0.1 %
 * once there are more, so that a run of days costs no more memory.
 */
class DurationStatistics {
  public:
    void add(int64_t durationNs);

    bool exact() const { return mCounts.empty(); }
    /** @param share 0.5 for the median, 1 for the longest; nothing without durations */
    std::optional<int64_t> quantileNs(double share) const;

  private:
    static constexpr size_t kMostExact = 1'000'000;

    mutable std::vector<int64_t> mDurations;  // in any order; none once they are counted
    std::map<int64_t, size_t> mCounts;        // by rounded duration
    size_t mCount = 0;
    int64_t mLongestNs = INT64_MIN;
};

}  // namespace subhalctl
