// The whole library through its exported function: start and end, requests, events.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <utils/AndroidThreads.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <optional>

#include "tests/support/LoadedSubHal.h"

namespace {

using namespace std::string_literals;
using namespace testing_support;
using Times = std::vector<int64_t>;

constexpr char kEnable[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlush[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr char kBatch[] = "/dev/batch_io";

std::string eventCode(uint8_t code, uint64_t timestamp) {
    return RecordBuilder().u8(code).u64(timestamp).bytes();
}

struct Priority {
    std::atomic<int> thread{0};
    std::atomic<int> value{0};
} gPriority;

/** With an accelerometer, a barometer, and sensors that wake, fire once, and take their period. */
class Library : public testing::Test, protected LoadedSubHal {
  protected:
    Library() : LoadedSubHal(options()) { EXPECT_TRUE(hub().waitIdle()); }

    static Options options() {
        Options options = onlySensors({1, 6, 8, 17, 47});
        options.sensors[3].fifoMax = 10;
        return options;
    }
};

TEST_F(Library, StartsAndStops) {
    EXPECT_EQ(LogCapture::lines().front(), "I create SensorsSubHal");
    EXPECT_TRUE(LogCapture::contains("I startThread " + std::to_string(gPriority.thread)));
    EXPECT_TRUE(LogCapture::contains("I thread run"));
    EXPECT_EQ(gPriority.value, -8);
    uint32_t version = 0;
    EXPECT_EQ(library().entryPoint()(&version), &hal());
    EXPECT_EQ(version, 0x02000000u);
    EXPECT_EQ(hal().getName(), "sensorhub");
    EXPECT_EQ(hal().setOperationMode(OperationMode::NORMAL), Result::BAD_VALUE);
    EXPECT_EQ(hal().setOperationMode(OperationMode::DATA_INJECTION), Result::BAD_VALUE);
    EXPECT_TRUE(hal().debug({}, {}).isOk());
    EXPECT_EQ(hal().initialize({}, {}, nullptr), Result::INVALID_OPERATION);
    std::vector<int> handles;
    for (const auto& info : host_proxy::sensorsOf(hal()))
        handles.push_back(info.sensorHandle);
    EXPECT_EQ(handles, (std::vector<int>{1, 6, 8, 17, 47, 32}));
    LogCapture::take();
    ASSERT_TRUE(unload());
    const auto log = LogCapture::take();
    const auto stop = std::find(log.begin(), log.end(), "I thread stop");
    EXPECT_NE(std::find(stop, log.end(), "I destroy SensorsSubHal"), log.end());
}

TEST(EmptyLibrary, StartsNoThread) {
    LoadedSubHal subHal({}, [](simulator::SimulatedHub& hub) {
        hub.removeFile("/sys/class/sensors/hbx_sensor/sensor_spec");
    });
    EXPECT_TRUE(subHal.unload());
    EXPECT_LOG("I create SensorsSubHal", "E makeSensorList: open failed. No such file or directory",
               "I destroy SensorsSubHal");
}

TEST_F(Library, Requests) {
    using Call = std::function<Result(ISensorsSubHal&)>;
    const auto activate = [](int handle, bool on) -> Call {
        return [=](ISensorsSubHal& hal) { return hal.activate(handle, on); };
    };
    const auto batch = [](int handle, int64_t period, int64_t latency) -> Call {
        return [=](ISensorsSubHal& hal) { return hal.batch(handle, period, latency); };
    };
    const auto flush = [](int handle) -> Call {
        return [=](ISensorsSubHal& hal) { return hal.flush(handle); };
    };
    const auto batched = [](int64_t period, int64_t latency) {
        return RecordBuilder().i64(latency).i64(period).i64(0).bytes();
    };
    const std::string on1 = "I queueActivate: handle 1 enable 1";
    const std::string batch1 = "I queueBatch: handle=1 period=5000000 timeout=7";
    // `fault` is the path whose access, or with "open " in front whose opening, fails with EIO.
    const auto expect = [this](const Call& call, const std::string& fault, Result result,
                               const std::string& sent, const Lines& lines) {
        SCOPED_TRACE(lines.empty() ? "nothing logged" : lines.back().text);
        if (fault.find("open ") == 0) hub().fail("open", fault.substr(5), EIO);
        if (fault == kBatch) hub().fail("ioctl", kBatch, EIO);
        if (fault == kEnable || fault == kFlush) hub().fail("write", fault, EIO);
        hub().clearRequests();
        EXPECT_EQ(call(hal()), result);
        EXPECT_EQ(LogCapture::take(), lines);
        const auto requests = hub().requests();
        ASSERT_EQ(requests.size(), sent.empty() ? 0U : 1U);
        if (requests.empty()) return;
        const Request& request = requests[0];
        const bool isBatch = request.kind == Request::Kind::kBatch;
        const bool isFlush = request.path == kFlush;
        EXPECT_EQ(request.bytes, sent);
        EXPECT_EQ(request.error, fault.empty() ? 0 : EIO);
        EXPECT_EQ(request.path, isBatch ? kBatch : isFlush ? kFlush : kEnable);
        EXPECT_EQ(request.access, isBatch ? O_RDONLY : isFlush ? O_WRONLY : O_RDWR);
        EXPECT_TRUE(!isBatch || (request.ioctlNumber & ~0xFFu) == 0x8008FC00u);
    };
    constexpr Result kOk = Result::OK;
    constexpr Result kBad = Result::BAD_VALUE;
    initialize();
    // Handle and digit with their NUL.
    expect(activate(17, true), "", kOk, "171\0"s,
           {"I queueActivate: handle 17 enable 1", "I type : 17, enable : 1"});
    expect(activate(6, false), "", kOk, "60\0"s,
           {"I queueActivate: handle 6 enable 0", "I type : 6, enable : 0"});
    expect(activate(2, true), "", kBad, "",
           {"I queueActivate: handle 2 enable 1", "E queueActivate: unhandled handle=2, enable=1"});
    expect(activate(1, true), "open "s + kEnable, kBad, "",
           {on1, "W queueActivate: fd open failed(-1)"});
    expect(activate(1, true), kEnable, kBad, "11\0"s,
           {on1, "I type : 1, enable : 1",
            "E queueActivate: write failed. ret=-1, handle =1, enable =1"});
    expect(batch(1, 5000000, 7), "", kOk, batched(5000000, 7), {batch1});
    // The simulated accelerometer's minimum delay is 2,000 µs; on-change sensors have none.
    expect(batch(1, 1000, 0), "", kOk, batched(2000000, 0),
           {"I batch: period=1000 minDelay=2000000",
            "I queueBatch: handle=1 period=2000000 timeout=0"});
    expect(batch(1, INT64_MAX, INT64_MAX), "", kOk, batched(INT64_MAX, INT64_MAX),
           {"I queueBatch: handle=1 period=9223372036854775807 timeout=9223372036854775807"});
    expect(batch(8, 1, 0), "", kOk, batched(1, 0), {"I queueBatch: handle=8 period=1 timeout=0"});
    expect(batch(2, 1, 1), "", kBad, "", {});
    expect(batch(1, 5000000, 7), "open "s + kBatch, kBad, "",
           {batch1, "E queueBatch: open batch device failed(-1)\n"});
    expect(batch(1, 5000000, 7), kBatch, kBad, batched(5000000, 7),
           {batch1, "E queueBatch: batch ret -1 Input/output error\n"});
    expect(flush(6), "", kOk, "6\0"s, {"I flush: handle=6"});
    expect(flush(2), "", kBad, "", {"I flush: handle=2", "E flush: unhandled handle=2"});
    expect(flush(17), "", kBad, "", {"I flush: handle=17"});  // one-shot
    expect(flush(1), "open "s + kFlush, kBad, "", {"I flush: handle=1"});
    expect(flush(1), kFlush, kBad, "1\0"s, {"I flush: handle=1", "I flush write failed"});
    // The row followed the switch that the hub refused: events pass.
    EXPECT_EQ(timestamps(1, sample(5)), Times{5});
}

TEST_F(Library, HandlesOutsideTheTableAreRefusedEverywhere) {
    initialize();
    Event event = {};
    for (const int handle : {0, 5, 72, -1, 73, 74, 255, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(hal().activate(handle, true), Result::BAD_VALUE);
        EXPECT_EQ(hal().batch(handle, 1, 1), Result::BAD_VALUE);
        EXPECT_EQ(hal().flush(handle), Result::BAD_VALUE);
        LogCapture::take();
        event.sensorHandle = handle;
        EXPECT_EQ(hal().injectSensorData(event), Result::BAD_VALUE);
        EXPECT_LOG("E injectSensorData: unhandled handle=" + std::to_string(handle));
    }
    EXPECT_TRUE(hub().requests().empty());
}

TEST_F(Library, SensorObjectsComeBehindTheHubAndGetInjections) {
    initialize();
    // The sequential step detector takes its period as a threshold, which shows what reached it.
    EXPECT_EQ(hal().batch(47, 2500000, 0), Result::OK);
    const auto requests = hub().requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].ioctlNumber, 0x8008FC2Fu);
    EXPECT_EQ(requests[1].bytes, RecordBuilder().u8(1).u8(47).u8(0x80).i64(2).bytes());
    hub().fail("ioctl", kBatch, EIO);
    EXPECT_EQ(hal().batch(47, 2500000, 0), Result::BAD_VALUE);
    EXPECT_EQ(hub().requests().size(), 3u);

    Event event = {};
    event.sensorHandle = 1;
    const uint32_t code = 2;
    memcpy(&event.u, &code, sizeof(code));
    EXPECT_EQ(hal().injectSensorData(event), Result::OK);
    EXPECT_EQ(hub().requests().size(), 4u);
    hub().fail("write", "/dev/shub_data_injection", EIO);
    EXPECT_EQ(hal().injectSensorData(event), Result::BAD_VALUE);
}

TEST_F(Library, OnlyEnabledSensorsReachTheLatestProxy) {
    ASSERT_EQ(hal().activate(1, true), Result::OK);
    LogCapture::take();
    ASSERT_TRUE(deliver(1, sample(5)));
    EXPECT_LOG("I postEvents: mCallBack is null");
    const android::sp<IHalProxyCallback> first = new HalProxyCallback;
    EXPECT_EQ(hal().initialize(first), Result::OK);
    EXPECT_LOG("I SensorsSubHal::initialize", "E sensorhub initialize");

    initialize();
    EXPECT_EQ(timestamps(1, sample(6)), Times{6});
    EXPECT_EQ(proxy().wakelock().taken(), 0);
    ASSERT_EQ(hal().activate(1, false), Result::OK);
    LogCapture::take();
    EXPECT_EQ(timestamps(1, sample(7)), Times{});
    EXPECT_LOG();

    // Those that wake the system hold a wakelock during the call.
    ASSERT_EQ(hal().activate(8, true), Result::OK);
    EXPECT_EQ(timestamps(8, eventCode(1, 8)), Times{8});
    EXPECT_EQ(proxy().wakelock().taken(), 1);
    EXPECT_EQ(proxy().wakelock().held(), 0);
}

TEST_F(Library, AOneShotSensorIsSwitchedOffOnceItHasFired) {
    initialize();
    ASSERT_EQ(hal().activate(17, true), Result::OK);
    LogCapture::take();
    EXPECT_EQ(timestamps(17, eventCode(1, 5)).size(), 1u);
    EXPECT_EQ(timestamps(17, eventCode(1, 6)), Times{});
    EXPECT_TRUE(LogCapture::contains("I queueActivate: handle 17 enable 0"));

    // Even without a record to read.
    ASSERT_EQ(hal().batch(17, 0, 1000000), Result::OK);
    hub().setDataAvailable(17, "0\n");
    ASSERT_TRUE(hub().push(17, eventCode(1, 5)));
    const auto isSwitchedOff = [](const Request& request) { return request.bytes == "170\0"s; };
    hub().clearRequests();
    EXPECT_TRUE(hub().waitForRequest(isSwitchedOff));
    hub().setDataAvailable(17, std::nullopt);
    ASSERT_TRUE(hub().waitIdle());
    EXPECT_EQ(timestamps(), Times{});
}

}  // namespace

// Replaces the platform's: notes the poll thread's priority.
extern "C" __attribute__((visibility("default"))) int androidSetThreadPriority(pid_t thread,
                                                                               int priority) {
    gPriority.thread = thread;
    gPriority.value = priority;
    return 0;
}
