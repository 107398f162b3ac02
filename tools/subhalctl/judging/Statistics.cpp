#include "tools/subhalctl/judging/Statistics.h"

#include <algorithm>
#include <cmath>

namespace subhalctl {

int64_t elapsedNs(int64_t earlier, int64_t later) {
    int64_t elapsed = 0;
    if (!__builtin_sub_overflow(later, earlier, &elapsed)) return elapsed;
    return later < earlier ? INT64_MIN : INT64_MAX;
}

void IntervalStatistics::add(int64_t timestampNs) {
    const bool first = mEvents++ == 0;
    const int64_t intervalNs = elapsedNs(mLastNs, timestampNs);
    mLastNs = timestampNs;
    if (first) return;
    if (intervalNs > 0) {
        addInterval(intervalNs);
    } else {
        ++mBackward;
    }
}

void IntervalStatistics::addInterval(int64_t intervalNs) {
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

double IntervalStatistics::rateHz() const {
    return mIntervals == 0 ? 0 : 1e9 / mMeanNs;
}

double IntervalStatistics::jitterNs() const {
    return mIntervals == 0 ? 0 : std::sqrt(mSquares / static_cast<double>(mIntervals));
}

size_t DurationStatistics::stepOf(int64_t durationNs) {
    const auto duration = static_cast<uint64_t>(durationNs);
    if (duration < kSteps) return static_cast<size_t>(duration);
    const int shift = 63 - __builtin_clzll(duration) - kStepBits;
    return static_cast<size_t>(shift + 1) * kSteps +
           static_cast<size_t>((duration >> shift) - kSteps);
}

int64_t DurationStatistics::middleOf(size_t step) {
    if (step < kSteps) return static_cast<int64_t>(step);
    const size_t shift = step / kSteps - 1;
    const uint64_t low = uint64_t{step % kSteps + kSteps} << shift;
    return static_cast<int64_t>(low + (uint64_t{1} << shift) / 2);
}

void DurationStatistics::add(int64_t durationNs) {
    durationNs = std::max<int64_t>(durationNs, 0);
    ++mCounts[stepOf(durationNs)];
    ++mCount;
    mLongestNs = std::max(mLongestNs, durationNs);
}

int64_t DurationStatistics::quantileNs(double share) const {
    const auto wanted = static_cast<int64_t>(std::ceil(share * static_cast<double>(mCount)));
    int64_t seen = 0;
    for (size_t step = 0; step < mCounts.size(); ++step) {
        seen += mCounts[step];
        if (seen >= std::max<int64_t>(wanted, 1)) return std::min(middleOf(step), mLongestNs);
    }
    return 0;
}

}  // namespace subhalctl
