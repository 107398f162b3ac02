#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include "hub/SensorHubSensor.h"
#include "tests/unit/HubFixture.h"

namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;
using testing_support::LogCapture;
using namespace std::string_literals;

enum { kRead, kWrite, kRemove };

constexpr int kHandle = 33;
constexpr char kControl[] = "/sys/class/sensors/hbx_sensor/shub_file";
const std::string kDirectory = "/data/vendor/sensorhub/";
const std::string kFile = kDirectory + "cal.bin";
const std::string kLead = "SensorHubSensor::fileManager";

class FileManagerTest : public testing_support::HubFixture {
  protected:
    FileManagerTest() { becomeReady(); }
    ~FileManagerTest() override {
        EXPECT_EQ(mServices.violations(), std::vector<std::string>{});
        EXPECT_EQ(mCallback.take().size(), 0u);
    }

    testing_support::Lines becomeReady() {
        LogCapture::take();
        mSensor.ready();
        return LogCapture::take();
    }
    std::optional<std::string> ask(int operation, const std::string& request) {
        EXPECT_TRUE(mServices.postRequest(operation, request));
        LogCapture::take();
        mSensor.readEvents();
        return mServices.takeReply();
    }
    void expect(int operation, const std::string& request, int32_t result,
                const std::string& data = "") {
        std::string reply(5, static_cast<char>(operation));
        memcpy(reply.data() + 1, &result, 4);
        EXPECT_EQ(ask(operation, request), reply + data) << request;
    }
    void expectSilence(int operation, const std::string& request, const std::string& line) {
        EXPECT_EQ(ask(operation, request), std::nullopt) << request;
        EXPECT_TRUE(logged(line)) << line;
    }

    SensorHubSensor mSensor{&mCallback};
};

TEST_F(FileManagerTest, ReadsFromAnOffset) {
    mHub.setFile(kFile, "0123\0,789"s);
    expect(kRead, kFile + ",4,2", 4, "23\0,"s);
    EXPECT_LOG("I " + kLead + ": READ", "I " + kLead + ": result 4, sendLen 9");
    expect(kRead, kFile + ", +100xyz,7", 2, "89");
    for (const char* fields : {",4,9", ",4,4294967296", ",0,0"})
        expect(kRead, kFile + fields, 0);

    const std::string large(5000, 'x');
    mHub.setFile(kFile, large);
    expect(kRead, kFile + ",4091,0", 4091, large.substr(0, 4091));
    EXPECT_DEATH(ask(kRead, kFile + ",4092,0"), "no reply holds 4092 bytes");
    expect(kRead, "/data/vendor/sensorhub/none,4092,0", -ENOENT);
    EXPECT_TRUE(logged("I " + kLead + ": " + kDirectory +
                       "none open failed(-2) No such file or directory"));
    mHub.failRead(kFile, EIO);
    expect(kRead, kFile + ",4,0", -1);
}

TEST_F(FileManagerTest, WritesAtAnOffsetNoMoreThanAFieldHolds) {
    const std::string bytes = "a,b\0c,"s;
    expect(kWrite, kFile + ",6,0,1," + bytes, 6);
    EXPECT_EQ(mHub.readFile(kFile), bytes);
    struct stat status = {};
    ASSERT_EQ(stat(kFile.c_str(), &status), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(status.st_mode & 0777, 0660 & ~mask);
    // Without a reply, and into the middle of a file that keeps its tail.
    expectSilence(kWrite, kFile + ",2,1,0,XY", "I " + kLead + ": WRITE");
    EXPECT_EQ(mHub.readFile(kFile), "aXY\0c,"s);

    const std::string longest(4096 - (kFile + ",4096,0,1,").size(), 'z');
    expect(kWrite, kFile + ",4096,0,1," + longest, 4096);
    EXPECT_EQ(mHub.readFile(kFile), longest + std::string(4096 - longest.size(), '\0'));
    mHub.removeFile(kFile);
    for (const std::string size : {"4097", "2147483647", "-1"}) {
        expect(kWrite, kFile + "," + size + ",0,1,ab", -22);
        expectSilence(kWrite, kFile + "," + size + ",0,0,ab",
                      "E " + kLead + ": invalid size " + size);
    }
    EXPECT_FALSE(mHub.hasFile(kFile));
}

TEST_F(FileManagerTest, RefusesWhatIsNoNumberOrNoPlaceInAFile) {
    mHub.setFile(kFile, "content");
    const std::string file = kFile;
    for (const std::string& request :
         {""s, file, file + ",", file + ",,0", file + ",x,0", file + ",4,", file + ",4,-",
          file + ",4294967300,0", file + ",4", file + ",-2147483649,0",
          file + ",4,9223372036854775808", file + ",-1,0", file + ",4,-1"}) {
        expect(kRead, request, -22);
        expect(kWrite, request, -22);
    }
    for (const char* fields : {",2,0", ",2,0,", ",2,-1,1,ab", ",2,0,yes,ab"})
        expect(kWrite, kFile + fields, -22);
    EXPECT_TRUE(logged("E " + kLead + ": invalid flag yes"));
    expect(kRead, kFile + ",4,-1", -22);
    EXPECT_TRUE(logged("E " + kLead + ": seek to -1 failed(-22) Invalid argument"));
    EXPECT_EQ(mHub.readFile(kFile), "content");
}

TEST_F(FileManagerTest, OpensNeitherLinksNorWhatBlocks) {
    mHub.setFile(kFile, "x");
    const std::string link = kDirectory + "link";
    ASSERT_EQ(symlink((mHub.root() + kFile).c_str(), (mHub.root() + link).c_str()), 0);
    expect(kRead, link + ",1,0", -ELOOP);
    expect(kWrite, link + ",1,0,1,y", -ELOOP);
    expect(kRemove, kDirectory + std::string(4096, 'n'), -1);
    // A device that cannot seek.
    ASSERT_EQ(mkfifo((mHub.root() + "/data/vendor/pipe").c_str(), 0600), 0);
    expect(kRead, "/data/vendor/pipe,1,0", 0);
    expect(kWrite, "/data/vendor/pipe,1,0,1,y", -ENXIO);
}

TEST_F(FileManagerTest, RemovesUnlessTheControlFileFails) {
    mHub.setFile(kFile, "x");
    mHub.failOpen(kControl, EBUSY);
    expectSilence(kRemove, kFile,
                  "I " + kLead + ": shub_file open failed(-16) Device or resource busy");
    mHub.failRead(kControl, EIO);
    expectSilence(kRemove, kFile, "I " + kLead + ": shub_file read failed(-5)");
    expectSilence(3, kFile, "I " + kLead + ": invalid type 3  ");
    EXPECT_TRUE(mHub.hasFile(kFile));
    mHub.failWrite(kControl, ENODEV);
    expectSilence(kRemove, kFile, "E " + kLead + ": error(-19) No such device");
    EXPECT_FALSE(mHub.hasFile(kFile));
    mHub.setFile(kFile, "x");
    expect(kRemove, kFile, 0);
    EXPECT_LOG("I " + kLead + ": REMOVE", "I " + kLead + " " + kFile + " remove 0",
               "I " + kLead + ": result 0, sendLen 5");
    expect(kRemove, kFile + ",1,2,3,4", -1);
}

TEST_F(FileManagerTest, ServesOnlyWhenTheHubTookTheReadySignal) {
    const std::string lead = "SensorHubSensor::ready: ";
    const testing_support::Lines refused{"E " + lead + "error(-5) Input/output error"};
    EXPECT_FALSE(mSensor.isShownSensorList());
    mHub.failOpen(kControl, ENOENT);
    EXPECT_EQ(becomeReady(),
              (testing_support::Lines{"I " + lead +
                                      "shub_file open failed(-2) No such file or directory"}));
    expectSilence(kRemove, kFile, "E fm is not supported");
    mHub.failWrite(kControl, EIO);
    EXPECT_EQ(becomeReady(), refused);
    expectSilence(kRemove, kFile, "E fm is not supported");
    EXPECT_EQ(becomeReady(), testing_support::Lines{"I " + lead + "send FM READY"});
    // A refused signal leaves the state.
    mHub.failWrite(kControl, EIO);
    EXPECT_EQ(becomeReady(), refused);
    expect(kRemove, kFile, -1);

    for (const char command : {'\x00', '\xFA', '\xFD'}) {
        mHub.push(kHandle, std::string(11, command));
        LogCapture::take();
        mSensor.readEvents();
        EXPECT_LOG();
    }
    mHub.push(kHandle, std::string(11, '\xFB'));
    mHub.failRead(kHandle, ENODEV);
    mSensor.readEvents();
    EXPECT_LOG("E SensorHubSensor input data file descriptor not available - (No such device)");
}

}  // namespace
