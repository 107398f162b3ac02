#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "hub/SensorHubSensor.h"
#include "tests/unit/HubFixture.h"

namespace {

using namespace std::string_literals;
using namespace testing_support;
using Names = std::vector<std::string>;

enum { kRead, kWrite, kRemove };

constexpr int kHandle = 33;
constexpr char kControl[] = "/sys/class/sensors/hbx_sensor/shub_file";
const std::string kDirectory = "/data/vendor/sensorhub/";
const std::string kFile = kDirectory + "cal.bin";
const std::string kLead = "SensorHubSensor::fileManager";

class FileManagerTest : public HubFixture {
  protected:
    FileManagerTest() { becomeReady(); }
    ~FileManagerTest() override {
        EXPECT_EQ(mServices.violations(), Names{});
        EXPECT_EQ(mCallback.take().size(), 0u);
    }

    Lines becomeReady() {
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

    mHub.setFile(kFile, std::string(5000, 'x'));
    expect(kRead, kFile + ",4091,0", 4091, std::string(4091, 'x'));
    EXPECT_DEATH(ask(kRead, kFile + ",4092,0"), "no reply holds 4092 bytes");
    expect(kRead, "/data/vendor/sensorhub/none,4092,0", -ENOENT);
    EXPECT_TRUE(logged("I " + kLead + ": " + kDirectory +
                       "none open failed(-2) No such file or directory"));
    mHub.fail("read", kFile, EIO);
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
         {""s, file, file + ",,0", file + ",x,0", file + ",4,-", file + ",4294967300,0",
          file + ",4", file + ",4,9223372036854775808", file + ",-1,0", file + ",4,-1"}) {
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
    mHub.fail("open", kControl, EBUSY);
    expectSilence(kRemove, kFile,
                  "I " + kLead + ": shub_file open failed(-16) Device or resource busy");
    mHub.fail("read", kControl, EIO);
    expectSilence(kRemove, kFile, "I " + kLead + ": shub_file read failed(-5)");
    expectSilence(3, kFile, "I " + kLead + ": invalid type 3  ");
    EXPECT_TRUE(mHub.hasFile(kFile));
    mHub.fail("write", kControl, ENODEV);
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
    const Lines refused{"E " + lead + "error(-5) Input/output error"};
    mHub.fail("open", kControl, ENOENT);
    EXPECT_EQ(becomeReady(),
              (Lines{"I " + lead + "shub_file open failed(-2) No such file or directory"}));
    expectSilence(kRemove, kFile, "E fm is not supported");
    mHub.fail("write", kControl, EIO);
    EXPECT_EQ(becomeReady(), refused);
    expectSilence(kRemove, kFile, "E fm is not supported");
    EXPECT_EQ(becomeReady(), Lines{"I " + lead + "send FM READY"});
    // A refused signal leaves the state.
    mHub.fail("write", kControl, EIO);
    EXPECT_EQ(becomeReady(), refused);
    expect(kRemove, kFile, -1);

    mHub.push(kHandle, std::string(11, '\xFA'));
    LogCapture::take();
    mSensor.readEvents();
    EXPECT_LOG();
    mHub.push(kHandle, std::string(11, '\xFB'));
    mHub.fail("read", mHub.devicePath(kHandle), ENODEV);
    mSensor.readEvents();
    EXPECT_LOG("E SensorHubSensor input data file descriptor not available - (No such device)");
}

constexpr char kSource[] = "/sys/class/sensors/hbx_sensor/shub_dump";
const std::string kLatest = kDirectory + "shub_dump";

class HubDumpTest : public HubFixture {
  protected:
    HubDumpTest() {
        setenv("TZ", "XYZ-5:30", 1);
        tzset();
        mServices.setDumpContent("registers");
    }

    /** Has a dump saved; returns what was removed, as logged. */
    Names dump(int type, int count) {
        LogCapture::take();
        EXPECT_TRUE(mServices.requestDump(type, count));
        mSensor.readEvents();
        const std::string lead = "SensorHubSensor::deletePrevDump remove " + kDirectory;
        Names removed;
        for (const auto& line : LogCapture::lines()) {
            if (line.text.compare(0, lead.size(), lead) != 0) continue;
            EXPECT_EQ(line.level, 'I');
            removed.push_back(line.text.substr(lead.size()));
            EXPECT_FALSE(mHub.hasFile(kDirectory + removed.back()));
        }
        return removed;
    }

    Names kept() { return mHub.listDirectory(kDirectory); }

    SensorHubSensor mSensor{&mCallback};
};

/** Local time as in a dump's name; the zone is ahead of UTC by five hours and a half. */
std::string stampOf(time_t now) {
    const time_t shifted = now + 5 * 3600 + 30 * 60;
    tm utc = {};
    gmtime_r(&shifted, &utc);
    char text[16];
    strftime(text, sizeof(text), "%Y%m%d_%H%M%S", &utc);
    return text;
}

TEST_F(HubDumpTest, WritesTheStampedAndTheLatestFile) {
    const std::string content(10000, 'd');
    mServices.setDumpContent(content);
    const time_t begin = time(nullptr);
    EXPECT_EQ(dump(5, 3), Names{});
    const time_t end = time(nullptr);
    ASSERT_EQ(kept().size(), 2u);
    const std::string name = kept()[1];
    EXPECT_GE(name, "shub_dump_005_" + stampOf(begin));
    EXPECT_LE(name, "shub_dump_005_" + stampOf(end));
    EXPECT_EQ(mHub.readFile(kDirectory + name), content);
    EXPECT_EQ(mHub.readFile(kLatest), content);
    EXPECT_TRUE(logged("I SensorHubSensor dump type 5, count 3"));
    EXPECT_TRUE(logged("I SensorHubSensor::dump out " + name + ", count 3"));
    // The tail of a longer one stays.
    mServices.setDumpContent("registers");
    dump(255, 9);
    EXPECT_EQ(mHub.readFile(kLatest), "registers" + content.substr(9));
    EXPECT_EQ(kept().at(2).substr(0, 14), "shub_dump_255_");
}

// From two on it is the newest previous dump that gives way; one removes all of the type.
TEST_F(HubDumpTest, PreviousDumpsGiveWay) {
    const struct {
        int type;
        int limit;
        Names before;
        Names removed;
    } cases[] = {
        {5, 3, {"20240229_235959", "20240301_000000"}, {}},
        {5, 3, {"20240229_235959", "20371231_235959", "20240301_000000"}, {"20371231_235959"}},
        {5, 1, {"", "20240101_000000", "junk"}, {"", "20240101_000000", "junk"}},
        // Reached from the start: without a file of the type there is nothing to remove.
        {5, 0, {}, {}},
        {5, 0, {"20240101_000000", "20250101_000000"}, {"20250101_000000"}},
        // Names without a stamp neither count nor go.
        {5, 2, {"", "2024", "20241301_000000", "20240101_000000.old"}, {}},
        // State dumps keep two, whatever is asked.
        {0, 1, {"20240101_000000"}, {}},
        {0, 9, {"20240101_000000", "20240101_000001", "20231231_000000"}, {"20240101_000001"}},
    };
    const Names others = {"shub_dump_006_20300101_000000", "shub_dumpstat_20300101_000000",
                          "shub_dump_0055", "shub_dump_00", "s"};
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const std::string prefix = c.type == 0 ? "shub_dumpstate_" : "shub_dump_005_";
        for (const std::string& name : others)
            mHub.setFile(kDirectory + name, "old");
        for (const std::string& stamp : c.before)
            mHub.setFile(kDirectory + prefix + stamp, "old");
        Names expected;
        for (const std::string& stamp : c.removed)
            expected.push_back(prefix + stamp);
        Names removed = dump(c.type, c.limit);
        std::sort(removed.begin(), removed.end());
        EXPECT_EQ(removed, expected);
        for (const char* bad : {"", "2024"}) {
            const bool isThere = c.limit == 2 && c.type == 5;
            EXPECT_EQ(logged(std::string("E deletePrevDump: str time ") + bad +
                             " error: Invalid argument"),
                      isThere);
        }
        // The new dump and the latest one have come.
        EXPECT_EQ(kept().size(), others.size() + c.before.size() - expected.size() + 2);
        for (const std::string& name : kept())
            mHub.removeFile(kDirectory + name);
    }
}

TEST_F(HubDumpTest, CopyFailures) {
    // Without a source the target is made all the same, and stays empty.
    mHub.fail("open", kSource, EACCES, 1, 2);
    dump(4, 9);
    EXPECT_EQ(mHub.readFile(kLatest), "");
    EXPECT_NE(LogCapture::lines().back().text.find(std::string("inFd(-1)=") + kSource + ", outFd("),
              std::string::npos);
    mHub.removeFile(kLatest);
    mHub.fail("open", kLatest, EACCES);
    dump(4, 2);
    const auto line = LogCapture::lines().back();
    EXPECT_EQ(line.level, 'E');
    EXPECT_EQ(line.text.rfind("SensorHubSensor::copyFile: open error: Permission denied, inFd(", 0),
              0U);
    EXPECT_NE(line.text.find(std::string(")=") + kSource + ", outFd(-1)=" + kLatest),
              std::string::npos);
    // A failed write costs its chunk alone.
    mServices.setDumpContent(std::string(4096, 'a') + std::string(4096, 'b') + "c");
    mHub.fail("write", kLatest, ENOSPC);
    dump(4, 9);
    EXPECT_TRUE(logged("E SensorHubSensor::copyFile: write error: No space left on device"));
    EXPECT_EQ(mHub.readFile(kLatest), std::string(4096, 'b') + "c");
}

}  // namespace
