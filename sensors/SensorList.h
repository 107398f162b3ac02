#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "sensors/ISensorsEventCallback.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The catalogue: reads the hub's sensor specification file and owns one sensor object per described
 * sensor whose device works, in file order, then the two housekeeping objects. Built before any
 * other thread runs and never changed, so every thread reads it without a lock.
 */
class SensorList {
  public:
    /** @param callback handed to every sensor object; must outlive the list */
    explicit SensorList(ISensorsEventCallback* callback);
    SensorList(const SensorList&) = delete;
    SensorList& operator=(const SensorList&) = delete;
    virtual ~SensorList();

    /** A copy of what the framework gets to see, logged entry by entry. */
    std::vector<SensorInfo> getSensorInfoList() const;

    /** The object of a handle, or null. Owned by the list. */
    SensorBase* get(int handle) const;

    /** The object at a position below size(). Owned by the list. */
    SensorBase* at(int index) const { return mSensors[static_cast<size_t>(index)].get(); }

    int size() const { return static_cast<int>(mSensors.size()); }

    /** size() poll entries, entry i for object i; null for an unreadable specification file. */
    pollfd* getFds() const { return mPollFds.get(); }

  private:
    void makeSensorList(ISensorsEventCallback* callback);
    void makePollFds();
    bool pushSensorList(const SensorInfo& info, int index, ISensorsEventCallback* callback);
    bool pushSensorList(int handle, int index, ISensorsEventCallback* callback);
    bool addSensor(std::unique_ptr<SensorBase> sensor, int handle, const char* name, int index);

    std::map<int32_t, int32_t> mHandleToIndex;
    std::vector<std::unique_ptr<SensorBase>> mSensors;
    std::vector<SensorInfo> mSensorInfoList;
    std::unique_ptr<pollfd[]> mPollFds;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
