// Two requests at once: wherever the first one stands still, what is left in the end is what one of
// the two orders leaves. A request can stand still at each of its log lines and hub accesses.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/RecordBuilder.h"
#include "tests/support/ClientMemory.h"
#include "tests/support/LoadedSubHal.h"

namespace {

using android::hardware::sensors::V1_0::RateLevel;
using android::hardware::sensors::V1_0::Result;
using android::hardware::sensors::V1_0::SharedMemFormat;
using android::hardware::sensors::V1_0::SharedMemInfo;
using android::hardware::sensors::V1_0::SharedMemType;
using simulator::Request;
using testing_support::LoadedSubHal;
using testing_support::LogCapture;

constexpr int kVdis = 38;
constexpr size_t kRegion = 104 * 8;

/** Stops one thread at the nth place that it passes, until released. */
class Gate {
  public:
    void arm(int place) {
        const std::lock_guard<std::mutex> lock(mLock);
        mThread = {};
        mPlace = place;
        mState = State::kRunning;
    }
    /** The calling thread is the one to stop. */
    void enter() {
        const std::lock_guard<std::mutex> lock(mLock);
        mThread = std::this_thread::get_id();
    }
    void leave() { become(State::kDone); }
    void release() { become(State::kDone); }
    void pass() {
        std::unique_lock<std::mutex> lock(mLock);
        if (mThread != std::this_thread::get_id() || mPlace-- != 0) return;
        mState = State::kStopped;
        mChanged.notify_all();
        mChanged.wait(lock, [this] { return mState == State::kDone; });
    }
    /** Whether the thread stands still; false when it got to the end. */
    bool waitStopped() {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mState != State::kRunning; });
        return mState == State::kStopped;
    }

  private:
    enum class State { kRunning, kStopped, kDone };
    void become(State state) {
        const std::lock_guard<std::mutex> lock(mLock);
        mState = state;
        mChanged.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mChanged;
    std::thread::id mThread;
    int mPlace = 0;
    State mState = State::kDone;
};

/** Waits until the thread sleeps, here: for a lock. */
void waitAsleep(std::atomic<pid_t>& thread, const std::atomic<bool>& done) {
    while (!done) {
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string text;
        std::getline(file, text);
        const size_t name = text.rfind(") ");
        if (thread != 0 && name != std::string::npos && text[name + 2] == 'S') return;
        std::this_thread::yield();
    }
}

class Crossing : public testing::Test {
  protected:
    struct Call {
        const char* name;
        std::function<void()> run;
    };

    Crossing() : subHal(testing_support::onlySensors({kVdis})) {
        subHal.initialize();
        simulator::NodeHandler enable;
        enable.onOpen = [this](int) { return gate.pass(), 0; };
        enable.onWrite = [this](const std::string& bytes) {
            gate.pass();
            return static_cast<ssize_t>(bytes.size());
        };
        subHal.hub().setHandler("/sys/class/sensors/hbx_sensor/enable", enable);
        simulator::NodeHandler batch;
        batch.onOpen = enable.onOpen;
        batch.onIoctl = [this](unsigned long, void*) { return gate.pass(), 0; };
        subHal.hub().setHandler("/dev/batch_io", batch);
        LogCapture::setObserver([this] { gate.pass(); });
    }
    ~Crossing() override { LogCapture::setObserver(nullptr); }

    void open() {
        const auto handle = testing_support::handleOf(client.share());
        const SharedMemInfo mem{SharedMemType::ASHMEM, SharedMemFormat::SENSORS_EVENT, kRegion,
                                handle.get()};
        subHal.hal().registerDirectChannel(mem, [this](Result, int32_t made) { channel = made; });
    }
    void config(RateLevel rate) {
        subHal.hal().configDirectReport(kVdis, channel, rate, [](Result, int32_t) {});
    }

    std::vector<Call> calls() {
        const auto activate = [this](bool on) { subHal.hal().activate(kVdis, on); };
        const auto batch = [this](int64_t periodNs, int64_t latencyNs) {
            subHal.hal().batch(kVdis, periodNs, latencyNs);
        };
        return {
            {"switch on", [=] { activate(true); }},
            {"switch off", [=] { activate(false); }},
            {"batch at 5 ms", [=] { batch(5000000, 0); }},
            {"batch at 50 ms", [=] { batch(50000000, 300000000); }},
            {"report normal", [this] { config(RateLevel::NORMAL); }},
            {"report fast", [this] { config(RateLevel::FAST); }},
            {"stop", [this] { config(RateLevel::STOP); }},
            {"stop all",
             [this] {
                 subHal.hal().configDirectReport(-1, channel, RateLevel::STOP,
                                                 [](Result, int32_t) {});
             }},
            {"unregister", [this] { subHal.hal().unregisterDirectChannel(channel); }},
            {"initialize", [this] { subHal.hal().initialize(&subHal.proxy()); }},
        };
    }

    /** Bit 0: the proxy has the sensor on; bit 1: a channel reports. */
    void prepare(int start) {
        subHal.hal().unregisterDirectChannel(channel);
        subHal.hub().clearRequests();
        subHal.hal().batch(kVdis, 30000000, 0);
        subHal.hal().activate(kVdis, (start & 1) != 0);
        open();
        if ((start & 2) != 0) config(RateLevel::NORMAL);
    }

    bool deliver() {
        simulator::RecordBuilder record;
        record.i16(1).i16(2).i16(3).u64(++timestamp).u32(0);
        return subHal.deliver(kVdis, record.bytes());
    }

    bool isInRegion() const {
        for (size_t slot = 0; slot < kRegion / 104; ++slot) {
            if (client.word(slot, 16) == timestamp) return true;
        }
        return false;
    }

    std::string lastTold() {
        std::string enable;
        std::string batch;
        for (const Request& request : subHal.hub().requests()) {
            if (request.kind == Request::Kind::kEnable) enable = std::to_string(request.enable);
            if (request.kind == Request::Kind::kBatch) {
                batch = std::to_string(request.periodNs) + "/" + std::to_string(request.latencyNs);
            }
        }
        return "hub " + enable + " at " + batch;
    }

    /** What the hub was told last, who gets events, and what the row makes of another report. */
    std::string outcome() {
        std::string text = lastTold();
        subHal.proxy().take();
        EXPECT_TRUE(deliver());
        text += subHal.proxy().take().empty() ? "" : ", proxy";
        text += isInRegion() ? ", channel" : "";
        subHal.hal().unregisterDirectChannel(channel);
        open();
        config(RateLevel::NORMAL);
        return text + ", then " + lastTold();
    }

    LoadedSubHal subHal;
    Gate gate;
    testing_support::ClientMemory client{kRegion};
    int32_t channel = 0;
    uint64_t timestamp = 0;
};

TEST_F(Crossing, LeavesWhatOneOfTheTwoOrdersLeaves) {
    int stops = 0;
    for (int start = 0; start < 4; ++start) {
        for (const Call& first : calls()) {
            for (const Call& second : calls()) {
                std::string allowed[2];
                for (const bool swapped : {false, true}) {
                    prepare(start);
                    (swapped ? second : first).run();
                    (swapped ? first : second).run();
                    allowed[swapped ? 1 : 0] = outcome();
                }
                for (int place = 0;; ++place) {
                    prepare(start);
                    gate.arm(place);
                    std::thread one([&] {
                        gate.enter();
                        first.run();
                        gate.leave();
                    });
                    const bool stopped = gate.waitStopped();
                    std::atomic<pid_t> otherId{0};
                    std::atomic<bool> otherDone{false};
                    std::thread other([&] {
                        otherId = gettid();
                        if (stopped) second.run();
                        otherDone = true;
                    });
                    waitAsleep(otherId, otherDone);
                    // Events wait for neither of the two.
                    EXPECT_TRUE(deliver());
                    gate.release();
                    one.join();
                    other.join();
                    if (!stopped) break;
                    ++stops;
                    const std::string left = outcome();
                    EXPECT_TRUE(left == allowed[0] || left == allowed[1])
                        << '"' << first.name << "\" stood still at its place " << place << ", \""
                        << second.name << "\" came, start " << start << "\n left:  " << left
                        << "\n either " << allowed[0] << "\n or     " << allowed[1];
                    if (HasFailure()) return;
                }
            }
        }
    }
    EXPECT_GT(stops, 1000);
}

}  // namespace
