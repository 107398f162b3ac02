#include "simulator/RearLightSensor.h"

#include <cerrno>
#include <utility>

namespace simulator {

RearLightSensor::RearLightSensor(SimulatedHub& hub) {
    NodeHandler data;
    data.onRead = [state = mState](void* buffer, size_t size) {
        ++state->reads;
        const std::lock_guard<std::mutex> lock(state->mutex);
        return copyText(state->text, buffer, size);
    };
    hub.setHandler(kDataPath, std::move(data));

    NodeHandler enable;
    enable.onWrite = [state = mState](const std::string& bytes) -> ssize_t {
        // The driver compares two bytes, the digit and its NUL.
        if (bytes.size() != 2 || (bytes[0] != '0' && bytes[0] != '1') || bytes[1] != '\0') {
            return -EINVAL;
        }
        state->enabled = bytes[0] == '1';
        return 2;
    };
    hub.setHandler(kEnablePath, std::move(enable));
}

void RearLightSensor::setChannels(int32_t a, int32_t b) {
    setText(std::to_string(a) + "," + std::to_string(b) + "\n");
}

void RearLightSensor::setText(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mState->mutex);
    mState->text = text;
}

}  // namespace simulator
