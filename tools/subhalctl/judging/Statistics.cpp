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

size_t quantileIndex(double share, size_t count) {
    const auto rank = static_cast<size_t>(std::ceil(share * static_cast<double>(count)));
    return std::max<size_t>(rank, 1) - 1;
}

int64_t lostWithin(int64_t intervalNs, int64_t periodNs) {
    if (periodNs <= 0 || intervalNs <= periodNs) return 0;
    if (intervalNs - periodNs <= periodNs / 2) return 0;
    return intervalNs / periodNs + (intervalNs % periodNs + periodNs / 2) / periodNs - 1;
}

int64_t toleratedSilenceNs(int64_t periodNs, int64_t latencyNs) {
    constexpr int64_t kSilenceNs = 300'000'000;
    constexpr int64_t kMost = INT64_MAX / 4;  // a recording may ask for any
    return kSilenceNs + 2 * std::min(periodNs, kMost) + std::min(latencyNs, kMost);
}

void IntervalStatistics::Intervals::add(int64_t intervalNs, int64_t periodNs) {
    if (intervalNs <= 0) return;
    shortestNs = count == 0 ? intervalNs : std::min(shortestNs, intervalNs);
    longestNs = std::max(longestNs, intervalNs);
    ++count;
    const double deviation = static_cast<double>(intervalNs) - meanNs;
    meanNs += deviation / static_cast<double>(count);
    squares += deviation * (static_cast<double>(intervalNs) - meanNs);
    if (__builtin_add_overflow(lost, lostWithin(intervalNs, periodNs), &lost)) lost = INT64_MAX;
}

void IntervalStatistics::add(int64_t timestampNs) {
    ++mEvents;
    const auto lastNs = std::exchange(mLastNs, timestampNs);
    if (lastNs && timestampNs <= *lastNs) ++mBackward;
    const bool full = mStamps.size() == kUnsettled;
    if (full && timestampNs < mStamps.front().ns) return;
    const auto later = std::find_if(mStamps.rbegin(), mStamps.rend(),
                                    [&](const Stamp& stamp) { return stamp.ns <= timestampNs; });
    mStamps.insert(later.base(), {timestampNs, true});
    if (!full) return;
    if (mStamps[1].isNew) mSettled.add(elapsedNs(mStamps[0].ns, mStamps[1].ns), mExpectedNs);
    mStamps.pop_front();
}

void IntervalStatistics::end(int64_t timeNs, int64_t latencyNs) {
    mEndNs = timeNs;
    mLatencyNs = latencyNs;
}

void IntervalStatistics::restart() {
    mEvents = mBackward = 0;
    mSettled = {};
    for (Stamp& stamp : mStamps) {
        stamp.isNew = false;
    }
}

IntervalStatistics::Intervals IntervalStatistics::all() const {
    Intervals all = mSettled;
    for (size_t i = 1; i < mStamps.size(); ++i) {
        if (mStamps[i].isNew) all.add(elapsedNs(mStamps[i - 1].ns, mStamps[i].ns), mExpectedNs);
    }
    return all;
}

std::optional<double> IntervalStatistics::jitterNs() const {
    const Intervals intervals = all();
    return when(intervals.count > 0,
                std::sqrt(intervals.squares / static_cast<double>(intervals.count)));
}

int64_t IntervalStatistics::lost() const {
    int64_t lost = 0;
    return __builtin_add_overflow(all().lost, lostAtEnd(), &lost) ? INT64_MAX : lost;
}

int64_t IntervalStatistics::lostAtEnd() const {
    if (!mEndNs || mStamps.empty() || mExpectedNs <= 0) return 0;
    const int64_t silenceNs = elapsedNs(mStamps.back().ns, *mEndNs);
    return silenceNs > toleratedSilenceNs(mExpectedNs, mLatencyNs) ? silenceNs / mExpectedNs : 0;
}

Spacing::Spacing(std::vector<int64_t> stamps, int64_t grantedNs) : periodNs(grantedNs) {
    if (stamps.size() < 2) return;
    std::sort(stamps.begin(), stamps.end());
    std::vector<int64_t> intervals;
    for (size_t i = 1; i < stamps.size(); ++i) {
        intervals.push_back(elapsedNs(stamps[i - 1], stamps[i]));
    }
    const auto middle =
        intervals.begin() + static_cast<std::ptrdiff_t>(quantileIndex(0.5, intervals.size()));
    std::nth_element(intervals.begin(), middle, intervals.end());
    typicalNs = *middle;
    if (typicalNs / 11 >= grantedNs / 10) periodNs = typicalNs;
    const int64_t spanNs = elapsedNs(stamps.front(), stamps.back());
    if (spanNs > 0)
        rateHz = static_cast<double>(intervals.size()) * 1e9 / static_cast<double>(spanNs);
    for (const int64_t interval : intervals) {
        if (__builtin_add_overflow(lost, lostWithin(interval, periodNs), &lost)) lost = INT64_MAX;
    }
}

namespace {

/** Towards 0, to eleven leading bits. */
int64_t rounded(int64_t duration) {
    const auto size = static_cast<uint64_t>(duration < 0 ? ~duration : duration);
    return duration - duration % (int64_t{1} << std::max(0, 53 - __builtin_clzll(size | 1)));
}

}  // namespace

void DurationStatistics::add(int64_t durationNs) {
    mLongestNs = std::max(mLongestNs, durationNs);
    if (++mCount; exact() && mDurations.size() < kMostExact)
        return mDurations.push_back(durationNs);
    for (const int64_t earlier : std::exchange(mDurations, {})) {
        ++mCounts[rounded(earlier)];
    }
    ++mCounts[rounded(durationNs)];
}

std::optional<int64_t> DurationStatistics::quantileNs(double share) const {
    if (mCount == 0) return {};
    const size_t index = quantileIndex(share, mCount);
    if (index + 1 == mCount) return mLongestNs;
    if (exact()) {
        const auto nth = mDurations.begin() + static_cast<std::ptrdiff_t>(index);
        std::nth_element(mDurations.begin(), nth, mDurations.end());
        return *nth;
    }
    size_t seen = 0;
    for (const auto& [duration, count] : mCounts) {
        seen += count;
        if (seen > index) return std::min(duration, mLongestNs);
    }
    return {};
}

}  // namespace subhalctl
