#pragma once

#include <string>
#include <vector>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * While one exists, searches by SensorBase::findTypeByName on its thread start from the names that
 * the first of them saw, instead of reading the name of every device again. What they find there is
 * looked at once more, and what they miss is searched for afresh, so a device that comes or changes
 * meanwhile is found all the same. At most one per thread.
 */
class IioNamesSeen {
  public:
    IioNamesSeen();
    IioNamesSeen(const IioNamesSeen&) = delete;
    IioNamesSeen& operator=(const IioNamesSeen&) = delete;
    ~IioNamesSeen();

  private:
    friend class SensorBase;

    struct Device {
        int number;
        std::string name;
    };
    std::vector<Device> mDevices;  // in the order of the directory; empty until the first search
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
