// The simulated hub under the scripts that real devices pass, and the world that its sensors see.

#include "simulator/SimulatedHub.h"

#include <gtest/gtest.h>

#include "simulator/DeviceProfile.h"
#include "simulator/World.h"
#include "tests/kernel/HubScript.h"

namespace hub_script {
namespace {

class SimulatedDevice final : public Hub {
  public:
    std::string devicePath() const override { return mHub.devicePath(kHandle); }
    std::string attributePath(const std::string& name) const override {
        return mHub.attributePath(kHandle, name);
    }
    bool push(const std::string& record) override { return mHub.push(kHandle, record); }
    void drop() override { mHub.dropDevice(kHandle); }

  private:
    simulator::SimulatedHub mHub;
};

}  // namespace

std::unique_ptr<Hub> newHub() {
    return std::make_unique<SimulatedDevice>();
}

}  // namespace hub_script

namespace simulator {
namespace {

TEST(Signals, FillTheirRecords) {
    const World world(5);
    for (const SensorSpec& spec : standardCatalogue()) {
        const DeviceProfile* profile = findProfile(spec.handle);
        if (profile->signal == nullptr) continue;
        RecordBuilder record;
        profile->signal(world, spec, 1.7, record);
        EXPECT_EQ(profile->recordSize, record.bytes().size() + sizeof(uint64_t)) << spec.handle;
    }
}

TEST(World, FieldTurnsAgainstTheRotation) {
    const World world(5);
    constexpr double kStep = 0.1;
    for (double t = 1.0; t < 20.0; t += 0.37) {
        const Vector3 before = world.magneticField(t - kStep);
        const Vector3 after = world.magneticField(t + kStep);
        const Vector3 m = world.magneticField(t);
        const Vector3 w = world.rotationRate(t);
        const Vector3 expected = {m[1] * w[2] - m[2] * w[1], m[2] * w[0] - m[0] * w[2],
                                  m[0] * w[1] - m[1] * w[0]};
        for (size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(expected[axis], (after[axis] - before[axis]) / (2 * kStep), 6.0) << t;
        }
    }
}

}  // namespace
}  // namespace simulator
