#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "simulator/KnownSensors.h"
#include "simulator/World.h"

namespace simulator {

/**
 * Sends the records of enabled sensors at the requested period and latency. One thread serves all
 * sensors. All methods may be called from any thread.
 */
class SignalGenerator {
  public:
    /** Takes one finished record; called with the generator's lock held. */
    using Sink = std::function<void(int handle, const std::string& record)>;

    SignalGenerator(const World& world, Sink sink);
    ~SignalGenerator();
    SignalGenerator(const SignalGenerator&) = delete;
    SignalGenerator& operator=(const SignalGenerator&) = delete;

    void addSensor(const KnownSensor& known, const SensorSpec& spec);
    void setEnabled(int handle, bool enabled);
    void setRate(int handle, int64_t periodNs, int64_t latencyNs);
    /** Sends what is held back, then the flush marker. */
    void flush(int handle);

  private:
    struct Stream {
        /** The period in effect. */
        int64_t period() const;

        const KnownSensor* known;
        SensorSpec spec;
        bool enabled = false;
        int64_t periodNs = 0;
        int64_t latencyNs = 0;
        int64_t nextSampleNs = 0;
        std::optional<std::string> lastData{};
        std::vector<std::string> held{};
        int64_t heldSinceNs = 0;
    };

    void run();
    /** Does what is due and returns when the next work is due, or kNever. */
    int64_t serve(Stream& stream, int64_t nowNs);
    void sample(Stream& stream, int64_t timeNs);
    void release(Stream& stream);
    Stream* find(int handle);

    const World mWorld;
    const Sink mSink;
    const int64_t mStartNs;
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::map<int, Stream> mStreams;  // guarded by mMutex
    bool mStop = false;              // guarded by mMutex
    std::thread mThread;             // last, so that it starts last
};

}  // namespace simulator
