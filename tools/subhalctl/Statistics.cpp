#include "tools/subhalctl/Statistics.h"

#include <algorithm>
#include <cmath>

namespace subhalctl {

void IntervalStatistics::add(int64_t timestampNs) {
    const bool first = mEvents++ == 0;
    const int64_t intervalNs = timestampNs - mLastNs;
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
        mLost += (intervalNs + mExpectedNs / 2) / mExpectedNs - 1;
    }
}

double IntervalStatistics::rateHz() const {
    return mIntervals == 0 ? 0 : 1e9 / mMeanNs;
}

double IntervalStatistics::jitterNs() const {
    return mIntervals == 0 ? 0 : std::sqrt(mSquares / static_cast<double>(mIntervals));
}

}  // namespace subhalctl
