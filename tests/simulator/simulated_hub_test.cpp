// The simulated hub under the scripts that real devices pass, its tree, and its signals.

#include "simulator/SimulatedHub.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <tuple>

#include "simulator/KnownSensors.h"
#include "simulator/SignalGenerator.h"
#include "simulator/World.h"
#include "tests/kernel/HubScript.h"

namespace hub_script {
namespace {

class SimulatedDevice final : public Hub {
  public:
    std::string devicePath() const override { return mHub.devicePath(kHandle); }
    std::string attributePath(const std::string& name) const override {
        return mHub.attributePath(kHandle, name);
    }
    bool push(const std::string& record) override { return mHub.push(kHandle, record); }
    void drop() override { mHub.dropDevice(kHandle); }

  private:
    simulator::SimulatedHub mHub;
};

}  // namespace

std::unique_ptr<Hub> newHub() {
    return std::make_unique<SimulatedDevice>();
}

}  // namespace hub_script

namespace simulator {
namespace {

namespace fs = std::filesystem;

/** A process with a tree of its own, which it cannot remove when it is killed. */
class Victim {
  public:
    Victim() {
        int pipes[2];
        EXPECT_EQ(pipe(pipes), 0);
        mPid = fork();
        if (mPid == 0) {
            const TempTree tree;
            tree.write("/sys/file", "content");
            EXPECT_GT(write(pipes[1], tree.root().c_str(), tree.root().size()), 0);
            pause();
        }
        char root[256] = {};
        EXPECT_GT(::read(pipes[0], root, sizeof(root) - 1), 0);
        path = fs::path(root).parent_path();
    }
    ~Victim() { end(); }
    void end() {
        if (mPid > 0) kill(mPid, SIGKILL);
        if (mPid > 0) waitpid(mPid, nullptr, 0);
        mPid = 0;
    }
    fs::path path;

  private:
    pid_t mPid;
};

TEST(TempTree, RemovesOnlyTreesOfTheDead) {
    std::string base = testing::TempDir() + "trees.XXXXXX";
    ASSERT_NE(mkdtemp(base.data()), nullptr);
    setenv("TMPDIR", base.c_str(), 1);
    Victim live, dead, other;
    for (const char* name : {"/hub.backup", "/hub.traces"})
        fs::copy(other.path, base + name, fs::copy_options::recursive);
    fs::create_directories(base + "/hub.config/root");
    std::ofstream(base + "/hub.config/made-by-simulator") << "";
    fs::rename(other.path, base + "/hub.keepit");
    fs::copy(base + "/hub.keepit", other.path, fs::copy_options::recursive);
    dead.end();
    other.end();
    {
        const TempTree own;
        if (fork() == 0) std::quick_exit((own.~TempTree(), 0));
        wait(nullptr);
        EXPECT_TRUE(fs::exists(own.root())) << "a child's end removed its parent's tree";
        EXPECT_FALSE(fs::exists(dead.path));
        for (const char* name : {"/hub.backup", "/hub.traces", "/hub.config", "/hub.keepit"})
            EXPECT_TRUE(fs::exists(base + name + "/root")) << name;
        EXPECT_TRUE(fs::exists(other.path / "root")) << "a copy, although at the tree's place";
        EXPECT_TRUE(fs::exists(live.path / "root/sys/file"));
    }
    live.end();
    EXPECT_EQ(TempTree().list("/").size(), 0U);
    EXPECT_FALSE(fs::exists(live.path));
    fs::remove_all(base);
}

/** A generator of the accelerometer's records, and their time stamps. */
struct Generated {
    explicit Generated(int32_t maxDelayUs = 0) {
        SensorSpec spec;
        spec.handle = 1;
        spec.maxDelayUs = maxDelayUs;
        spec.fifoMax = 4;
        generator.addSensor(*findKnownSensor(1), spec);
    }
    void start(int64_t periodNs, int64_t latencyNs) {
        generator.setRate(1, periodNs, latencyNs);
        generator.setEnabled(1, true);
    }

    std::atomic<int> records{0};
    SignalGenerator generator{World(1), [this](int, const std::string&) { ++records; }};
};

TEST(SignalGenerator, TakesAnyDuration) {
    const std::tuple<int64_t, int64_t, int32_t> cases[] = {{0, INT64_MAX, 0},
                                                           {-1, -1, 10},
                                                           {INT64_MIN, INT64_MIN, INT32_MAX},
                                                           {INT64_MAX, INT64_MAX, 1}};
    for (const auto& [periodNs, latencyNs, maxDelayUs] : cases) {
        Generated tested(maxDelayUs);
        tested.start(periodNs, latencyNs);
        while (tested.records < 4)
            std::this_thread::yield();
    }
}

TEST(SignalGenerator, WaitsForTheLongestPeriod) {
    Generated tested;
    tested.start(INT64_MAX, 0);
    while (tested.records == 0)
        std::this_thread::yield();
    tested.generator.setRate(1, INT64_MAX, 0);
    tested.generator.flush(1);
    EXPECT_EQ(tested.records, 2) << "the first record and the flush marker";
}

}  // namespace
}  // namespace simulator
