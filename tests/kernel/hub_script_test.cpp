// The rules of IIO devices that the simulated hub keeps, on the kernel that makes them.

#include <gtest/gtest.h>

#include <fstream>

#include "simulator/kernel/KernelHub.h"
#include "tests/kernel/HubScript.h"

namespace hub_script {
namespace {

class KernelDevice final : public Hub {
  public:
    KernelDevice() {
        EXPECT_GE(mHub.addDevice(kHandle, "script", kRecordSize), 0);
        mDevicePath = mHub.devicePath(kHandle);
        mAttributes = mHub.attributePath(kHandle, "");
    }
    std::string devicePath() const override { return mDevicePath; }
    std::string attributePath(const std::string& name) const override { return mAttributes + name; }
    bool push(const std::string& record) override { return mHub.push(kHandle, record) == 1; }
    void drop() override { mHub.unplug(kHandle); }
    void expectWarnings(bool begin) override {  // the guest's caller looks for these lines
        std::ofstream("/dev/kmsg")
            << "expected warning " << (begin ? "begins" : "ends") << std::endl;
    }

  private:
    simulator::KernelHub mHub;
    std::string mDevicePath;  // of the device, when it is gone, too
    std::string mAttributes;
};

}  // namespace

std::unique_ptr<Hub> newHub() {
    return std::make_unique<KernelDevice>();
}

}  // namespace hub_script
