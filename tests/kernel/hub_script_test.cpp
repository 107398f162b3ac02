// The rules of IIO devices that the simulated hub keeps, on the kernel that makes them.

#include <gtest/gtest.h>

#include <fstream>

#include "simulator/kernel/KernelHub.h"
#include "tests/kernel/HubScript.h"

namespace kernel_tests {
namespace {

constexpr int kHandle = 1;

class KernelDevice final : public hub_script::Hub {
  public:
    KernelDevice() {
        EXPECT_GE(mHub.addDevice(kHandle, "script", hub_script::kRecordSize), 0);
        mDevicePath = mHub.devicePath(kHandle);
        mAttributes = mHub.attributePath(kHandle, "");
    }
    std::string devicePath() const override { return mDevicePath; }
    std::string attributePath(const std::string& name) const override { return mAttributes + name; }
    bool push(const std::string& record) override { return mHub.push(kHandle, record) == 1; }
    void drop() override { mHub.unplug(kHandle); }

  private:
    simulator::KernelHub mHub;
    std::string mDevicePath;  // of the device, when it is gone, too
    std::string mAttributes;
};

void sayInTheKernelsLog(const char* text) {
    std::ofstream("/dev/kmsg") << text << std::endl;
}

class Scripts : public testing::TestWithParam<hub_script::Script> {};

TEST_P(Scripts, OnARealDevice) {
    KernelDevice device;
    // The guest's caller overlooks warnings between these lines.
    if (GetParam().kernelWarns) sayInTheKernelsLog("expected warning begins");
    play(GetParam(), device);
    if (GetParam().kernelWarns) sayInTheKernelsLog("expected warning ends");
}

INSTANTIATE_TEST_SUITE_P(Kernel, Scripts, testing::ValuesIn(hub_script::scripts()),
                         [](const testing::TestParamInfo<hub_script::Script>& tested) {
                             return tested.param.name;
                         });

}  // namespace
}  // namespace kernel_tests
