#pragma once

#include <hardware/sensors.h>

#include <cstddef>
#include <cstdint>

#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

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

}  // namespace subhalctl
