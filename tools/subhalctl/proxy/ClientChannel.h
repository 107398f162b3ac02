#pragma once

#include <hardware/sensors.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/subhalctl/judging/Statistics.h"
#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

// A direct channel as its client sees it.

using android::hardware::sensors::V1_0::RateLevel;

/** Shared memory for a channel, seen from this process. */
class SharedMemory {
  public:
    explicit SharedMemory(size_t bytes);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    bool ok() const { return mBase != nullptr; }
    int fd() const { return mFd; }
    uint32_t bytes() const { return static_cast<uint32_t>(mBytes); }
    size_t records() const { return mBytes / sizeof(sensors_event_t); }
    sensors_event_t record(size_t index) const;
    void fill(char byte);
    bool allZero() const;

  private:
    size_t mBytes;
    int mFd;
    char* mBase = nullptr;
};

/**
 * A direct channel for one sensor, registered while it lives. It switches the sensor off at the
 * end, which a stopped report leaves on.
 */
class ClientChannel {
  public:
    ClientChannel(Proxy& proxy, int32_t sensorHandle) : mProxy(proxy), mSensor(sensorHandle) {}
    ~ClientChannel();
    ClientChannel(const ClientChannel&) = delete;
    ClientChannel& operator=(const ClientChannel&) = delete;

    Result registerMemory(const SharedMemory& memory);
    /** The result, and the report's token. */
    host_proxy::Answer setRate(RateLevel level);
    void unregister();

  private:
    Proxy& mProxy;
    const int32_t mSensor;
    int32_t mHandle = -1;
    bool mReporting = false;
};

/**
 * A process of its own that reads a direct channel's memory, as a client of the sensors service
 * would, and passes the records on through a pipe.
 */
class RingReader {
  public:
    /** Forks, so no other thread may run yet. `regionFd` stays the caller's. */
    RingReader(int regionFd, size_t bytes);
    /** Ends the process. */
    ~RingReader();
    RingReader(const RingReader&) = delete;
    RingReader& operator=(const RingReader&) = delete;

    bool running() const { return mProcess > 0; }

    /** A record, with its counter in reserved0. */
    struct Record {
        sensors_event_t record;
        int64_t readNs;  ///< when the process found it, on the clock of the events' time stamps
    };
    /** False when none came in time, or none will. */
    bool read(Record* record, int timeoutMs);

    /** Lets the process look once more and then end; what it found can still be read. */
    void stop();

  private:
    pid_t mProcess = -1;
    int mRecordsFd = -1;
    int mStopFd = -1;  // closing it is the request to stop
};

/** Judges the records of one ring by their counters and contents. */
class RingCheck {
  public:
    /** @param startNs nothing is lost among earlier records, as of an earlier run or rate */
    RingCheck(int32_t handle, int32_t type, int64_t startNs = 0)
        : mHandle(handle), mType(type), mStartNs(startNs) {}

    /** In the order in which they were read. False for a record that is torn. */
    bool add(const sensors_event_t& record);

    struct Figures {
        int64_t records = 0;
        int64_t missed = 0;    ///< written to the ring, by the counters, and not read from it
        int64_t repeated = 0;  ///< with a counter that came before
        int64_t torn = 0;      ///< empty, or of another sensor, type or version
        int64_t backward = 0;  ///< whole, but stamped before the one before, or at 0

        int64_t lost = 0;  ///< by gaps in the stamps

        bool sound() const { return missed + repeated + torn + backward + lost == 0; }
        /** As in "81 records, 0 missed, 0 repeated, 0 torn, 0 lost"; those backward if any are. */
        std::string text() const;
    };
    Figures figures() const;
    /** Counter of the last record; the first has 1. */
    uint32_t counter() const { return mCounter; }
    /** Latest stamp of a whole record, INT64_MIN without any. */
    int64_t newestNs() const { return mNewestNs; }
    /** Of the whole records from the start on. */
    Spacing spacing() const { return Spacing(mStamps); }

  private:
    bool isWhole(const sensors_event_t& record) const;

    int32_t mHandle;
    int32_t mType;
    int64_t mStartNs;
    uint32_t mCounter = 0;
    int64_t mLastNs = 1;  // stamp of the last whole record
    int64_t mNewestNs = INT64_MIN;
    std::vector<int64_t> mStamps;
    Figures mFigures;
};

}  // namespace subhalctl
