#pragma once

#include <cstdint>

#include "sensors/LightBase.h"

namespace android::hardware::sensors::V2_0::zelva_sensorhub {

/**
 * Lux for the automatic display brightness (word 0) and the hub's minimum flag (word 1). Lux -1 and
 * -2 say that the camera's light source went on or off.
 *
 * The rear light sensor, meant for flicker, is a second source: it wins when it sees more light
 * while the device is folded or the hub flags its minimum, and in the dark within the display's
 * dark threshold.
 */
class AutoBrightnessSensor : public LightBase {
  public:
    /** Answer of getFlickerData() when there is no flicker value. */
    static constexpr int32_t kNoFlickerLux = -1;

    AutoBrightnessSensor(const SensorInfo& info, ISensorsEventCallback* callback);

    int enable(int handle, bool on) override;
    /** Takes the camera's lux; -EINVAL for other sub-commands. */
    int injectSensorData(const Event& event) override;
    void readEvents() override;

    /** Switches the rear sensor. A failure is logged and leaves the known state as it was. */
    void enableFlicker(bool on);

    /** Reads the rear sensor once; lux, or kNoFlickerLux. Poll thread only. */
    int32_t getFlickerData();

  private:
    struct Reading;

    void probeFlicker();
    void logLux(const Reading& reading);
    void replaceByFlicker(const Reading& reading);
    void raiseInTheDark();
    int32_t flickerLux(int32_t a, int32_t b);

    // Switched on the proxy's threads and read on the poll thread, or the other way round.
    Relaxed<int32_t> logCount = 0;         // records logged since the last enable
    bool flickerSupported = false;         // fixed by the constructor
    Relaxed<bool> flickerEnabled = false;  // as last written to the rear sensor
    Relaxed<bool> flickerValid = false;    // falls for good when the rear sensor fails
    struct {
        Relaxed<int32_t> a = -1;
        Relaxed<int32_t> b = -1;
    } prevAlsData;  // channels of the last accepted reading
};

}  // namespace android::hardware::sensors::V2_0::zelva_sensorhub
