#include <fcntl.h>
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
using testing_support::LogLine;

constexpr int kHandle = 33;
constexpr char kControl[] = "/sys/class/sensors/hbx_sensor/shub_file";
constexpr char kFile[] = "/data/vendor/sensorhub/cal.bin";

/** A reply as the hub gets it. */
std::string reply(int operation, int32_t result, const std::string& data = "") {
    std::string bytes(5, static_cast<char>(operation));
    memcpy(bytes.data() + 1, &result, 4);
    return bytes + data;
}

std::string sent(int result, size_t length) {
    return "SensorHubSensor::fileManager: result " + std::to_string(result) + ", sendLen " +
           std::to_string(length);
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

    SensorHubSensor mSensor{&mCallback};
};

TEST_F(FileManagerTest, ReadsFromAnOffset) {
    mHub.setFile(kFile, std::string("0123\0,789", 9));
    const std::string path = kFile;
    EXPECT_EQ(ask(HubServices::kRead, path + ",4,2"), reply(0, 4, std::string("23\0,", 4)));
    EXPECT_EQ(LogCapture::take(), (std::vector<LogLine>{{'I', "SensorHubSensor::fileManager: READ"},
                                                        {'I', sent(4, 9)}}));
    EXPECT_EQ(ask(HubServices::kRead, path + ", +100xyz,7"), reply(0, 2, "89"));
    EXPECT_EQ(ask(HubServices::kRead, path + ",4,9"), reply(0, 0));
    EXPECT_EQ(ask(HubServices::kRead, path + ",0,0"), reply(0, 0));

    const std::string large(5000, 'x');
    mHub.setFile(kFile, large);
    EXPECT_EQ(ask(HubServices::kRead, path + ",4091,0"), reply(0, 4091, large.substr(0, 4091)));
    mHub.failRead(kFile, EIO);
    EXPECT_EQ(ask(HubServices::kRead, path + ",4,0"), reply(0, -1));
}

TEST_F(FileManagerTest, WritesAtAnOffset) {
    const std::string path = kFile;
    const std::string bytes("a,b\0c,", 6);
    EXPECT_EQ(ask(HubServices::kWrite, path + ",6,0,1," + bytes), reply(1, 6));
    EXPECT_EQ(mHub.readFile(kFile), bytes);
    struct stat status = {};
    ASSERT_EQ(stat(kFile, &status), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(status.st_mode & 0777, 0660 & ~mask);

    // Without a reply, and into the middle of a file that keeps its tail.
    LogCapture::take();
    EXPECT_EQ(ask(HubServices::kWrite, path + ",2,1,0,XY"), std::nullopt);
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'I', "SensorHubSensor::fileManager: WRITE"}}));
    EXPECT_EQ(mHub.readFile(kFile), std::string("aXY\0c,", 6));
}

TEST_F(FileManagerTest, WritesNoMoreThanAFieldHolds) {
    const std::string path = kFile;
    EXPECT_EQ(ask(HubServices::kWrite, path + ",5,0,1,ab"), reply(1, 5));
    EXPECT_EQ(mHub.readFile(kFile), std::string("ab\0\0\0", 5));
    EXPECT_EQ(ask(HubServices::kWrite, path + ",4096,0,1,ab"), reply(1, 4096));
    EXPECT_EQ(mHub.readFile(kFile).size(), 4096u);

    const std::string longest(4096 - (path + ",4096,0,1,").size(), 'z');
    EXPECT_EQ(ask(HubServices::kWrite, path + ",4096,0,1," + longest), reply(1, 4096));
    EXPECT_EQ(mHub.readFile(kFile), longest + std::string(4096 - longest.size(), '\0'));

    mHub.removeFile(kFile);
    for (const char* size : {"4097", "2147483647", "-1"}) {
        EXPECT_EQ(ask(HubServices::kWrite, path + "," + size + ",0,1,ab"), reply(1, -22)) << size;
        EXPECT_EQ(ask(HubServices::kWrite, path + "," + size + ",0,0,ab"), std::nullopt) << size;
        EXPECT_TRUE(LogCapture::contains(
            'E', std::string("SensorHubSensor::fileManager: invalid size ") + size));
    }
    EXPECT_FALSE(mHub.hasFile(kFile));
}

TEST_F(FileManagerTest, Removes) {
    mHub.setFile(kFile, "x");
    EXPECT_EQ(ask(HubServices::kRemove, kFile), reply(2, 0));
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{
                  {'I', "SensorHubSensor::fileManager: REMOVE"},
                  {'I', "SensorHubSensor::fileManager " + std::string(kFile) + " remove 0"},
                  {'I', sent(0, 5)}}));
    EXPECT_FALSE(mHub.hasFile(kFile));
    EXPECT_EQ(ask(HubServices::kRemove, std::string(kFile) + ",1,2,3,4"), reply(2, -1));
}

TEST_F(FileManagerTest, RefusesTextThatIsNoNumber) {
    mHub.setFile(kFile, "content");
    const std::string path = kFile;
    const std::vector<std::string> common = {
        "",
        path,
        path + ",",
        path + ",,0",
        path + ",x,0",
        path + ",4,",
        path + ",4,-",
        path + ",4294967300,0",
        path + ",4",
        path + ",-2147483649,0",
        path + ",4,9223372036854775808",
    };
    for (const std::string& request : common) {
        EXPECT_EQ(ask(HubServices::kRead, request), reply(0, -22)) << request;
        EXPECT_EQ(ask(HubServices::kWrite, request), reply(1, -22)) << request;
    }
    for (const char* flag : {"", ",", ",yes,ab"}) {
        EXPECT_EQ(ask(HubServices::kWrite, path + ",2,0" + flag), reply(1, -22)) << flag;
    }
    EXPECT_TRUE(LogCapture::contains('E', "SensorHubSensor::fileManager: invalid flag yes"));
    EXPECT_EQ(mHub.readFile(kFile), "content");
}

TEST_F(FileManagerTest, RefusesPlacesOutsideOfAFile) {
    mHub.setFile(kFile, "content");
    const std::string path = kFile;
    EXPECT_EQ(ask(HubServices::kRead, path + ",-1,0"), reply(0, -22));
    EXPECT_EQ(ask(HubServices::kRead, path + ",4,-1"), reply(0, -22));
    EXPECT_TRUE(LogCapture::contains(
        'E', "SensorHubSensor::fileManager: seek to -1 failed(-22) Invalid argument"));
    EXPECT_EQ(ask(HubServices::kWrite, path + ",2,-1,1,ab"), reply(1, -22));
    EXPECT_EQ(mHub.readFile(kFile), "content");
    EXPECT_DEATH(ask(HubServices::kRead, path + ",4092,0"), "no reply holds 4092 bytes");
    EXPECT_EQ(ask(HubServices::kRead, "/data/vendor/sensorhub/none,4092,0"), reply(0, -ENOENT));
}

TEST_F(FileManagerTest, RepliesWithTheErrorOfTheOpen) {
    EXPECT_EQ(ask(HubServices::kRead, std::string(kFile) + ",4,0"), reply(0, -ENOENT));
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'I', "SensorHubSensor::fileManager: READ"},
                                    {'I', "SensorHubSensor::fileManager: " + std::string(kFile) +
                                              " open failed(-2) No such file or directory"},
                                    {'I', sent(-2, 5)}}));
    mHub.setFile(kFile, "x");
    const char* const link = "/data/vendor/sensorhub/link";
    ASSERT_EQ(symlink((mHub.root() + kFile).c_str(), (mHub.root() + link).c_str()), 0);
    const std::string linked = link;
    EXPECT_EQ(ask(HubServices::kRead, linked + ",1,0"), reply(0, -ELOOP));
    EXPECT_EQ(ask(HubServices::kWrite, linked + ",1,0,1,y"), reply(1, -ELOOP));

    const std::string endless = "/data/vendor/sensorhub/" + std::string(4096, 'n');
    EXPECT_EQ(ask(HubServices::kRemove, endless), reply(2, -1));
    const std::string tooLong = "/data/vendor/sensorhub/" + std::string(300, 'n');
    EXPECT_EQ(ask(HubServices::kRead, tooLong + ",1,0"), reply(0, -ENAMETOOLONG));
    // A device that would block, and cannot seek.
    ASSERT_EQ(mkfifo((mHub.root() + "/data/vendor/pipe").c_str(), 0600), 0);
    EXPECT_EQ(ask(HubServices::kRead, "/data/vendor/pipe,1,0"), reply(0, 0));
    EXPECT_EQ(ask(HubServices::kWrite, "/data/vendor/pipe,1,0,1,y"), reply(1, -ENXIO));
}

TEST_F(FileManagerTest, ControlFileFailures) {
    const auto giveUp = [this](const std::string& line) {
        EXPECT_EQ(ask(HubServices::kRemove, kFile), std::nullopt);
        EXPECT_TRUE(LogCapture::contains('I', "SensorHubSensor::fileManager: " + line));
    };
    mHub.setFile(kFile, "x");
    mHub.failOpen(kControl, EBUSY);
    giveUp("shub_file open failed(-16) Device or resource busy");
    mHub.failRead(kControl, EIO);
    giveUp("shub_file read failed(-5)");
    EXPECT_TRUE(mHub.hasFile(kFile));

    EXPECT_EQ(ask(3, "x"), std::nullopt);
    EXPECT_TRUE(LogCapture::contains('I', "SensorHubSensor::fileManager: invalid type 3  "));

    mHub.failWrite(kControl, ENODEV);
    EXPECT_EQ(ask(HubServices::kRemove, kFile), std::nullopt);
    EXPECT_TRUE(
        LogCapture::contains('E', "SensorHubSensor::fileManager: error(-19) No such device"));
    EXPECT_FALSE(mHub.hasFile(kFile));
}

/** Without the handshake, which each test does for itself. */
class HousekeepingTest : public testing_support::HubFixture {
  protected:
    bool isServed() {
        EXPECT_TRUE(mServices.postRequest(HubServices::kRemove, "/data/vendor/sensorhub/none"));
        mSensor.readEvents();
        const bool refused = LogCapture::contains('E', "fm is not supported");
        EXPECT_NE(mServices.takeReply().has_value(), refused);
        LogCapture::take();
        return !refused;
    }

    SensorHubSensor mSensor{&mCallback};
};

TEST_F(HousekeepingTest, ServesNothingBeforeTheHubTookTheReadySignal) {
    EXPECT_FALSE(mSensor.isShownSensorList());
    EXPECT_FALSE(isServed());
    mHub.failWrite(kControl, EIO);
    mSensor.ready();
    EXPECT_TRUE(LogCapture::contains('E', "SensorHubSensor::ready: error(-5) Input/output error"));
    EXPECT_FALSE(isServed());

    mSensor.ready();
    EXPECT_TRUE(LogCapture::contains('I', "SensorHubSensor::ready: send FM READY"));
    EXPECT_TRUE(mServices.waitReady(HubServices::Milliseconds(0)));
    EXPECT_TRUE(isServed());

    // A refused signal leaves the state, a control file that is gone does not.
    mHub.failWrite(kControl, EIO);
    mSensor.ready();
    LogCapture::take();
    EXPECT_TRUE(isServed());
    mHub.failOpen(kControl, ENOENT);
    mSensor.ready();
    EXPECT_TRUE(LogCapture::contains(
        'I', "SensorHubSensor::ready: shub_file open failed(-2) No such file or directory"));
    EXPECT_FALSE(isServed());
}

TEST_F(HousekeepingTest, IgnoresOtherCommandsAndReportsAFailedRead) {
    LogCapture::take();
    for (const char command : {'\x00', '\xFA', '\xFD'}) {
        mHub.push(kHandle, std::string(11, command));
        mSensor.readEvents();
    }
    EXPECT_EQ(LogCapture::take(), std::vector<LogLine>{});
    mHub.push(kHandle, std::string(11, '\xFB'));
    mHub.failRead(kHandle, ENODEV);
    mSensor.readEvents();
    EXPECT_EQ(LogCapture::take(),
              (std::vector<LogLine>{{'E',
                                     "SensorHubSensor input data file descriptor not "
                                     "available - (No such device)"}}));
}

}  // namespace
