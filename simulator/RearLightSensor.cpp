#include "simulator/RearLightSensor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

namespace simulator {

class RearLightSensor::State {
  public:
    ssize_t giveReading(void* buffer, size_t size) {
        const std::lock_guard<std::mutex> lock(mMutex);
        ++mReads;
        const size_t count = std::min(size, mText.size());
        std::memcpy(buffer, mText.data(), count);
        return static_cast<ssize_t>(count);
    }

    /** The driver compares two bytes, the digit and its NUL. */
    ssize_t takeEnable(const std::string& bytes) {
        if (bytes.size() != 2 || (bytes[0] != '0' && bytes[0] != '1') || bytes[1] != '\0') {
            return -EINVAL;
        }
        const std::lock_guard<std::mutex> lock(mMutex);
        mEnabled = bytes[0] == '1';
        return 2;
    }

    void setText(const std::string& text) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mText = text;
    }

    bool isEnabled() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mEnabled;
    }

    int reads() {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mReads;
    }

  private:
    std::mutex mMutex;  // guards all that follows
    bool mEnabled = false;
    int mReads = 0;
    std::string mText = "-2,-2\n";
};

RearLightSensor::RearLightSensor(SimulatedHub& hub) : mState(std::make_shared<State>()) {
    NodeHandler data;
    data.onRead = [state = mState](void* buffer, size_t size) {
        return state->giveReading(buffer, size);
    };
    hub.setHandler(kDataPath, std::move(data));

    NodeHandler enable;
    enable.onWrite = [state = mState](const std::string& bytes) {
        return state->takeEnable(bytes);
    };
    hub.setHandler(kEnablePath, std::move(enable));
}

RearLightSensor::~RearLightSensor() = default;

void RearLightSensor::setChannels(int32_t a, int32_t b) {
    setText(std::to_string(a) + "," + std::to_string(b) + "\n");
}

void RearLightSensor::setText(const std::string& text) {
    mState->setText(text);
}

bool RearLightSensor::isEnabled() const {
    return mState->isEnabled();
}

int RearLightSensor::reads() const {
    return mState->reads();
}

}  // namespace simulator
