#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "hub/SensorHubSensor.h"
#include "tests/unit/HubFixture.h"

namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;
using simulator::HubServices;
using testing_support::LogCapture;

constexpr int kHandle = 33;
constexpr char kControl[] = "/sys/class/sensors/hbx_sensor/shub_file";
const std::string kFile = "/data/vendor/sensorhub/cal.bin";
const std::string kLead = "SensorHubSensor::fileManager";

/** A reply as the hub gets it. */
std::string reply(int operation, int32_t result, const std::string& data = "") {
    std::string bytes(5, static_cast<char>(operation));
    memcpy(bytes.data() + 1, &result, 4);
    return bytes + data;
}

class FileManagerTest : public testing_support::HubFixture {
  protected:
    FileManagerTest() {
        mSensor.ready();
        LogCapture::take();
    }
    ~FileManagerTest() override {
        EXPECT_EQ(mServices.violations(), std::vector<std::string>{});
        EXPECT_EQ(mCallback.take().size(), 0u);
    }

    std::optional<std::string> ask(int operation, const std::string& request) {
        EXPECT_TRUE(mServices.postRequest(operation, request));
        mSensor.readEvents();
        return mServices.takeReply();
    }

    void expectRead(const std::string& request, int32_t result, const std::string& data = "") {
        EXPECT_EQ(ask(HubServices::kRead, request), reply(0, result, data)) << request;
    }
    void expectWrite(const std::string& request, int32_t result) {
        EXPECT_EQ(ask(HubServices::kWrite, request), reply(1, result)) << request;
    }
    void expectRemove(const std::string& request, int32_t result) {
        EXPECT_EQ(ask(HubServices::kRemove, request), reply(2, result)) << request;
    }

    SensorHubSensor mSensor{&mCallback};
};

TEST_F(FileManagerTest, ReadsFromAnOffset) {
    mHub.setFile(kFile, std::string("0123\0,789", 9));
    expectRead(kFile + ",4,2", 4, std::string("23\0,", 4));
    EXPECT_LOG("I " + kLead + ": READ", "I " + kLead + ": result 4, sendLen 9");
    expectRead(kFile + ", +100xyz,7", 2, "89");
    expectRead(kFile + ",4,9", 0);
    expectRead(kFile + ",4,4294967296", 0);
    expectRead(kFile + ",0,0", 0);

    const std::string large(5000, 'x');
    mHub.setFile(kFile, large);
    expectRead(kFile + ",4091,0", 4091, large.substr(0, 4091));
    EXPECT_DEATH(ask(HubServices::kRead, kFile + ",4092,0"), "no reply holds 4092 bytes");
    expectRead("/data/vendor/sensorhub/none,4092,0", -ENOENT);
    mHub.failRead(kFile, EIO);
    expectRead(kFile + ",4,0", -1);
}

TEST_F(FileManagerTest, WritesAtAnOffset) {
    const std::string bytes("a,b\0c,", 6);
    expectWrite(kFile + ",6,0,1," + bytes, 6);
    EXPECT_EQ(mHub.readFile(kFile), bytes);
    struct stat status = {};
    ASSERT_EQ(stat(kFile.c_str(), &status), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(status.st_mode & 0777, 0660 & ~mask);

    // Without a reply, and into the middle of a file that keeps its tail.
    LogCapture::take();
    EXPECT_EQ(ask(HubServices::kWrite, kFile + ",2,1,0,XY"), std::nullopt);
    EXPECT_LOG("I " + kLead + ": WRITE");
    EXPECT_EQ(mHub.readFile(kFile), std::string("aXY\0c,", 6));
}

TEST_F(FileManagerTest, WritesNoMoreThanAFieldHolds) {
    expectWrite(kFile + ",5,0,1,ab", 5);
    EXPECT_EQ(mHub.readFile(kFile), std::string("ab\0\0\0", 5));
    const std::string longest(4096 - (kFile + ",4096,0,1,").size(), 'z');
    expectWrite(kFile + ",4096,0,1," + longest, 4096);
    EXPECT_EQ(mHub.readFile(kFile), longest + std::string(4096 - longest.size(), '\0'));

    mHub.removeFile(kFile);
    for (const std::string size : {"4097", "2147483647", "-1"}) {
        expectWrite(kFile + "," + size + ",0,1,ab", -22);
        EXPECT_EQ(ask(HubServices::kWrite, kFile + "," + size + ",0,0,ab"), std::nullopt) << size;
        EXPECT_TRUE(logged("E " + kLead + ": invalid size " + size));
    }
    EXPECT_FALSE(mHub.hasFile(kFile));
}

TEST_F(FileManagerTest, RefusesWhatIsNoNumberOrNoPlaceInAFile) {
    mHub.setFile(kFile, "content");
    expectRead("", -22);
    expectWrite("", -22);
    for (const char* fields : {"", ",", ",,0", ",x,0", ",4,", ",4,-", ",4294967300,0", ",4",
                               ",-2147483649,0", ",4,9223372036854775808"}) {
        expectRead(kFile + fields, -22);
        expectWrite(kFile + fields, -22);
    }
    for (const char* fields : {",2,0", ",2,0,", ",2,0,yes,ab", ",2,-1,1,ab"})
        expectWrite(kFile + fields, -22);
    EXPECT_TRUE(logged("E " + kLead + ": invalid flag yes"));
    expectRead(kFile + ",-1,0", -22);
    expectRead(kFile + ",4,-1", -22);
    EXPECT_TRUE(logged("E " + kLead + ": seek to -1 failed(-22) Invalid argument"));
    EXPECT_EQ(mHub.readFile(kFile), "content");
}

TEST_F(FileManagerTest, RepliesWithTheErrorOfTheOpen) {
    const std::string directory = "/data/vendor/sensorhub/";
    expectRead(kFile + ",4,0", -ENOENT);
    EXPECT_LOG("I " + kLead + ": READ",
               "I " + kLead + ": " + kFile + " open failed(-2) No such file or directory",
               "I " + kLead + ": result -2, sendLen 5");
    mHub.setFile(kFile, "x");
    const std::string link = directory + "link";
    ASSERT_EQ(symlink((mHub.root() + kFile).c_str(), (mHub.root() + link).c_str()), 0);
    expectRead(link + ",1,0", -ELOOP);
    expectWrite(link + ",1,0,1,y", -ELOOP);

    expectRemove(directory + std::string(4096, 'n'), -1);
    expectRead(directory + std::string(300, 'n') + ",1,0", -ENAMETOOLONG);
    // A device that would block, and cannot seek.
    ASSERT_EQ(mkfifo((mHub.root() + "/data/vendor/pipe").c_str(), 0600), 0);
    expectRead("/data/vendor/pipe,1,0", 0);
    expectWrite("/data/vendor/pipe,1,0,1,y", -ENXIO);
}

TEST_F(FileManagerTest, RemovesUnlessTheControlFileFails) {
    const auto giveUp = [this](int operation, const std::string& line) {
        EXPECT_EQ(ask(operation, kFile), std::nullopt);
        EXPECT_TRUE(logged(line)) << line;
    };
    mHub.setFile(kFile, "x");
    mHub.failOpen(kControl, EBUSY);
    giveUp(HubServices::kRemove,
           "I " + kLead + ": shub_file open failed(-16) Device or resource busy");
    mHub.failRead(kControl, EIO);
    giveUp(HubServices::kRemove, "I " + kLead + ": shub_file read failed(-5)");
    giveUp(3, "I " + kLead + ": invalid type 3  ");
    EXPECT_TRUE(mHub.hasFile(kFile));
    mHub.failWrite(kControl, ENODEV);
    giveUp(HubServices::kRemove, "E " + kLead + ": error(-19) No such device");
    EXPECT_FALSE(mHub.hasFile(kFile));

    mHub.setFile(kFile, "x");
    LogCapture::take();
    expectRemove(kFile, 0);
    EXPECT_LOG("I " + kLead + ": REMOVE", "I " + kLead + " " + kFile + " remove 0",
               "I " + kLead + ": result 0, sendLen 5");
    EXPECT_FALSE(mHub.hasFile(kFile));
    expectRemove(kFile + ",1,2,3,4", -1);
}

/** Without the handshake, which each test does for itself. */
class HousekeepingTest : public testing_support::HubFixture {
  protected:
    bool isServed() {
        EXPECT_TRUE(mServices.postRequest(HubServices::kRemove, "/data/vendor/sensorhub/none"));
        mSensor.readEvents();
        const bool refused = logged("E fm is not supported");
        EXPECT_NE(mServices.takeReply().has_value(), refused);
        LogCapture::take();
        return !refused;
    }

    SensorHubSensor mSensor{&mCallback};
};

TEST_F(HousekeepingTest, ServesNothingBeforeTheHubTookTheReadySignal) {
    const std::string lead = "SensorHubSensor::ready: ";
    const auto becomesReady = [&](const std::string& line) {
        LogCapture::take();
        mSensor.ready();
        EXPECT_TRUE(logged(line)) << line;
        return isServed();
    };
    EXPECT_FALSE(mSensor.isShownSensorList());
    EXPECT_FALSE(isServed());
    mHub.failWrite(kControl, EIO, 1);
    EXPECT_FALSE(becomesReady("E " + lead + "error(-5) Input/output error"));
    EXPECT_TRUE(becomesReady("I " + lead + "send FM READY"));
    // A refused signal leaves the state, a control file that is gone does not.
    mHub.failWrite(kControl, EIO);
    EXPECT_TRUE(becomesReady("E " + lead + "error(-5) Input/output error"));
    mHub.failOpen(kControl, ENOENT);
    EXPECT_FALSE(becomesReady("I " + lead + "shub_file open failed(-2) No such file or directory"));
}

TEST_F(HousekeepingTest, IgnoresOtherCommandsAndReportsAFailedRead) {
    LogCapture::take();
    for (const char command : {'\x00', '\xFA', '\xFD'}) {
        mHub.push(kHandle, std::string(11, command));
        mSensor.readEvents();
    }
    EXPECT_LOG();
    mHub.push(kHandle, std::string(11, '\xFB'));
    mHub.failRead(kHandle, ENODEV);
    mSensor.readEvents();
    EXPECT_LOG(
        "E SensorHubSensor input data file descriptor not "
        "available - (No such device)");
}

}  // namespace
