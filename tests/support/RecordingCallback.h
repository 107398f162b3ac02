#pragma once

#include <utility>
#include <vector>

#include "sensors/ISensorsEventCallback.h"

namespace testing_support {

/** Keeps what sensor objects post. */
class RecordingCallback
    : public android::hardware::sensors::V2_0::zelva_sensorhub::ISensorsEventCallback {
  public:
    using Event = android::hardware::sensors::V1_0::Event;

    struct Post {
        std::vector<Event> events;
        bool wakeup;
        bool direct;
    };

    void postEvents(const std::vector<Event>& events, bool wakeup) override {
        mPosts.push_back({events, wakeup, false});
    }
    void postDirectEvents(const std::vector<Event>& events) override {
        mPosts.push_back({events, false, true});
    }
    std::vector<Post> take() { return std::exchange(mPosts, {}); }

  private:
    std::vector<Post> mPosts;
};

}  // namespace testing_support
