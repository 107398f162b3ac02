// The same work over and over leaves what the process holds as it was.

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>

#include "tests/proofs/Session.h"

namespace {

using proofs::Session;

constexpr long kHeapSlack = 64 * 1024;

struct Holding {
    size_t descriptors = proofs::openFiles().size();
    int mappings = 0;  // but the allocator's
    long heap = 0;

    Holding() {
        malloc_trim(0);
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            mappings += line.find('/') == std::string::npos ? 0 : 1;
        heap = static_cast<long>(mallinfo2().uordblks);
    }
};

void expectSteady(const char* what, int count, const std::function<void()>& work) {
    SCOPED_TRACE(what);
    for (int i = 0; i < count / 5; ++i)  // until everything has its size
        work();
    const Holding before;
    for (int i = 0; i < count; ++i)
        work();
    const Holding after;
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.mappings, before.mappings);
    EXPECT_LE(std::abs(after.heap - before.heap), kHeapSlack);
}

TEST(Steady, WhatIsDoneOftenLeavesNothing) {
    {
        Session session;
        auto& subHal = session.subHal();
        expectSteady("initialize", 1000, [&] { subHal.initialize(); });
        expectSteady("round", 100, [&] {
            EXPECT_EQ(session.round(), 0U) << session.complaint();
            testing_support::LogCapture::take();
        });
        expectSteady("restart with a channel", 500, [&] {
            const testing_support::ClientMemory memory;
            EXPECT_GT(subHal.openChannel(memory), 0);
            subHal.initialize();
        });
    }
    expectSteady("load", 20, [] { EXPECT_TRUE(Session().subHal().unload()); });
}

}  // namespace
