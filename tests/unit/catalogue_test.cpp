#include <cstring>
#include <memory>
#include <sstream>

#include "hub/QContextSensor.h"
#include "hub/SensorHubSensor.h"
#include "sensors/SensorList.h"
#include "tests/unit/HubFixture.h"

namespace {

using namespace testing_support;

constexpr char kSpec[] = "/sys/class/sensors/hbx_sensor/sensor_spec";

/** A specification record with a distinct value in every field. */
std::string record(int handle, std::string name = "CHIP", int vendor = 0) {
    name.resize(15);
    return RecordBuilder().u8(static_cast<uint8_t>(handle)).bytes() + name +
           RecordBuilder().u8(static_cast<uint8_t>(vendor)).i32(11).u8(0).bytes() +
           RecordBuilder().i32(5000).i32(-200000).u16(65535).u16(300).bytes() +
           RecordBuilder().f32(0.25F).f32(78.5F).f32(0.75F).bytes();
}

class CatalogueTest : public HubFixture {
  protected:
    CatalogueTest() : HubFixture(simulator::SimulatedHub::Options()) {}

    SensorList& build(const std::string& spec) {
        mHub.setRawSpec(spec);
        return build();
    }
    SensorList& build() {
        mList.reset();
        mList = std::make_unique<SensorList>(
            &mCallback, [](auto* callback) { return std::make_unique<QContextSensor>(callback); },
            [](auto* callback) { return std::make_unique<SensorHubSensor>(callback); });
        for (int i = 0; i < mList->size(); ++i) {
            EXPECT_EQ(mList->getFds()[i].fd, mList->at(i)->getFd());
            EXPECT_EQ(mList->getFds()[i].events, POLLIN);
            EXPECT_EQ(mList->getFds()[i].revents, 0);
        }
        return *mList;
    }
    std::vector<int> handlesOf(const std::string& spec) {
        build(spec);
        std::vector<int> handles;
        for (int handle = -1; handle < 260; ++handle)
            if (mList->get(handle) != nullptr) handles.push_back(handle);
        EXPECT_EQ(handles.size(), static_cast<size_t>(mList->size()));
        return handles;
    }

    std::unique_ptr<SensorList> mList;
};

TEST_F(CatalogueTest, EveryFieldOfARecord) {
    const SensorInfo& info = build(record(1, "CHIP", 11)).get(1)->getSensorInfo();
    EXPECT_EQ(std::string(info.name), "CHIP Accelerometer");
    EXPECT_EQ(info.power, 0.75F);  // the only field that is not in the log below

    auto log = LogCapture::lines();
    for (const char* line : {"I index 0, CHIP", "I index 1, Qcontext", "I index 2, SensorHub",
                             "I (AccSensor)SensorBase::isShownSensorList()", "I index 0, ishown 1",
                             "I index 2, ishown 0"})
        EXPECT_TRUE(LogCapture::contains(line)) << line;
    log.resize(10, "");
    EXPECT_EQ(log, (Lines{"I SensorList size 46 num 1 unitsize 46", "I handle 1", "I name CHIP",
                          "I vendor Haechitech", "I version 11", "I maxRage 78.500000",
                          "I resolution 0.250000", "I Delay min 5000 Max -200000",
                          "I fifo 300 65535", "I wakeup 0 flags 0"}));
}

TEST_F(CatalogueTest, VendorsByIndex) {
    std::istringstream vendors(
        "Tavrine Inc.;Asahi Kasei Microdevices;Yamaha;STM;Memsic;AMS, Inc.;Capella;Sharp;"
        "Bosch Sensortec;TDK Invensense;Sitronix;Haechitech");
    for (const int index : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 255}) {
        std::string vendor;
        std::getline(vendors, vendor, ';');
        EXPECT_EQ(std::string(build(record(1, "CHIP", index)).get(1)->getSensorInfo().vendor),
                  vendor);
    }
}

TEST_F(CatalogueTest, BadRecordsAndDevicesLeaveNoGap) {
    mHub.fail("open", mHub.devicePath(4), EBUSY);
    EXPECT_EQ(handlesOf(record(0, "EMPTY") + record(1, "FIRST") + record(1, "SECOND") + record(72) +
                        record(32) + record(255) + record(4, "BUSY") + record(71, "ABSENT") +
                        record(6, "BARO")),
              (std::vector<int>{1, 6, 32, 33}));
    EXPECT_EQ(std::string(mList->at(0)->getSensorInfo().name), "FIRST Accelerometer");
    for (const char* line : {"I handle 0", "I SECOND fd error"})
        EXPECT_FALSE(LogCapture::contains(line)) << line;
    for (const char* line :
         {"E pushSensorList invalid handle 72", "E pushSensorList invalid handle 32",
          "E pushSensorList invalid handle 255", "I BUSY fd error", "I index 1, BARO"})
        EXPECT_EQ(LogCapture::count(line), 1) << line;
}

TEST_F(CatalogueTest, DevicesMayComeAndChangeWhileItIsBuilt) {
    const auto nameOf = [this](int handle) { return mHub.attributePath(handle, "name"); };
    mHub.removeFile(nameOf(43));
    int looks = 0;
    simulator::NodeHandler name;
    name.onOpen = [&](int) { return ++looks, 0; };
    mHub.setHandler(nameOf(6), name);
    simulator::NodeHandler opened;  // all names have been read by then
    opened.onOpen = [&](int) {
        mHub.setFile(nameOf(43), "uncal_accel_sensor\n");
        mHub.setFile(nameOf(4), "accelerometer_sub_sensor\n");
        mHub.setFile(nameOf(58), "gyro_sensor\n");
        return 0;
    };
    mHub.setHandler(mHub.devicePath(1), opened);
    build(record(1) + record(6) + record(4) + record(58) + record(43));
    std::vector<int> devices;
    for (const Request& request : mHub.requests(Request::Kind::kBufferLength))
        devices.push_back(request.handle);
    EXPECT_EQ(devices, (std::vector<int>{1, 6, 58, 4, 43, 32, 33}));
    EXPECT_EQ(looks, 5) << "all names, this one, and all for each of the three";
}

TEST_F(CatalogueTest, OddFiles) {
    const std::vector<int> none = {32, 33};
    for (const size_t size : {0u, 1u, 45u})
        EXPECT_EQ(handlesOf(record(1).substr(0, size)), none) << size;
    EXPECT_EQ(handlesOf(record(1) + record(4).substr(0, 45)), (std::vector<int>{1, 32, 33}));
    EXPECT_EQ(handlesOf(std::string(4096, '\xFF')), none);
    // One read of 4096 bytes is all there is.
    std::string spec;
    for (int i = 0; i < 88; ++i)
        spec += record(0);
    EXPECT_EQ(handlesOf(spec + record(1) + record(4)), (std::vector<int>{1, 32, 33}));
    EXPECT_TRUE(LogCapture::contains("I SensorList size 4096 num 89 unitsize 46"));

    const SensorInfo& info = build(record(1, "FIFTEENLETTERS_", 12)).get(1)->getSensorInfo();
    EXPECT_EQ(std::string(info.name), "FIFTEENLETTERS_ Accelerometer");

    mHub.fail("open", kSpec, ENOENT);
    EXPECT_EQ(build().size(), 0);
    EXPECT_EQ(mList->getFds(), nullptr);
    EXPECT_EQ(LogCapture::take().back(),
              "E makeSensorList: open failed. No such file or directory");
    mHub.fail("read", kSpec, EIO);
    EXPECT_EQ(build().size(), 0);
    EXPECT_LOG("E makeSensorList: read failed. ret=-1");
}

TEST_F(CatalogueTest, ListIsLoggedWithDoubleSeparatorsBetweenEntries) {
    const SensorList& list = build(record(1));
    LogCapture::take();
    EXPECT_EQ(list.getSensorInfoList().size(), 2u);
    const char* const separator = "I ===============================";
    EXPECT_LOG("I getSensorInfoList", separator, "I name = CHIP Accelerometer", "I handle = 1",
               "I type = 1", separator, separator, "I name = Qcontext", "I handle = 32",
               "I type = 65586", separator);
}

}  // namespace
