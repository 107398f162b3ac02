// What a bad hub or a machine without means must not do to the poll thread.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::Result;
using testing_support::LogCapture;
using testing_support::sample;

// The pauses of the poll thread in ms, as it asked for them.
std::mutex gLock;
std::condition_variable gChanged;
std::vector<long> gPauses;

class HostileHub : public testing::Test, protected testing_support::LoadedSubHal {
  protected:
    static constexpr int kBad = 4;  // behind the good one in the list
    static constexpr int kGood = 1;

    static Options sensors() {
        Options options = testing_support::onlySensors({kGood, kBad});
        for (auto& sensor : options.sensors)
            sensor.fifoMax = 100;
        return options;
    }

    HostileHub() : LoadedSubHal(sensors()) {
        initialize();
        EXPECT_EQ(hal().activate(kGood, true), Result::OK);
        EXPECT_EQ(hal().batch(kBad, 10000000, 1000000000), Result::OK);
        LogCapture::take();
        const std::lock_guard<std::mutex> lock(gLock);
        gPauses.clear();
    }
    ~HostileHub() override { hub().clearFaults(); }

    /** Whether the good sensor's next record is read. */
    bool goodDelivers() {
        EXPECT_TRUE(hub().push(kGood, sample()));
        for (int i = 0; i < 500 && hub().device(kGood).queued != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return hub().device(kGood).queued == 0;
    }

    /** The pauses since the last call, at most the first `count` that there come to be. */
    static std::vector<long> takePauses(size_t count = 0) {
        std::unique_lock<std::mutex> lock(gLock);
        EXPECT_TRUE(gChanged.wait_for(lock, std::chrono::seconds(5),
                                      [count] { return gPauses.size() >= count; }));
        if (count != 0) gPauses.resize(std::min(count, gPauses.size()));
        return std::exchange(gPauses, {});
    }

    static int failedReads() {
        int count = 0;
        for (const auto& line : LogCapture::take())
            count += line.level == 'E' && line.text.find("not available") != std::string::npos;
        return count;
    }
};

TEST_F(HostileHub, WakeUpsWithNothingToConsumePauseTheThread) {
    struct Case {
        const char* name;
        std::function<void()> begin;
        std::string record;
    };
    constexpr int kForever = simulator::SimulatedHub::kForever;
    const std::vector<Case> cases = {
        {"failing read", [this] { hub().failRead(kBad, EIO, 1, kForever); }, sample()},
        {"count of 0", [this] { hub().setDataAvailable(kBad, "0\n"); }, sample()},
        {"failing poll", [this] { hub().failPoll(ENOMEM, 1, kForever); }, sample()},
        {"storm of signals", [this] { hub().failPoll(EINTR, 1, kForever); }, sample()},
        // The kernel keeps it queued.
        {"record longer than its read", [] {}, std::string(64, '\1')},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        c.begin();
        EXPECT_TRUE(hub().push(kBad, c.record));
        EXPECT_EQ(takePauses(7), (std::vector<long>{1, 2, 4, 8, 10, 10, 10}));
        EXPECT_LE(failedReads(), 12);
        hub().clearFaults();
        hub().clearDataAvailable(kBad);
        if (&c == &cases.back()) hub().dropDevice(kBad);
        EXPECT_TRUE(hub().waitIdle());
        takePauses();
        // Back to none: neither a stream nor a single failure in it pauses.
        for (int i = 0; i < 50; ++i) {
            if (i % 5 == 4) hub().failRead(kGood, EIO);
            EXPECT_TRUE(deliver(kGood, sample()));
        }
        EXPECT_EQ(takePauses(), std::vector<long>{});
        LogCapture::take();
    }
}

TEST_F(HostileHub, APauseEndsWithTheFirstRecordOfAnySensor) {
    hub().push(kBad, std::string(64, '\1'));
    takePauses(7);
    ASSERT_TRUE(goodDelivers());
    // Anew from the shortest one, whatever pauses came before.
    const std::vector<long> pauses = takePauses(8);
    EXPECT_EQ(std::count(pauses.begin(), pauses.end(), 1), 1);
    EXPECT_EQ(std::count(pauses.begin(), pauses.end(), 2), 1);
    hub().dropDevice(kBad);
}

TEST_F(HostileHub, ACountThatIsTooHighHoldsUpNobody) {
    for (const char* count : {"3\n", "1000000000\n"}) {
        hub().setDataAvailable(kBad, count);
        EXPECT_TRUE(hub().push(kBad, sample()));
        EXPECT_TRUE(goodDelivers()) << count;
        EXPECT_TRUE(hub().waitIdle());
        EXPECT_EQ(failedReads(), 1) << count;
    }
    // Records without an end.
    simulator::NodeHandler endless;
    endless.onRead = [](void* buffer, size_t size) {
        memset(buffer, 1, size);
        return static_cast<ssize_t>(size);
    };
    hub().setHandler(hub().devicePath(kBad), endless);
    EXPECT_TRUE(hub().push(kBad, sample()));
    EXPECT_TRUE(goodDelivers());
    EXPECT_EQ(takePauses(), std::vector<long>{});
    hub().setHandler(hub().devicePath(kBad), {});
}

}  // namespace

// In the C library's place: what the poll thread asks for.
extern "C" __attribute__((visibility("default"))) int nanosleep(const struct timespec* time,
                                                                struct timespec* left) {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof(name));
    if (strcmp(name, "sensorhub_poll") == 0) {
        const std::lock_guard<std::mutex> lock(gLock);
        gPauses.push_back(time->tv_sec * 1000 + time->tv_nsec / 1000000);
        gChanged.notify_all();
    }
    const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, time, left);
    if (error == 0) return 0;
    errno = error;
    return -1;
}
