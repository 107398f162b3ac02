// What a bad hub or a machine without means must not do to the poll thread.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/LoadedSubHal.h"

namespace {

using testing_support::ISensorsSubHal;
using testing_support::LoadedSubHal;
using testing_support::onlySensors;

// A caller that catches must not be left with half an object.
TEST(HostileHubDeathTest, WithoutAThreadTheProcessEnds) {
    const auto startWithoutThreads = [] {
        simulator::SimulatedHub hub(onlySensors({1}));
        simulator::HostedLibrary library(hub, SENSORHUB_LIBRARY);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, size_t{1} << 46);
        pthread_setattr_default_np(&attributes);
        try {
            uint32_t version = 0;
            reinterpret_cast<ISensorsSubHal* (*)(uint32_t*)>(library.entryPoint())(&version);
        } catch (...) {
        }
        _exit(0);
    };
    EXPECT_EXIT(startWithoutThreads(), testing::KilledBySignal(SIGABRT), "");
}

TEST(HostileHub, ThePollThreadHasAName) {
    LoadedSubHal subHal(onlySensors({1}));
    ASSERT_TRUE(subHal.hub().waitIdle());
    int named = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(thread.path() / "comm");
        std::string name;
        std::getline(file, name);
        named += name == "sensorhub_poll" ? 1 : 0;
    }
    EXPECT_EQ(named, 1);
}

}  // namespace
