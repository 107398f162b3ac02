// The poll thread on a faulty hub and on a machine without resources.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/LoadedSubHal.h"

namespace {

using namespace testing_support;
using Clock = std::chrono::steady_clock;
using Times = std::vector<Clock::time_point>;
using std::chrono::milliseconds;

// The pauses of the poll thread in ms, as it asked for them, and when it read what is spoilt.
std::mutex gLock;
std::condition_variable gChanged;
std::vector<long> gPauses;
Times gVisits;

/** What the poll thread has left here since the last call, once that is as much as this. */
template <typename T>
std::vector<T> take(std::vector<T>& kept, size_t count = 0,
                    milliseconds limit = milliseconds(5000)) {
    std::unique_lock<std::mutex> lock(gLock);
    gChanged.wait_for(lock, limit, [&] { return kept.size() >= count; });
    return std::exchange(kept, {});
}

template <typename T>
void keep(std::vector<T>& kept, T value) {
    const std::lock_guard<std::mutex> lock(gLock);
    kept.push_back(value);
    gChanged.notify_all();
}

class HostileHub : public testing::Test, protected LoadedSubHal {
  protected:
    static constexpr int kGood = 1;
    static constexpr int kBad = 4;
    static constexpr int kOneShot = 25;
    static constexpr int kForever = simulator::SimulatedHub::kForever;

    static Options sensors() {
        Options options = onlySensors({kGood, kBad, kOneShot});
        for (auto& sensor : options.sensors)
            sensor.fifoMax = 100;
        return options;
    }

    HostileHub() : LoadedSubHal(sensors()) {
        initialize();
        for (const int handle : {kGood, kBad, kOneShot}) {
            EXPECT_EQ(hal().activate(handle, true), Result::OK);
            EXPECT_EQ(hal().batch(handle, 10000000, handle == kGood ? 0 : 1), Result::OK);
        }
        LogCapture::take();
        hub().clearRequests();
        take(gPauses);
        take(gVisits);
    }
    ~HostileHub() override { hub().clearFaults(); }

    /** The record of any sensor with a time. */
    static std::string record(int handle, uint64_t timestamp) {
        if (handle != kOneShot) return sample(timestamp);
        return RecordBuilder().u8(1).u64(timestamp).bytes();
    }

    /** Reads of a node give an errno, or a text. */
    void spoil(const std::string& path, int error, const std::string& text = "") {
        simulator::NodeHandler handler;
        handler.onRead = [error, text](void* buffer, size_t size) -> ssize_t {
            keep(gVisits, Clock::now());
            if (error != 0) return -error;
            return static_cast<ssize_t>(text.copy(static_cast<char*>(buffer), size));
        };
        hub().setHandler(path, handler);
    }

    /** Whether the good sensor's next record is read. */
    bool goodDelivers() {
        EXPECT_TRUE(hub().push(kGood, sample()));
        for (int i = 0; i < 10000 && hub().device(kGood).queued != 0; ++i)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        return hub().device(kGood).queued == 0;
    }

    static int failedReads() {
        int count = 0;
        for (const auto& line : LogCapture::take())
            count += line.level == 'E' && line.text.find("not available") != std::string::npos;
        return count;
    }
};

TEST_F(HostileHub, ADeviceThatGivesNothingRestsAlone) {
    const struct {
        int handle;
        std::string path;
        int error;
        std::string text;
    } cases[] = {
        {kBad, hub().devicePath(kBad), EIO, ""},
        {kBad, hub().attributePath(kBad, "buffer/data_available"), 0, "0\n"},
        {kOneShot, hub().devicePath(kOneShot), EIO, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        spoil(c.path, c.error, c.text);
        EXPECT_TRUE(hub().push(c.handle, record(c.handle, 1)));
        constexpr long kRests[] = {0, 1, 2, 4, 8, 10, 10, 10, 10, 10};
        const Times visits = take(gVisits, std::size(kRests) + 1);
        ASSERT_GT(visits.size(), std::size(kRests));
        auto shortest = Clock::duration::max();
        for (size_t i = 0; i < std::size(kRests); ++i) {
            const auto rest = visits[i + 1] - visits[i];
            EXPECT_GE(rest, milliseconds(kRests[i])) << i;
            if (kRests[i] == 10) shortest = std::min(shortest, rest);
        }
        EXPECT_LT(shortest, milliseconds(60));
        // Another sensor's stream neither waits nor ends the rest.
        const auto begin = Clock::now();
        take(gVisits);
        hub().clearRequests();
        for (int i = 0; i < 300; ++i)
            EXPECT_TRUE(goodDelivers());
        const auto wakeUps = static_cast<size_t>((Clock::now() - begin) / milliseconds(10)) + 2;
        EXPECT_LE(take(gVisits).size(), wakeUps);
        EXPECT_LE(hub().requests().size(), wakeUps);  // a one-shot sensor's switches
        hub().setHandler(c.path, {});
        EXPECT_TRUE(hub().waitIdle());
    }
    // As new: a failure in a stream costs no rest, however many there were.
    const auto begin = Clock::now();
    constexpr int kFailures = 50;
    hub().setDataAvailable(kBad, "2\n");  // too high: each record's wake-up ends in one
    for (int i = 0; i < kFailures; ++i) {
        hub().fail("read", hub().devicePath(kBad), EIO);
        EXPECT_TRUE(deliver(kBad, sample()));
    }
    EXPECT_LT(Clock::now() - begin, kFailures * milliseconds(10));
    EXPECT_TRUE(take(gPauses).empty());
}

TEST_F(HostileHub, APollThatFailsPausesTheThread) {
    EXPECT_TRUE(goodDelivers() && hub().waitIdle());
    hub().fail("poll", "", ENOMEM, 1, kForever);
    // Nothing rests: there is no call until something comes.
    EXPECT_TRUE(take(gPauses, 1, milliseconds(50)).empty());
    EXPECT_TRUE(hub().push(kGood, sample()));
    auto pauses = take(gPauses, 7);
    EXPECT_EQ(failedReads(), 0);  // what was read before is not read again
    pauses.resize(7);
    EXPECT_EQ(pauses, (std::vector<long>{1, 2, 4, 8, 10, 10, 10}));
    hub().clearFaults();
    EXPECT_TRUE(deliver(kGood, sample()));
    take(gPauses);
    // Signals do not, however many there are.
    hub().fail("poll", "", EINTR, 1, 1000);
    EXPECT_TRUE(deliver(kGood, sample()));
    EXPECT_TRUE(take(gPauses).empty());
}

TEST_F(HostileHub, AFailedReadInABatchLosesNothing) {
    for (const int handle : {kBad, kOneShot}) {
        // The first wake-up finds all of them.
        std::promise<void> queued;
        std::shared_future<void> isQueued = queued.get_future().share();
        simulator::NodeHandler count;
        count.onRead = [isQueued](void* buffer, size_t size) {
            isQueued.wait();
            return static_cast<ssize_t>(std::string("7\n").copy(static_cast<char*>(buffer), size));
        };
        hub().setHandler(hub().attributePath(handle, "buffer/data_available"), count);
        for (const int read : {2, 4, 6})
            hub().fail("read", hub().devicePath(handle), EIO, read);
        for (uint64_t i = 1; i <= 4; ++i)
            EXPECT_TRUE(hub().push(handle, record(handle, i)));
        queued.set_value();
        EXPECT_TRUE(hub().waitIdle());
        EXPECT_EQ(timestamps(), (std::vector<int64_t>{1, 2, 3, 4})) << handle;
    }
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
    hub().setHandler(hub().devicePath(kBad), {});
}

}  // namespace

// Replaces the C library's: notes the poll thread's pauses.
extern "C" __attribute__((visibility("default"))) int nanosleep(const struct timespec* time,
                                                                struct timespec* left) {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof(name));
    if (strcmp(name, "sensorhub_poll") == 0) {
        keep(gPauses, static_cast<long>(time->tv_sec * 1000 + time->tv_nsec / 1000000));
    }
    const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, time, left);
    if (error == 0) return 0;
    errno = error;
    return -1;
}
