#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "simulator/KnownSensors.h"
#include "simulator/SensorSpec.h"
#include "tools/subhalctl/ExitCode.h"
#include "tools/subhalctl/doctor/Findings.h"

namespace subhalctl {

using simulator::KnownSensor;

/** Goes the library's way to each sensor, without the library. */
class Examination {
  public:
    explicit Examination(Findings& findings) : mFindings(findings) {}

    /** Anything but kOk has been reported; there is no more to be found then. */
    ExitCode run();

    size_t sensors() const { return mHandles.size(); }

  private:
    bool readSpec();
    void readIioNames();
    void checkNodes();
    void checkDataDirectory();
    void checkProperties();
    void checkRecord(size_t number, const simulator::SensorSpec& record);
    void checkFigures(const std::string& subject, const simulator::SensorSpec& record,
                      uint32_t mode);
    void checkDevice(const std::string& subject, const KnownSensor& sensor, bool wakeUp,
                     int fifoMax);
    void checkMissing(const std::string& subject, const KnownSensor& sensor, bool wakeUp);
    void checkBuffer(const std::string& subject, int number, const KnownSensor& sensor,
                     int fifoMax);
    void tryBuffer(const std::string& subject, const std::string& directory,
                   const KnownSensor& sensor, int length);
    void checkLeftOver();
    void tellShared();

    Findings& mFindings;
    std::string mSpec;
    std::multimap<std::string, int> mIio;  // device numbers by name
    std::vector<std::string> mNameless;    // devices whose name cannot be read
    bool mIioIsRead = false;
    size_t mEmptySlots = 0;                                 // in the specification
    std::set<int32_t> mHandles;                             // met in the specification
    std::set<std::string> mWanted;                          // IIO names that the library looks for
    std::map<std::string, std::vector<std::string>> mHeld;  // devices in use, by their users
    std::vector<std::string> mRunning;                      // buffers that nobody reads
};

}  // namespace subhalctl
