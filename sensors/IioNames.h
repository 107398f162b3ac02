#pragma once

#include <string>
#include <vector>

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/** An entry of the IIO directory, by its number behind the prefix. */
struct IioDevice {
    int number;
    std::string name;  // the first word of its attribute, of at most 29 characters; never empty
};

/** "/sys/bus/iio/devices/PREFIXn/". */
std::string iioDirectory(const char* prefix, int number);

/**
 * The entries that begin with `prefix`, in the order of the directory. None, with a log line,
 * without the directory.
 */
std::vector<IioDevice> readIioNames(const char* prefix);

/**
 * The names of all devices, read once for the catalogue that is being built: every sensor looks for
 * a device of its own. At most one per thread, which finds it by current().
 */
class IioNames {
  public:
    IioNames() { sCurrent = this; }
    IioNames(const IioNames&) = delete;
    IioNames& operator=(const IioNames&) = delete;
    ~IioNames() { sCurrent = nullptr; }

    /** This thread's, or null. */
    static IioNames* current() { return sCurrent; }

    /**
     * As SensorBase::findTypeByName. Reads the names at the first call; what it finds there it
     * looks at once more, and what it misses it searches for afresh, so a device that comes or
     * changes meanwhile is found all the same.
     */
    int find(const std::string& name);

  private:
    static inline thread_local IioNames* sCurrent = nullptr;
    std::vector<IioDevice> mDevices;
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
