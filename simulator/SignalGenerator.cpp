#include "simulator/SignalGenerator.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace simulator {
namespace {

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();
constexpr int64_t kMillisecond = 1000000;
constexpr int64_t kLookPeriodNs = 50 * kMillisecond;  // how often on-change data are computed
constexpr int64_t kMaxLagNs = 1000 * kMillisecond;    // samples later than this are skipped

/** The sum, at most kNever. Requests may contain any 64-bit duration. */
int64_t later(int64_t timeNs, int64_t durationNs) {
    return durationNs < kNever - timeNs ? timeNs + durationNs : kNever;
}

}  // namespace

int64_t SignalGenerator::Stream::period() const {
    if (known->reporting != Reporting::kContinuous) return kLookPeriodNs;
    const int64_t shortest = std::max<int64_t>(int64_t{spec.minDelayUs} * 1000, kMillisecond);
    const int64_t longest = spec.maxDelayUs > 0 ? int64_t{spec.maxDelayUs} * 1000 : kNever;
    return std::clamp(periodNs, shortest, std::max(shortest, longest));
}

SignalGenerator::SignalGenerator(const World& world, Sink sink)
    : mWorld(world),
      mSink(std::move(sink)),
      mStartNs(bootTimeNs()),
      mThread(&SignalGenerator::run, this) {}

SignalGenerator::~SignalGenerator() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStop = true;
    }
    mChanged.notify_all();
    mThread.join();
}

void SignalGenerator::addSensor(const KnownSensor& known, const SensorSpec& spec) {
    std::lock_guard<std::mutex> lock(mMutex);
    mStreams.emplace(spec.handle, Stream{&known, spec});
}

void SignalGenerator::setEnabled(int handle, bool enabled) {
    std::lock_guard<std::mutex> lock(mMutex);
    Stream* stream = find(handle);
    if (stream == nullptr || stream->enabled == enabled) return;
    stream->enabled = enabled;
    stream->held.clear();
    stream->lastData.reset();
    stream->nextSampleNs = bootTimeNs();
    mChanged.notify_all();
}

void SignalGenerator::setRate(int handle, int64_t periodNs, int64_t latencyNs) {
    std::lock_guard<std::mutex> lock(mMutex);
    Stream* stream = find(handle);
    if (stream == nullptr) return;
    stream->periodNs = periodNs;
    stream->latencyNs = latencyNs;
    stream->nextSampleNs = std::min(stream->nextSampleNs, later(bootTimeNs(), stream->period()));
    mChanged.notify_all();
}

void SignalGenerator::flush(int handle) {
    std::lock_guard<std::mutex> lock(mMutex);
    Stream* stream = find(handle);
    if (stream == nullptr) return;
    release(*stream);
    mSink(handle, std::string(stream->known->recordSize, '\0'));
}

SignalGenerator::Stream* SignalGenerator::find(int handle) {
    const auto found = mStreams.find(handle);
    return found != mStreams.end() ? &found->second : nullptr;
}

void SignalGenerator::run() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mStop) {
        const int64_t now = bootTimeNs();
        int64_t next = now + int64_t{3600} * 1000 * kMillisecond;
        for (auto& entry : mStreams)
            next = std::min(next, serve(entry.second, now));
        const int64_t wait = std::max<int64_t>(next - bootTimeNs(), 0);
        mChanged.wait_for(lock, std::chrono::nanoseconds(wait));
    }
}

int64_t SignalGenerator::serve(Stream& stream, int64_t nowNs) {
    if (!stream.enabled || stream.known->signal == nullptr) return kNever;
    if (nowNs - stream.nextSampleNs > kMaxLagNs) stream.nextSampleNs = nowNs;
    while (stream.enabled && stream.nextSampleNs <= nowNs) {
        sample(stream, stream.nextSampleNs);
        stream.nextSampleNs = later(stream.nextSampleNs, stream.period());
    }
    const bool batching = stream.latencyNs > 0 && stream.spec.fifoMax > 0 &&
                          stream.known->reporting != Reporting::kOneShot;
    const int64_t dueNs = batching ? later(stream.heldSinceNs, stream.latencyNs) : nowNs;
    if (dueNs <= nowNs || stream.held.size() >= stream.spec.fifoMax) release(stream);
    if (!stream.enabled) return kNever;
    return stream.held.empty() ? stream.nextSampleNs : std::min(stream.nextSampleNs, dueNs);
}

void SignalGenerator::sample(Stream& stream, int64_t timeNs) {
    RecordBuilder data;
    stream.known->signal(mWorld, stream.spec, static_cast<double>(timeNs - mStartNs) / 1e9, data);
    const Reporting reporting = stream.known->reporting;
    const bool first = !stream.lastData;
    if (reporting != Reporting::kContinuous && data.bytes() == stream.lastData) return;
    stream.lastData = data.bytes();
    if (first && (reporting == Reporting::kOnEvent || reporting == Reporting::kOneShot)) return;

    if (stream.held.empty()) stream.heldSinceNs = timeNs;
    stream.held.push_back(data.i64(timeNs).bytes());
    if (reporting == Reporting::kOneShot) stream.enabled = false;
}

void SignalGenerator::release(Stream& stream) {
    for (const std::string& record : stream.held)
        mSink(stream.spec.handle, record);
    stream.held.clear();
}

}  // namespace simulator
