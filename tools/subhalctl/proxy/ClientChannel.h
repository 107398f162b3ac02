#pragma once

#include <hardware/sensors.h>

#include <cstddef>
#include <cstdint>

#include "tools/subhalctl/proxy/Proxy.h"

namespace subhalctl {

using android::hardware::sensors::V1_0::RateLevel;

/** A direct channel, registered while it lives. */
class ClientChannel {
  public:
    explicit ClientChannel(Proxy& proxy) : mProxy(proxy) {}
    ~ClientChannel() { unregister(); }
    ClientChannel(const ClientChannel&) = delete;
    ClientChannel& operator=(const ClientChannel&) = delete;

    Result registerMemory(int regionFd, uint32_t bytes);
    /** The result, and the report's token. */
    host_proxy::Answer setRate(int32_t sensorHandle, RateLevel level);
    void unregister();

  private:
    Proxy& mProxy;
    int32_t mHandle = -1;
};

/** Switches a sensor off at the end: a stopped direct report leaves its sensor on. */
class Off {
  public:
    Off(Proxy& proxy, const SensorInfo& sensor) : mProxy(proxy), mHandle(sensor.sensorHandle) {}
    ~Off() { mProxy.activate(mHandle, false); }
    Off(const Off&) = delete;
    Off& operator=(const Off&) = delete;

  private:
    Proxy& mProxy;
    int32_t mHandle;
};

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

}  // namespace subhalctl
