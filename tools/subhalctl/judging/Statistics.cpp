#include "tools/subhalctl/judging/Statistics.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace subhalctl {

int64_t elapsedNs(int64_t earlier, int64_t later) {
    int64_t elapsed = 0;
    if (!__builtin_sub_overflow(later, earlier, &elapsed)) return elapsed;
    return later < earlier ? INT64_MIN : INT64_MAX;
}

void IntervalStatistics::add(int64_t timestampNs) {
    ++mEvents;
    const auto lastNs = std::exchange(mLastNs, timestampNs);
    const int64_t intervalNs = lastNs ? elapsedNs(*lastNs, timestampNs) : 0;
    if (lastNs && intervalNs <= 0) ++mBackward;
    if (intervalNs <= 0) return;
    mShortestNs = mIntervals == 0 ? intervalNs : std::min(mShortestNs, intervalNs);
    mLongestNs = std::max(mLongestNs, intervalNs);
    ++mIntervals;
    const double deviation = static_cast<double>(intervalNs) - mMeanNs;
    mMeanNs += deviation / static_cast<double>(mIntervals);
    mSquares += deviation * (static_cast<double>(intervalNs) - mMeanNs);
    if (mExpectedNs > 0 && intervalNs > mExpectedNs + mExpectedNs / 2) {
        const int64_t beyond = intervalNs % mExpectedNs;
        const int64_t lost =
            intervalNs / mExpectedNs + (beyond + mExpectedNs / 2) / mExpectedNs - 1;
        if (__builtin_add_overflow(mLost, lost, &mLost)) mLost = INT64_MAX;
    }
}

void IntervalStatistics::restart() {
    const auto lastNs = mLastNs;
    *this = IntervalStatistics(mExpectedNs);
    mLastNs = lastNs;
}

double IntervalStatistics::rateHz() const {
    return mIntervals == 0 ? 0 : 1e9 / mMeanNs;
}

double IntervalStatistics::jitterNs() const {
    return mIntervals == 0 ? 0 : std::sqrt(mSquares / static_cast<double>(mIntervals));
}

Spacing::Spacing(const std::vector<int64_t>& stamps) {
    if (stamps.size() < 2) return;
    std::vector<int64_t> intervals;
    for (size_t i = 1; i < stamps.size(); ++i) {
        intervals.push_back(elapsedNs(stamps[i - 1], stamps[i]));
    }
    const auto middle = intervals.begin() + static_cast<std::ptrdiff_t>(intervals.size() / 2);
    std::nth_element(intervals.begin(), middle, intervals.end());
    typicalNs = *middle;
    const int64_t spanNs = elapsedNs(stamps.front(), stamps.back());
    if (typicalNs <= 0 || spanNs <= 0) return;
    for (const int64_t interval : intervals) {
        if (interval <= typicalNs + typicalNs / 2) continue;
        lost += std::llround(static_cast<double>(interval) / static_cast<double>(typicalNs)) - 1;
    }
    rateHz = static_cast<double>(static_cast<int64_t>(intervals.size()) + lost) * 1e9 /
             static_cast<double>(spanNs);
}

namespace {

/** To the middle of those that have the same eleven leading bits. */
int64_t rounded(int64_t duration) {
    const int dropped = std::max(0, 53 - __builtin_clzll(static_cast<uint64_t>(duration) | 1));
    return (duration >> dropped << dropped) + (int64_t{1} << dropped) / 2;
}

}  // namespace

void DurationStatistics::add(int64_t durationNs) {
    durationNs = std::max<int64_t>(durationNs, 0);
    mLongestNs = std::max(mLongestNs, durationNs);
    if (++mCount; exact() && mDurations.size() < kMostExact)
        return mDurations.push_back(durationNs);
    for (const int64_t earlier : std::exchange(mDurations, {})) {
        ++mCounts[rounded(earlier)];
    }
    ++mCounts[rounded(durationNs)];
}

int64_t DurationStatistics::quantileNs(double share) const {
    if (mCount == 0) return 0;
    const auto ceiling = static_cast<int64_t>(std::ceil(share * static_cast<double>(mCount)));
    const int64_t wanted = std::max<int64_t>(ceiling, 1);
    if (exact()) {
        const auto nth = mDurations.begin() + static_cast<std::ptrdiff_t>(wanted - 1);
        std::nth_element(mDurations.begin(), nth, mDurations.end());
        return *nth;
    }
    int64_t seen = 0;
    for (const auto& [duration, count] : mCounts) {
        seen += count;
        if (seen >= wanted) return std::min(duration, mLongestNs);
    }
    return 0;
}

}  // namespace subhalctl
