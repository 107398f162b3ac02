#pragma once

#include <android/hardware/sensors/1.0/types.h>
#include <poll.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sensors/ISensorsEventCallback.h"
#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** Makes one of the two objects that exist whatever the hub describes. */
using HubSensorFactory =
    std::function<std::unique_ptr<SensorBase>(ISensorsEventCallback* callback)>;

/**
 * The catalogue: reads the hub's sensor specification file and owns one sensor object per described
 * sensor whose device works, in file order, then the two housekeeping objects. Built before any
 * other thread runs and never changed, so every thread reads it without a lock.
 */
class SensorList {
  public:
    /**
     * Builds everything. The hub's own objects come last, each made when its turn comes; one whose
     * device does not work is dropped like any other. Without a specification file nothing is made.
     *
     * @param callback handed to every sensor object; must outlive the list
     * @param makeContext makes the object of kQContextHandle; null for none
     * @param makeHousekeeping makes the object of kSensorHubHandle; null for none
     */
    explicit SensorList(ISensorsEventCallback* callback,
                        const HubSensorFactory& makeContext = nullptr,
                        const HubSensorFactory& makeHousekeeping = nullptr);
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

    /**
     * size() poll entries, entry i for object i; null for an unreadable specification file. Whoever
     * polls may change them: the descriptor to ask for is the object's.
     */
    pollfd* getFds() const { return mPollFds.get(); }

  private:
    void makeSensorList(ISensorsEventCallback* callback, const HubSensorFactory& makeContext,
                        const HubSensorFactory& makeHousekeeping);
    void makePollFds();
    void pushSensorList(const SensorInfo& info, ISensorsEventCallback* callback);
    void pushSensorList(int handle, const HubSensorFactory& make, ISensorsEventCallback* callback);
    void addSensor(std::unique_ptr<SensorBase> sensor, int handle, const std::string& name);

    std::map<int32_t, int32_t> mHandleToIndex;
    std::vector<std::unique_ptr<SensorBase>> mSensors;
    std::vector<SensorInfo> mSensorInfoList;
    std::unique_ptr<pollfd[]> mPollFds;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
