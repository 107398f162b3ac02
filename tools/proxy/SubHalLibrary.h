#pragma once

#include <V2_0/SubHal.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tools/proxy/HalProxyCallback.h"

namespace host_proxy {

using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SensorInfo;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V2_0::implementation::HalProxyCallback;
using android::hardware::sensors::V2_0::implementation::ISensorsSubHal;

/** A sub-HAL library, loaded as the multi-HAL proxy does it. */
class SubHalLibrary {
  public:
    using EntryPoint = ISensorsSubHal* (*)(uint32_t* version);

    /** Loads the library and calls its entry point once. */
    explicit SubHalLibrary(const std::string& path);
    /** Leaves the library in place, as the proxy does. */
    ~SubHalLibrary() = default;
    SubHalLibrary(const SubHalLibrary&) = delete;
    SubHalLibrary& operator=(const SubHalLibrary&) = delete;

    /** Null when the library could not be loaded, has no entry point or gave no object. */
    ISensorsSubHal* subHal() const { return mSubHal; }
    /** Why subHal() is null. */
    const std::string& error() const { return mError; }
    EntryPoint entryPoint() const { return mEntryPoint; }
    /** The interface version that the library reports. */
    uint32_t version() const { return mVersion; }

    /**
     * Runs the library's static destructors, which wait for a thread that sees its stop flag only
     * when a sensor reports once more: something must see to that meanwhile. False when the library
     * stays resident all the same.
     */
    bool unload();

  private:
    const std::string mPath;
    std::string mError;
    void* mLibrary = nullptr;
    EntryPoint mEntryPoint = nullptr;
    uint32_t mVersion = 0;
    ISensorsSubHal* mSubHal = nullptr;  // the library's
};

// Requests with a result callback, which every library calls before it returns.

struct Answer {
    Result result = Result::INVALID_OPERATION;
    int32_t value = INT32_MIN;  ///< the channel's handle, or the report's token
};

std::vector<SensorInfo> sensorsOf(ISensorsSubHal& subHal);
Answer registerDirectChannel(ISensorsSubHal& subHal, const SharedMemInfo& memory);
Answer configDirectReport(ISensorsSubHal& subHal, int32_t sensorHandle, int32_t channel,
                          RateLevel rate);

}  // namespace host_proxy
