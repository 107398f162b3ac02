// Concurrent requests. First in pairs: one stops at each of its log lines and hub accesses while
// the other runs, and the result must be that of one of the two orders. Then all at once, while
// events stream and the proxy restarts, for the thread sanitizer.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/proofs/Session.h"

namespace {

using namespace testing_support;

constexpr int kVdis = 38;
constexpr size_t kRegion = 104 * 8;

thread_local int tPlacesToPass = -1;  // before the calling thread stops

/** Stops one thread, once, until it is released. */
class Gate {
  public:
    void pass() {
        if (tPlacesToPass-- != 0) return;
        mStopped.set_value(true);
        mReleased.get_future().wait();
    }
    /** The thread comes no more. */
    void end() {
        if (tPlacesToPass >= 0) mStopped.set_value(false);
    }
    /** Whether the thread has stopped; false when it has ended. */
    bool waitStopped() { return mStopped.get_future().get(); }
    void release() { mReleased.set_value(); }

  private:
    std::promise<bool> mStopped;
    std::promise<void> mReleased;
};

/** Waits until the thread sleeps, here: for a lock, or is over. */
void waitAsleep(const std::atomic<pid_t>& thread) {
    for (;; std::this_thread::sleep_for(std::chrono::microseconds(50))) {
        if (thread == 0) continue;
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string text;
        if (!std::getline(file, text) || text[text.rfind(") ") + 2] == 'S') return;
    }
}

class Crossing : public testing::Test {
  protected:
    struct Call {
        const char* name;
        std::function<void()> run;
    };

    Crossing() : subHal(onlySensors({kVdis})) {
        subHal.initialize();
        simulator::NodeHandler enable;
        enable.onOpen = [this](int) { return gate->pass(), 0; };
        enable.onWrite = [this](const std::string& bytes) {
            gate->pass();
            return static_cast<ssize_t>(bytes.size());
        };
        subHal.hub().setHandler("/sys/class/sensors/hbx_sensor/enable", enable);
        simulator::NodeHandler batch;
        batch.onOpen = enable.onOpen;
        batch.onIoctl = [this](unsigned long, void*) { return gate->pass(), 0; };
        subHal.hub().setHandler("/dev/batch_io", batch);
        LogCapture::setObserver([this] { gate->pass(); });
    }
    ~Crossing() override { LogCapture::setObserver(nullptr); }

    void config(int32_t sensor, RateLevel rate) {
        host_proxy::configDirectReport(subHal.hal(), sensor, channel, rate);
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
            {"report normal", [this] { config(kVdis, RateLevel::NORMAL); }},
            {"report fast", [this] { config(kVdis, RateLevel::FAST); }},
            {"stop", [this] { config(kVdis, RateLevel::STOP); }},
            {"stop all", [this] { config(-1, RateLevel::STOP); }},
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
        channel = subHal.openChannel(client);
        if ((start & 2) != 0) config(kVdis, RateLevel::NORMAL);
    }

    bool deliver() { return subHal.deliver(kVdis, sample(++timestamp)); }

    bool isInRegion() const {
        for (size_t slot = 0; slot < kRegion / 104; ++slot) {
            if (client.word(slot, 16) == timestamp) return true;
        }
        return false;
    }

    std::string lastRequests() {
        std::string enable;
        std::string batch;
        for (const std::string& line : subHal.requests())
            (line[0] == 'e' ? enable : batch) = line;
        return enable + ", " + batch;
    }

    /** The hub's last requests, who gets events, and the requests that another report causes. */
    std::string outcome() {
        std::string text = lastRequests();
        subHal.proxy().take();
        EXPECT_TRUE(deliver());
        text += subHal.proxy().take().empty() ? "" : ", proxy";
        text += isInRegion() ? ", channel" : "";
        subHal.hal().unregisterDirectChannel(channel);
        channel = subHal.openChannel(client);
        config(kVdis, RateLevel::NORMAL);
        return text + ", then " + lastRequests();
    }

    LoadedSubHal subHal;
    std::optional<Gate> gate{std::in_place};
    ClientMemory client{kRegion};
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
                    gate.emplace();
                    std::thread one([&] {
                        tPlacesToPass = place;
                        first.run();
                        gate->end();
                    });
                    const bool stopped = gate->waitStopped();
                    std::atomic<pid_t> otherId{0};
                    std::promise<void> ended;
                    std::thread other([&] {
                        otherId = gettid();
                        if (stopped) second.run();
                        ended.set_value();
                    });
                    waitAsleep(otherId);
                    // A batch request delays no other, however long the hub takes.
                    if (std::string(first.name, 5) == "batch") {
                        EXPECT_EQ(ended.get_future().wait_for(std::chrono::seconds(5)),
                                  std::future_status::ready)
                            << second.name;
                    }
                    // Events wait for neither of the two, and end before a switch off has to wait.
                    subHal.proxy().take();
                    EXPECT_TRUE(deliver());
                    if (stopped && second.name == std::string("switch off")) {
                        EXPECT_TRUE(subHal.proxy().take().empty()) << first.name;
                    }
                    gate->release();
                    one.join();
                    other.join();
                    if (!stopped) break;
                    ++stops;
                    const std::string left = outcome();
                    EXPECT_TRUE(left == allowed[0] || left == allowed[1])
                        << '"' << first.name << "\" stopped at its place " << place << ", \""
                        << second.name << "\" came, start " << start << "\n left:  " << left
                        << "\n either " << allowed[0] << "\n or     " << allowed[1];
                    if (HasFailure()) return;
                }
            }
        }
    }
    EXPECT_GT(stops, 1000);
}

constexpr int kCallers = 3;

TEST(Crowd, MayCallAnythingWhileEventsStreamAndTheProxyRestarts) {
    proofs::Session session;
    LoadedSubHal& subHal = session.subHal();
    auto& hal = subHal.hal();
    const ClientMemory memory;
    std::atomic<int32_t> channel{0};
    std::atomic<int> calling{kCallers};
    const auto call = [&](unsigned seed) {
        std::mt19937 random(seed);
        constexpr int kHandles[] = {1, 17, 32, kVdis};  // streaming, one-shot, context, direct
        const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
        for (int i = 0; i < 3000; ++i) {
            const int handle = kHandles[below(4)];
            Event event = {};
            event.sensorHandle = handle;
            event.u.data[0] = static_cast<float>(below(3));
            const std::function<void()> calls[] = {
                [&] { hal.activate(handle, below(2) == 0); },
                [&] { hal.batch(handle, 1'000'000 * below(50), 1'000'000 * below(3)); },
                [&] { hal.flush(handle); },
                [&] { hal.injectSensorData(event); },
                [&] { channel = subHal.openChannel(memory); },
                [&] { hal.unregisterDirectChannel(channel); },
                [&] {
                    host_proxy::configDirectReport(hal, below(4) == 0 ? -1 : kVdis, channel,
                                                   static_cast<RateLevel>(below(4)));
                },
                [&] { hal.setOperationMode(OperationMode::DATA_INJECTION); },
                [&] { EXPECT_EQ(host_proxy::sensorsOf(hal).size(), 5u); },
            };
            calls[below(std::size(calls))]();
        }
        --calling;
    };
    std::vector<std::thread> callers;
    for (unsigned seed = 0; seed < kCallers; ++seed)
        callers.emplace_back(call, seed);
    while (calling > 0) {
        for (const int handle : {1, kVdis})
            EXPECT_TRUE(subHal.deliver(handle, sample()));
        subHal.deliver(17, RecordBuilder().u8(1).u64(5).bytes());
        hal.initialize(&subHal.proxy());
    }
    for (std::thread& caller : callers)
        caller.join();

    // A restart leaves no channel, and what is asked now holds.
    hal.initialize(&subHal.proxy());
    EXPECT_TRUE(memory.isZero());
    EXPECT_EQ(session.round(), 0u) << session.complaint();
}

}  // namespace
