#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "hub/SensorHubSensor.h"
#include "tests/unit/HubFixture.h"

namespace {

using android::hardware::sensors::V2_0::zelva_sensorhub::SensorHubSensor;
using testing_support::LogCapture;

using Names = std::vector<std::string>;

constexpr char kSource[] = "/sys/class/sensors/hbx_sensor/shub_dump";
constexpr char kDirectory[] = "/data/vendor/sensorhub/";
constexpr char kLatest[] = "/data/vendor/sensorhub/shub_dump";

class HubDumpTest : public testing_support::HubFixture {
  protected:
    HubDumpTest() {
        setenv("TZ", "XYZ-5:30", 1);
        tzset();
        mServices.setDumpContent("registers");
    }

    /** Has a dump saved and answers what was removed, as logged. */
    Names dump(int type, int count) {
        LogCapture::take();
        EXPECT_TRUE(mServices.requestDump(type, count));
        mSensor.readEvents();
        const std::string lead =
            std::string("SensorHubSensor::deletePrevDump remove ") + kDirectory;
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
    mHub.failOpen(kSource, EACCES, 1, 2);
    dump(4, 9);
    EXPECT_EQ(mHub.readFile(kLatest), "");
    EXPECT_NE(LogCapture::lines().back().text.find(std::string("inFd(-1)=") + kSource + ", outFd("),
              std::string::npos);
    mHub.removeFile(kLatest);
    mHub.failOpen(kLatest, EACCES);
    dump(4, 2);
    const auto line = LogCapture::lines().back();
    EXPECT_EQ(line.level, 'E');
    EXPECT_EQ(line.text.rfind("SensorHubSensor::copyFile: open error: Permission denied, inFd(", 0),
              0U);
    EXPECT_NE(line.text.find(std::string(")=") + kSource + ", outFd(-1)=" + kLatest),
              std::string::npos);
    // A failed write costs its chunk alone.
    mServices.setDumpContent(std::string(4096, 'a') + std::string(4096, 'b') + "c");
    mHub.failWrite(kLatest, ENOSPC);
    dump(4, 9);
    EXPECT_TRUE(logged("E SensorHubSensor::copyFile: write error: No space left on device"));
    EXPECT_EQ(mHub.readFile(kLatest), std::string(4096, 'b') + "c");
}

}  // namespace
