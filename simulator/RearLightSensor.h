#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "simulator/NodePaths.h"
#include "simulator/SimulatedHub.h"

namespace simulator {

/**
 * The light sensor at the device's back and its files below "/sys/class/sensors/als_rear". Build it
 * before the library is loaded, which looks for it once. Any thread may call; the files remain
 * after this object's end.
 */
class RearLightSensor {
  public:
    static constexpr const char* kEnablePath = kRearEnablePath;
    static constexpr const char* kDataPath = kRearDataPath;

    explicit RearLightSensor(SimulatedHub& hub);

    /** The next readings. (-2, -2) means nothing new, (-6, -6) a broken sensor. */
    void setChannels(int32_t a, int32_t b);
    /** As setChannels(), with any text as the data file's contents. */
    void setText(const std::string& text);

    bool isEnabled() const { return mState->enabled; }
    /** How often the data file was read. */
    int reads() const { return mState->reads; }

  private:
    struct State {
        std::atomic<bool> enabled{false};
        std::atomic<int> reads{0};
        std::mutex mutex;
        std::string text = "-2,-2\n";  // guarded by mutex
    };

    std::shared_ptr<State> mState = std::make_shared<State>();  // shared with the handlers
};

}  // namespace simulator
