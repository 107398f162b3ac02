#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "simulator/NodePaths.h"
#include "simulator/SimulatedHub.h"

namespace simulator {

/**
 * The light sensor at the device's back and its files below "/sys/class/sensors/als_rear". Build it
 * before the library is loaded, which looks once whether there is one. Any thread may call; the
 * files stay when this object is gone.
 */
class RearLightSensor {
  public:
    static constexpr const char* kEnablePath = kRearEnablePath;
    static constexpr const char* kDataPath = kRearDataPath;

    explicit RearLightSensor(SimulatedHub& hub);
    ~RearLightSensor();
    RearLightSensor(const RearLightSensor&) = delete;
    RearLightSensor& operator=(const RearLightSensor&) = delete;

    /** The next readings. (-2, -2) means nothing new, (-6, -6) a broken sensor. */
    void setChannels(int32_t a, int32_t b);
    /** As setChannels(), with any text in the data file's place. */
    void setText(const std::string& text);

    bool isEnabled() const;
    /** How often the data file was read. */
    int reads() const;

  private:
    class State;

    std::shared_ptr<State> mState;  // shared with the handlers
};

}  // namespace simulator
