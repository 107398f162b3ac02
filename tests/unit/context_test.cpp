#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "hub/QContextSensor.h"
#include "hub/SensorHubDataWriter.h"
#include "tests/unit/HubFixture.h"

namespace {

using namespace testing_support;

constexpr int kHandle = 32;
constexpr char kList[] = "/sys/class/sensors/hbx_sensor/qcontext_list";

using Messages = std::vector<std::string>;
using Words = std::vector<uint32_t>;
/** An event's type, and its payload without the zeros at the end. */
using Seen = std::pair<int32_t, Words>;

class QContextSensorTest : public HubFixture {
  protected:
    QContextSensorTest() { LogCapture::take(); }

    /** The events of the one post since the last call. */
    std::vector<Seen> posted() {
        std::vector<Seen> all;
        const auto posts = mCallback.take();
        EXPECT_EQ(posts.size(), 1u);
        for (const auto& post : posts) {
            EXPECT_FALSE(post.wakeup);
            for (const Event& event : post.events) {
                EXPECT_EQ(event.sensorHandle, kHandle);
                Words words(16);
                memcpy(words.data(), &event.u, sizeof(event.u));
                while (!words.empty() && words.back() == 0)
                    words.pop_back();
                all.emplace_back(static_cast<int32_t>(event.sensorType), words);
                mTimestamp = event.timestamp;
            }
        }
        return all;
    }

    /** Sends one record through. */
    void pass(int32_t size, uint16_t begin, uint16_t end, const std::string& data,
              int64_t timestamp) {
        EXPECT_TRUE(mServices.pushContext(size, begin, end, data, timestamp));
        LogCapture::take();
        mSensor.readEvents();
    }

    QContextSensor mSensor{&mCallback};
    int64_t mTimestamp = -1;  // of the last event posted
};

TEST_F(QContextSensorTest, DescribesItself) {
    const SensorInfo& info = mSensor.getSensorInfo();
    EXPECT_EQ(info.sensorHandle, 32);
    EXPECT_EQ(std::string(info.name), "Qcontext");
    EXPECT_EQ(std::string(info.vendor), "Tavrine Inc.");
    EXPECT_EQ(info.version, 2);
    EXPECT_EQ(static_cast<int32_t>(info.type), 65586);
    EXPECT_EQ(std::string(info.typeAsString), "com.tavrine.sensor.sensorhubs");
    EXPECT_EQ(info.maxRange, 1);
    EXPECT_EQ(info.minDelay, 0);
    EXPECT_EQ(std::string(info.requiredPermission), "com.tavrine.permission.QSENSOR");
    EXPECT_EQ(info.maxDelay, 20000);
    EXPECT_EQ(info.flags, 6u);
    // The base's enable and this class's own.
    EXPECT_EQ(mHub.requests(Request::Kind::kBufferEnable).size(), 2u);
    EXPECT_EQ(mSensor.batch(kHandle, 1, 2), 0);
    EXPECT_EQ(mSensor.injectSensorData({}), 0);
    EXPECT_TRUE(logged("I QContextSensor::injecet_sensor_data"));
}

TEST_F(QContextSensorTest, PostsRecordsAsTheyAre) {
    pass(100, 0, 2, std::string("\1\2\377\4", 4), 123456789012);
    EXPECT_EQ(posted(), (std::vector<Seen>{{65586, {100, 0x00020000, 0x04FF0201}}}));
    EXPECT_EQ(mTimestamp, 123456789012);
    EXPECT_LOG("I context 100 0 2 1,2,255, 123456789012");

    EXPECT_EQ(mSensor.flush(kHandle), 0);
    EXPECT_EQ(posted(), (std::vector<Seen>{{0, {1}}}));

    pass(4, 0, 0, "x", 0);
    EXPECT_EQ(posted().size(), 1u);
    EXPECT_EQ(mTimestamp, 0);
    EXPECT_LOG("I QContextSensor: SensorHub reset");

    mServices.pushContext(1, 0, 0, "", 1);
    mHub.fail("read", mHub.devicePath(kHandle), EIO);
    mSensor.readEvents();
    EXPECT_LOG(
        "E QContextSensor :input data file descriptor not "
        "available - (Input/output error)");
    EXPECT_EQ(mCallback.take().size(), 0u);
}

TEST_F(QContextSensorTest, RendersOnlyPlausibleRangesAndStoredBytes) {
    std::string sevens;
    for (int i = 0; i < 56; ++i)
        sevens += "7,";
    // Behind the data are the bytes of the timestamp, 9 and seven times 0; behind the record, 0.
    const std::string all = sevens + "9,0,0,0,0,0,0,0,";
    const struct {
        int32_t size;
        uint16_t begin;
        uint16_t end;
        std::string line;
    } cases[] = {
        {2, 0, 2, ""},
        {2, 1, 1, ""},
        {-1, 0, 1, ""},
        {70000, 65535, 0, ""},
        {70000, 0, 65, ""},
        {70000, 65534, 65535, "context 70000 65534 65535 7,7, 9"},
        {100, 0, 55, "context 100 0 55 " + sevens + " 9"},
        {100, 0, 63, "context 100 0 63 " + all + " 9"},
        {100, 1, 65, "context 100 1 65 " + all + "0, 9"},
    };
    for (const auto& c : cases) {
        pass(c.size, c.begin, c.end, std::string(56, '\7'), 9);
        EXPECT_EQ(LogCapture::take(), c.line.empty() ? Lines{} : (Lines{"I " + c.line}));
    }
}

TEST_F(QContextSensorTest, AnnouncesTheContextListWhenEnabled) {
    mServices.setContextList({0x11, 0xFFFFFFFF, 0, 0x40000000});
    const int64_t begin = QContextSensor::getTimestamp();
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_EQ(posted(), (std::vector<Seen>{{33, {}},
                                           {33, {0x10000002, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}},
                                           {33, {1, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}}}));
    EXPECT_GE(mTimestamp, begin);
    EXPECT_TRUE(logged("I QContext List : 0x11 0xffffffff 0x0 0x40000000"));
    // The last list is still there when the next frame begins.
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_EQ(posted().at(0), (Seen{33, {0, 0, 0x11, 0xFFFFFFFF, 0, 0x40000000}}));
    EXPECT_EQ(mSensor.enable(kHandle, false), 0);
    EXPECT_EQ(mCallback.take().size(), 0u);
}

TEST_F(QContextSensorTest, EnablesWithoutAReadableListButNotWithoutTheFile) {
    mHub.fail("read", kList, EIO);
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_TRUE(logged("E QContextSensor : qcontext list read failed - (Input/output error)"));
    mHub.removeFile(kList);
    EXPECT_EQ(mSensor.enable(kHandle, true), 0);
    EXPECT_TRUE(
        logged("E QContextSensor : qcontext list open failed - (No such file or directory)"));
    EXPECT_EQ(mCallback.take().size(), 0u);

    // A second object finds the device taken, but does not get as far as to notice.
    QContextSensor second(&mCallback);
    EXPECT_EQ(second.enable(kHandle, true), 0);
    mServices.setContextList({});
    EXPECT_EQ(second.enable(kHandle, true), -EIO);
}

constexpr char kDevice[] = "/dev/hbx_sensorhub";

/** Each byte is its position. */
std::string counted(size_t size) {
    std::string bytes(size, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    return bytes;
}

class SensorHubDataWriterTest : public HubFixture {
  protected:
    SensorHubDataWriterTest() { open(); }
    ~SensorHubDataWriterTest() override { close(hbx_data_injection_fd); }

    void open() {
        LogCapture::take();
        mWriter = std::make_unique<SensorHubDataWriter>();
    }

    /** Passes start (s), data (d), end (e) or other (x) events of a length and checks the results:
     *  "s60=0 d56=56 d4=60 e60=-1". */
    void give(const std::string& script) {
        std::istringstream steps(script);
        for (std::string step; steps >> step;) {
            const std::map<char, uint32_t> kinds{{'s', 0}, {'e', 1}, {'d', 0x42554853}, {'x', 2}};
            const auto length = static_cast<uint32_t>(std::stoul(step.substr(1)));
            const uint32_t head[] = {kinds.at(step[0]), length};
            Event event = {};
            memcpy(&event.u, head, sizeof(head));
            memcpy(&event.u.data[2], counted(56).data(),
                   step[0] == 's' ? 56 : std::min(length, 56U));
            EXPECT_EQ(mWriter->handleData(event), std::stoi(step.substr(step.find('=') + 1)))
                << step;
        }
    }

    /** The messages that have arrived since the last call. */
    Messages messages() {
        Messages all = mServices.messages();
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(mSeen));
        mSeen += all.size();
        return all;
    }

    std::unique_ptr<SensorHubDataWriter> mWriter;
    size_t mSeen = 0;
};

TEST_F(SensorHubDataWriterTest, PutsMessagesTogether) {
    const std::string name = "SensorHubDataWriter: ";
    const std::string notStarted = "E " + name + "does not start injection";
    const std::string notFinished = "E " + name + "injection was not finished";
    const std::string noRoom = "E " + name + "SetHubData failed , Not enough buffer ";
    std::string longest = "s1119=0";
    std::string longestMessage;
    for (int i = 1; i <= 19; ++i) {
        longest += " d56=" + std::to_string(56 * i);
        longestMessage += counted(56);
    }
    const auto expect = [this](const std::string& script, const Messages& sent,
                               const Lines& lines) {
        SCOPED_TRACE(script);
        LogCapture::take();
        give(script);
        EXPECT_EQ(messages(), sent);
        for (const auto& line : lines)
            EXPECT_TRUE(logged(line)) << line;
    };
    expect("s10=-1 s55=-1 s0=-1 e0=-1", {counted(10), counted(55), ""}, {notStarted});
    expect("s56=0 d56=56 e56=-1 e56=-1", {counted(56)}, {notStarted});
    // Sixteen bytes to a line, the rest on the last.
    expect("s60=0 d56=56 d4=60 e60=-1", {counted(56) + counted(4)},
           {"D 0102030405060708090a0b0c0d0e0f10 ", "D 313233343536373801020304 "});
    expect(longest + " d55=1119 e1119=-1", {longestMessage + counted(55)}, {});
    // One byte more is let in and gets no room; two more are not let in.
    expect("s1120=0 d1=-1 e1120=-1", {}, {notFinished});
    expect("s1121=-1 d1=-1", {}, {"D " + name + "too big data", notStarted});
    expect("s2147483648=-1 d1=-1 s4294967295=-1 d1=-1", {}, {notStarted});
    // A refused chunk leaves the message open and untouched.
    expect("s100=0 d56=56 d45=-1 d64=-1 d44=100 e100=-1", {counted(56) + counted(44)},
           {noRoom + "45", noRoom + "64"});
    expect("s1000=0 d57=-1 d2147483647=-1 d2147483648=-1 d4294967295=-1 d56=56 e1000=-1", {},
           {notFinished});
    expect("s60=0 d56=56 d4=60 e61=-1", {}, {notFinished});
    // A new start drops the message at hand; an unknown kind does not.
    expect(
        "s120=0 d56=56 s60=0 d56=56 x56=-1 d4=60 e60=-1", {counted(56) + counted(4)},
        {"D " + name + "injection was not finished", "I " + name + "does not support this type 2"});
}

TEST_F(SensorHubDataWriterTest, RetriesInterruptedWritesAndReportsOthers) {
    const std::string begin = "D inject_qcontext_data: New hbx_data_injection_fd(" +
                              std::to_string(hbx_data_injection_fd) + ")";
    LogCapture::take();
    mHub.fail("write", kDevice, EINTR);
    give("s10=-1");
    EXPECT_LOG("D 0102030405060708090a ", begin, "E inject_qcontext_data: EINTR! retry to write",
               "D QContext Data Injection return 10");
    mHub.fail("write", kDevice, EIO);
    const uint8_t bytes[] = {1, 2};
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, 2), -EIO);
    EXPECT_LOG(begin, "E inject_qcontext_data: error(-5) Input/output error",
               "D QContext Data Injection return -1");
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, 2), 2);
    EXPECT_EQ(SensorHubDataWriter::inject_qcontext_data(bytes, -1), -EINVAL);
    EXPECT_TRUE(logged("E inject_qcontext_data: error(-22) Invalid argument"));
    EXPECT_EQ(messages(), (Messages{counted(10), "\1\2"}));
}

TEST_F(SensorHubDataWriterTest, TakesTheFirstDeviceThatOpens) {
    const std::string opened = "E SensorHubDataWriter: open sensorhub device ";
    close(hbx_data_injection_fd);
    mHub.fail("open", kDevice, EACCES, 1, simulator::SimulatedHub::kForever);
    Messages fallback;
    simulator::NodeHandler handler;
    handler.onWrite = [&](const std::string& bytes) {
        fallback.push_back(bytes);
        return static_cast<ssize_t>(bytes.size());
    };
    mHub.setHandler("/dev/shub_sensorhub", handler);
    open();
    EXPECT_TRUE(logged("I SensorHubDataWriter::SensorHubDataWriter()") &&
                logged("I SensorHubDataWriter::~SensorHubDataWriter()"));
    EXPECT_TRUE(logged(opened + "failed(-1) Permission denied"));
    EXPECT_TRUE(logged(opened + "success(" + std::to_string(hbx_data_injection_fd) + ")"));
    give("s2=-1");
    EXPECT_EQ(fallback, Messages{"\1\2"});

    close(hbx_data_injection_fd);
    mHub.removeFile("/dev/shub_sensorhub");
    open();
    EXPECT_LT(hbx_data_injection_fd, 0);
    give("s60=0 d56=56 d4=60 e60=-1");
    EXPECT_TRUE(logged("E inject_qcontext_data: invalid hbx_data_injection_fd(-1)"));
}

}  // namespace
