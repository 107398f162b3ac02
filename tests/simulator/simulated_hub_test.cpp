#include "simulator/SimulatedHub.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "simulator/World.h"
#include "tests/kernel/HubScript.h"

namespace simulator {
namespace {

using namespace std::string_literals;

constexpr char kEnable[] = "/sys/class/sensors/hbx_sensor/enable";
constexpr char kFlush[] = "/sys/class/sensors/hbx_sensor/hbx_flush";
constexpr int kAcc = 1;
constexpr int kProximity = 8;

/** One write as a driver's file wants it; 0 or the errno. */
int writeTo(const std::string& path, const std::string& bytes) {
    const int fd = open(path.c_str(), O_WRONLY);
    if (fd < 0) return errno;
    const int error = write(fd, bytes.data(), bytes.size()) < 0 ? errno : 0;
    close(fd);
    return error;
}

int batch(unsigned long request, int64_t timeout, int64_t delay, int64_t flagAndPadding) {
    const int64_t record[3] = {timeout, delay, flagAndPadding};
    const int fd = open("/dev/batch_io", O_RDONLY);
    const int error = ioctl(fd, request, record) < 0 ? errno : 0;
    close(fd);
    return error;
}

class SimulatedHubTest : public ::testing::Test {
  protected:
    explicit SimulatedHubTest(const SimulatedHub::Options& options = {}) : mHub(options) {}

    std::string attribute(int handle, const std::string& name) const {
        return mHub.attributePath(handle, name);
    }
    int openDevice(int handle) const { return open(mHub.devicePath(handle).c_str(), O_RDONLY); }
    int startDevice(int handle) const {
        EXPECT_EQ(0, writeTo(attribute(handle, "buffer/length"), "600\n"));
        EXPECT_EQ(0, writeTo(attribute(handle, "buffer/enable"), "1\n"));
        return openDevice(handle);
    }

    /** The record that one read of the device gives, or the name of its errno. */
    static std::string readRecord(int fd, size_t size = 14) {
        std::string record(size, 'x');
        const ssize_t got = read(fd, record.data(), size);
        if (got < 0) return strerrorname_np(errno);
        record.resize(static_cast<size_t>(got));
        return record;
    }
    static bool isReadable(int fd, int timeoutMs = 0) {
        pollfd ready{fd, POLLIN, 0};
        return poll(&ready, 1, timeoutMs) == 1;
    }

    SimulatedHub mHub;
};

const std::string kRecord(14, 'a');

TEST_F(SimulatedHubTest, RequestsAreTakenOnlyInTheDriversForm) {
    EXPECT_EQ(0, writeTo(kEnable, "11\0"s));
    EXPECT_TRUE(mHub.device(kAcc).enabled);
    for (const std::string& bad : {"11"s, "12\0"s, "1\0"s, "011\0"s, "31\0"s, "1 1\0"s}) {
        EXPECT_EQ(EINVAL, writeTo(kEnable, bad)) << bad;
    }
    EXPECT_EQ(0, writeTo(kFlush, "14\0"s));
    for (const std::string& bad : {"14"s, "3\0"s, "x\0"s})
        EXPECT_EQ(EINVAL, writeTo(kFlush, bad));
    EXPECT_EQ(0, batch(0x8008FC01, 7, 5000000, 0));
    EXPECT_EQ(EINVAL, batch(0x8008FC01, 0, 1, 1));          // flag
    EXPECT_EQ(EINVAL, batch(0x8008FC01, 0, 1, 1LL << 32));  // padding
    EXPECT_EQ(EINVAL, batch(0x8008FC03, 0, 1, 0));          // no such sensor
    EXPECT_EQ(ENOTTY, batch(0x8008FD01, 0, 1, 0));
    EXPECT_EQ(0, writeTo("/dev/shub_data_injection", "\x01\x08xyz"));
    EXPECT_EQ(EINVAL, writeTo("/dev/shub_data_injection", "\x02\x08xyz"));
    EXPECT_EQ(EINVAL, writeTo("/dev/hbx_data_injection", "\x01\x07xyz"));

    const std::vector<Request> requests = mHub.requests();
    ASSERT_EQ(19U, requests.size());
    EXPECT_EQ(Request::Kind::kEnable, requests[0].kind);
    EXPECT_EQ("11\0"s, requests[0].bytes);
    EXPECT_EQ(EINVAL, requests[1].error);
    EXPECT_EQ(5000000, mHub.device(kAcc).periodNs);
    EXPECT_EQ(7, mHub.device(kAcc).latencyNs);
    EXPECT_EQ("\x01\x08xyz", requests[16].bytes);
}

class AccelerometerHub : public hub_script::Hub {
  public:
    std::string devicePath() const override { return mHub.devicePath(kAcc); }
    std::string attributePath(const std::string& name) const override {
        return mHub.attributePath(kAcc, name);
    }
    bool push(const std::string& record) override { return mHub.push(kAcc, record); }
    void drop() override { mHub.dropDevice(kAcc); }

  private:
    SimulatedHub mHub;
};

class HubScriptTest : public ::testing::TestWithParam<hub_script::Script> {};

TEST_P(HubScriptTest, EndsAsOnARealKernel) {
    AccelerometerHub hub;
    play(GetParam(), hub);
}

INSTANTIATE_TEST_SUITE_P(All, HubScriptTest, ::testing::ValuesIn(hub_script::scripts()),
                         [](const auto& script) { return script.param.name; });

TEST_F(SimulatedHubTest, FaultsStrikeTheChosenCall) {
    mHub.failOpen(kEnable, EACCES, 2);
    EXPECT_EQ(0, writeTo(kEnable, "11\0"s));
    EXPECT_EQ(EACCES, writeTo(kEnable, "11\0"s));
    EXPECT_EQ(0, writeTo(kEnable, "11\0"s));
    mHub.failWrite(kFlush, EIO, 1, 2);
    EXPECT_EQ(EIO, writeTo(kFlush, "1\0"s));
    EXPECT_EQ(EIO, writeTo(kFlush, "1\0"s));
    EXPECT_EQ(0, writeTo(kFlush, "1\0"s));
    mHub.failIoctl("/dev/batch_io", EFAULT);
    EXPECT_EQ(EFAULT, batch(0x8008FC01, 0, 9, 0));
    EXPECT_EQ(0, mHub.device(kAcc).periodNs);

    const int fd = startDevice(kAcc);
    mHub.failRead(kAcc, EIO);
    mHub.push(kAcc, kRecord);
    EXPECT_EQ("EIO", readRecord(fd));
    mHub.cutNextRecord(kAcc, 5);
    EXPECT_EQ("aaaaa", readRecord(fd));
    const std::string longer(20, 'b');
    EXPECT_TRUE(mHub.push(kAcc, longer) && mHub.push(kAcc, longer));
    EXPECT_EQ("EINVAL", readRecord(fd));
    EXPECT_EQ(longer, readRecord(fd, 39));
    mHub.failClose(mHub.devicePath(kAcc), EIO);
    EXPECT_EQ(-1, close(fd));
    EXPECT_EQ(EIO, errno);
}

TEST_F(SimulatedHubTest, TreeAndHandlersStandForTheDevicesFiles) {
    EXPECT_EQ("accelerometer_sensor\n", mHub.readFile(attribute(kAcc, "name")));
    EXPECT_EQ(standardCatalogue().size() * 46,
              mHub.readFile("/sys/class/sensors/hbx_sensor/sensor_spec").size());
    DIR* directory = opendir("/sys/bus/iio/devices/");
    ASSERT_NE(nullptr, directory);
    closedir(directory);
    mHub.setFile("/sys/class/sensors/flip/status", "1");
    EXPECT_GE(access("sys/class/sensors/flip/status", R_OK), 0);

    NodeHandler handler;
    handler.onRead = [](void* buffer, size_t) -> ssize_t {
        std::memcpy(buffer, "hi", 2);
        return 2;
    };
    handler.onWrite = [](const std::string& bytes) -> ssize_t {
        return bytes == "ok" ? 2 : -ERANGE;
    };
    const std::string path = "/dev/hbx_sensorhub";
    EXPECT_EQ(ENOENT, writeTo(path, "ok"));
    mHub.setHandler(path, handler);
    EXPECT_EQ(0, writeTo(path, "ok"));
    EXPECT_EQ(ERANGE, writeTo(path, "no"));
    EXPECT_EQ(2U, mHub.requests(Request::Kind::kWrite).size());

    // An attribute moves at most a page, and its descriptor has a position.
    handler.onWrite = [](const std::string& bytes) { return static_cast<ssize_t>(bytes.size()); };
    const std::string attribute = "/sys/class/sensors/hbx_sensor/shub_file";
    mHub.setHandler(attribute, handler);
    const int fd = open(attribute.c_str(), O_RDWR);
    EXPECT_EQ("hi", readRecord(fd));
    EXPECT_EQ(4096, write(fd, std::string(5000, 'w').data(), 5000));
    EXPECT_EQ(904, write(fd, std::string(904, 'w').data(), 904));
    close(fd);
    const std::vector<Request> requests = mHub.requests(Request::Kind::kWrite);
    EXPECT_EQ(2, requests.at(2).offset);
    EXPECT_EQ(4098, requests.at(3).offset);
}

TEST(SimulatedHub, NamesASensorWithoutARow) {
    HubOptions options;
    options.sensors[0].handle = 72;
    testing::internal::CaptureStderr();
    const SimulatedHub hub(options);
    EXPECT_EQ(
        "simulator: sensor 72 gets no device: it has no row in the table of "
        "simulator/DeviceProfile.cpp\n",
        testing::internal::GetCapturedStderr());
    EXPECT_EQ(-1, hub.device(72).number);
    EXPECT_EQ(1, hub.device(2).number);
}

TEST_F(SimulatedHubTest, IdleMeansReadAndWaitingAgain) {
    const int fd = startDevice(kProximity);
    EXPECT_FALSE(mHub.waitIdle(std::chrono::milliseconds(1)));
    std::atomic<int> records{0};
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop) {
            if (isReadable(fd, -1) && readRecord(fd, 9).size() == 9) ++records;
        }
    });
    for (int i = 1; i <= 100; ++i) {
        mHub.push(kProximity, std::string(9, 'p'));
        EXPECT_TRUE(mHub.waitIdle());
        ASSERT_EQ(i, records.load());
    }
    stop = true;
    {
        ShutdownHelper helper(mHub);
        reader.join();
    }
    close(fd);
}

TEST_F(SimulatedHubTest, LoadedLibraryIsRedirectedAndUnloads) {
    ASSERT_EQ(1, mHub.device(kAcc).number);
    ASSERT_EQ(0, writeTo(attribute(kAcc, "buffer/enable"), "1\n"));
    void* library = dlopen(WAITING_LIBRARY, RTLD_NOW);
    ASSERT_NE(nullptr, library) << dlerror();
    auto* recordsRead = reinterpret_cast<int (*)()>(dlsym(library, "sensorsHalGetSubHal"));
    EXPECT_EQ(0, recordsRead());
    EXPECT_TRUE(mHub.push(kAcc, kRecord));
    EXPECT_TRUE(mHub.waitIdle());
    EXPECT_EQ(1, recordsRead());
    const ShutdownHelper helper(mHub);
    EXPECT_EQ(0, dlclose(library));
    EXPECT_EQ(nullptr, dlopen(WAITING_LIBRARY, RTLD_NOW | RTLD_NOLOAD));
}

class SignalsTest : public SimulatedHubTest {
  protected:
    SignalsTest() : SimulatedHubTest(options()) {}

    static HubOptions options() {
        HubOptions options;
        options.generateSignals = true;
        return options;
    }
    static int64_t timestampOf(const std::string& record) {
        int64_t timestamp = 0;
        std::memcpy(&timestamp, record.data() + record.size() - sizeof(timestamp),
                    sizeof(timestamp));
        return timestamp;
    }
};

TEST_F(SignalsTest, PeriodStaysWithinTheChipsLimits) {
    constexpr std::pair<int64_t, int64_t> kAskedAndKept[] = {
        {500000000, 160000000}, {1, 2000000}, {20000000, 20000000}};
    const int fd = startDevice(kAcc);
    for (const auto& [asked, kept] : kAskedAndKept) {
        ASSERT_EQ(0, batch(0x8008FC01, 0, asked, 0));
        ASSERT_EQ(0, writeTo(kEnable, "11\0"s));
        const int64_t first = timestampOf(readRecord(fd));
        EXPECT_EQ(kept, timestampOf(readRecord(fd)) - first) << asked;
        ASSERT_EQ(0, writeTo(kEnable, "10\0"s));
        ASSERT_EQ(0, writeTo(attribute(kAcc, "buffer/enable"), "0"));
        ASSERT_EQ(0, writeTo(attribute(kAcc, "buffer/enable"), "1"));  // empties it
    }
    close(fd);
}

TEST_F(SignalsTest, FlushReleasesTheBatchBeforeItsMarker) {
    const int fd = startDevice(kAcc);
    ASSERT_EQ(0, batch(0x8008FC01, 3600LL * 1000000000, 2000000, 0));
    ASSERT_EQ(0, writeTo(kEnable, "11\0"s));
    EXPECT_FALSE(isReadable(fd, 50));
    ASSERT_EQ(0, writeTo(kFlush, "1\0"s));
    ASSERT_EQ(0, writeTo(kEnable, "10\0"s));
    const std::string marker(14, '\0');
    int64_t last = 0;
    size_t count = 0;
    for (std::string record = readRecord(fd); record != marker; record = readRecord(fd)) {
        ASSERT_EQ(14U, record.size());
        int16_t counts[3];
        const int64_t timestamp = timestampOf(record);
        std::memcpy(counts, record.data(), sizeof(counts));
        if (count++ > 0) {
            EXPECT_EQ(2000000, timestamp - last);
        }
        last = timestamp;
        const double scale = static_cast<double>(standardCatalogue()[0].resolution);
        EXPECT_NEAR(9.8, scale * std::hypot(counts[0], counts[1], counts[2]), 0.7);
    }
    EXPECT_GE(count, 20U);
    close(fd);
}

TEST(Signals, FillTheirRecords) {
    const World world(5);
    constexpr size_t kTimestampSize = 8;
    for (const SensorSpec& spec : standardCatalogue()) {
        const DeviceProfile* profile = findProfile(spec.handle);
        ASSERT_NE(nullptr, profile) << spec.handle;
        if (profile->signal == nullptr) continue;
        for (double t = 0.0; t < 30.0; t += 1.7) {
            RecordBuilder record;
            profile->signal(world, spec, t, record);
            EXPECT_EQ(profile->recordSize, record.bytes().size() + kTimestampSize) << spec.handle;
        }
    }
}

TEST(Signals, AreCalmWhileTheDeviceLiesStill) {
    const World world(5, true);
    for (const double seconds : {0.0, 3.3, 1234.5}) {
        const Vector3 a = world.acceleration(seconds);
        const Vector3 w = world.rotationRate(seconds);
        EXPECT_NEAR(9.81, std::hypot(a[0], a[1], a[2]), 0.05);
        EXPECT_LT(std::hypot(w[0], w[1], w[2]), 0.01);
        for (const int handle : {8, 17, 18, 19, 22, 27, 42, 45, 47, 56, 57, 64, 71}) {
            RecordBuilder atFirst, now;
            findProfile(handle)->signal(world, {}, 0.0, atFirst);
            findProfile(handle)->signal(world, {}, seconds, now);
            EXPECT_EQ(atFirst.bytes(), now.bytes()) << handle;
        }
    }
}

TEST(World, FieldTurnsAgainstTheRotation) {
    const World world(5);
    constexpr double kStep = 0.1;
    for (double t = 1.0; t < 20.0; t += 0.37) {
        const Vector3 before = world.magneticField(t - kStep);
        const Vector3 after = world.magneticField(t + kStep);
        const Vector3 m = world.magneticField(t);
        const Vector3 w = world.rotationRate(t);
        const Vector3 expected = {m[1] * w[2] - m[2] * w[1], m[2] * w[0] - m[0] * w[2],
                                  m[0] * w[1] - m[1] * w[0]};
        for (size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(expected[axis], (after[axis] - before[axis]) / (2 * kStep), 6.0) << t;
        }
    }
}

}  // namespace
}  // namespace simulator
