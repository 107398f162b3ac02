#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "sensors/SensorList.h"
#include "simulator/RecordBuilder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/OnlySensors.h"
#include "tests/support/RecordingCallback.h"

namespace driver_tests {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;
using namespace testing_support;
using simulator::RecordBuilder;
using simulator::Request;
using Packets = std::vector<std::string>;

constexpr char kInjection[] = "/dev/shub_data_injection";

/** A catalogue of the sensors given, each on its one twin, behind a simulated hub. */
class DriverBench {
  public:
    struct Twin {
        int handle;
        bool wakeUp = false;
        int vendor = 3;  // STM
    };

    explicit DriverBench(const std::vector<Twin>& sensors) : mHub(options(sensors)) {
        rebuild();
        LogCapture::take();
        mHub.clearRequests();
    }

    /** Constructs all sensors anew. */
    void rebuild() {
        mList.reset();
        mList.emplace(&mCallback);
    }

    SensorBase& sensor(int handle) { return *mList->get(handle); }

    /** What a record makes the sensor post. */
    std::vector<RecordingCallback::Post> read(int handle, const std::string& record) {
        EXPECT_TRUE(mHub.push(handle, record));
        sensor(handle).readEvents();
        return mCallback.take();
    }

    /** Result of an injection whose arguments start at payload word 2; word 1 says nothing. */
    int inject(int handle, uint32_t subCommand, const std::vector<float>& arguments) {
        Event event = {};
        memcpy(&event.u, &subCommand, sizeof(subCommand));
        event.u.data[1] = 5;
        for (size_t i = 0; i < arguments.size(); ++i)
            event.u.data[2 + i] = arguments[i];
        return sensor(handle).injectSensorData(event);
    }

    /** What was written since the last call. */
    Packets takeWritten(Request::Kind kind = Request::Kind::kInjection) {
        Packets packets;
        for (const Request& request : mHub.requests(kind))
            packets.push_back(request.bytes);
        mHub.clearRequests();
        return packets;
    }

    LogCapture mLog;
    simulator::SimulatedHub mHub;
    RecordingCallback mCallback;
    std::optional<SensorList> mList;

  private:
    static simulator::SimulatedHub::Options options(const std::vector<Twin>& sensors) {
        simulator::SimulatedHub::Options options;
        options.sensors.clear();
        for (const Twin& each : sensors)
            options.sensors.push_back(plainSensor(each.handle, each.wakeUp, each.vendor));
        return options;
    }
};

}  // namespace driver_tests
