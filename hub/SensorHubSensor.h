#pragma once

#include "sensors/SensorBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * The hub's housekeeping, hidden from the framework: posts no events. A record of its device is a
 * request of the hub, either to keep a debug dump on the data partition or to read, write or remove
 * a host file. Everything runs on the poll thread.
 */
class SensorHubSensor : public SensorBase {
  public:
    explicit SensorHubSensor(ISensorsEventCallback* callback);

    /** Reports to the hub that the file manager is ready. Called once, before the first wait. */
    void ready();

    /** Serves one request of the hub. */
    void readEvents() override;

    bool isShownSensorList() override { return false; }

  private:
    /** Exchanges one request and its reply over the control file. */
    void fileManager(int type);

    /** Copies the hub's dump into a file of its own and into the one of the latest dump. */
    void dump(int type, int count);
    /** Makes room for a dump when `limit` of the prefix are there. */
    void deletePrevDump(int type, const char* prefix, int limit);
    /** Copies inDir + inName over the start of outDir + outName + suffix, which may be null. */
    void copyFile(const char* inDir, const char* inName, const char* outDir, const char* outName,
                  const char* suffix);

    bool fmReady = false;  // the hub took the ready signal
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
