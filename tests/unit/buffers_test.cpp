#include "directchannel/LockfreeBuffer.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "directchannel/RingBuffer.h"

namespace {

using namespace android::hardware::sensors::V2_0::zelva_sensorhub;

constexpr size_t kRecord = 104;

/** Every byte has the value `fill`, the bytes of the counter word included. */
sensors_event_t eventOf(uint8_t fill) {
    sensors_event_t event;
    memset(&event, fill, sizeof(event));
    return event;
}

TEST(LockfreeBuffer, WrapsAroundAndNeverTouchesTheTail) {
    constexpr size_t kSlots = 9;
    constexpr size_t kTail = 64;
    std::string region(kSlots * kRecord + kTail, '\xAA');
    auto buffer = std::make_unique<LockfreeBuffer>(region.data(), region.size());
    EXPECT_EQ(region, std::string(region.size(), '\0'));
    std::string expected = region.replace(kSlots * kRecord, kTail, kTail, '\x55');
    const std::string empty = expected;
    for (uint8_t i = 1; i <= 20; i = static_cast<uint8_t>(i + 4)) {
        const sensors_event_t events[] = {eventOf(i), eventOf(i + 1), eventOf(i + 2),
                                          eventOf(i + 3)};
        for (uint8_t n = i; n < i + 4; ++n) {
            std::string slot(kRecord, static_cast<char>(n));
            slot.replace(12, 4, {static_cast<char>(n), 0, 0, 0});  // the counter
            expected.replace((n - 1) % kSlots * kRecord, kRecord, slot);
        }
        buffer->write(events, 4);
        buffer->write(events, 0);
        EXPECT_EQ(region, expected);
    }
    buffer.reset();
    EXPECT_EQ(region, empty);

    // A region without a whole slot stays zero.
    const sensors_event_t event = eventOf(1);
    LockfreeBuffer(region.data(), 103).write(&event, 1);
    EXPECT_EQ(region.substr(0, 103), std::string(103, '\0'));
}

/** Follows a ring of `slots` until it sees `last`; 0 when every record taken was whole. */
int followRing(const uint8_t* base, size_t slots, uint32_t last) {
    const auto counter = [base](size_t slot) {
        const auto* word = reinterpret_cast<const uint32_t*>(base + slot * kRecord + 12);
        return __atomic_load_n(word, __ATOMIC_SEQ_CST);
    };
    uint8_t copy[kRecord];
    uint32_t taken = 0;
    while (true) {
        for (size_t slot = 1; slot < slots; ++slot) {
            const uint32_t before = counter(slot);
            memcpy(copy, base + slot * kRecord, kRecord);
            std::atomic_thread_fence(std::memory_order_seq_cst);
            // Whole unless the slot, or the one before it, has been written again meanwhile.
            if (before == 0 || counter(slot) != before || counter(slot - 1) != before - 1) continue;
            ++taken;
            const auto fill = static_cast<uint8_t>(before);
            for (size_t i = 0; i < kRecord; ++i) {
                if ((i < 12 || i >= 16) && copy[i] != fill) return 1;
            }
            if (before == last) return taken > 0 ? 0 : 2;
        }
    }
}

TEST(LockfreeBuffer, OverrunReaderInAnotherProcessSeesNoTornRecord) {
    constexpr size_t kSlots = 5;
    constexpr uint32_t kCount = 500000;  // the last record lands in slot 4
    static_assert((kCount - 1) % kSlots == kSlots - 1);
    void* shared =
        mmap(nullptr, kSlots * kRecord, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto buffer = std::make_unique<LockfreeBuffer>(shared, kSlots * kRecord);

    const pid_t reader = fork();
    ASSERT_GE(reader, 0);
    if (reader == 0) _exit(followRing(static_cast<const uint8_t*>(shared), kSlots, kCount));
    for (uint32_t i = 1; i <= kCount; ++i) {
        const sensors_event_t event = eventOf(static_cast<uint8_t>(i));
        buffer->write(&event, 1);
    }
    int status = -1;
    waitpid(reader, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    buffer.reset();
    munmap(shared, kSlots * kRecord);
}

using Numbers = std::vector<int64_t>;

/** Writes numbered events; how many were taken. */
size_t write(RingBuffer& ring, int64_t first, size_t count) {
    std::vector<sensors_event_t> events(count);
    for (auto& event : events)
        event.timestamp = first++;
    return ring.write(events.data(), count);
}

Numbers read(RingBuffer& ring, size_t count) {
    std::vector<sensors_event_t> events(count);
    events.resize(ring.read(events.data(), count));
    Numbers numbers;
    for (const auto& event : events)
        numbers.push_back(event.timestamp);
    return numbers;
}

TEST(RingBuffer, DropsTheSurplusAndWrapsOnce) {
    RingBuffer ring(8);
    EXPECT_EQ(write(ring, 1, 5), 5U);
    EXPECT_EQ(write(ring, 6, 10), 3U);
    EXPECT_EQ(write(ring, 100, 1), 0U);
    EXPECT_EQ(read(ring, 6), (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(write(ring, 9, 5), 5U);  // slots 0 to 4
    EXPECT_EQ(read(ring, 100), (Numbers{7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(write(ring, 20, 8), 8U);  // slots 5 to 7, 0 to 4
    EXPECT_EQ(read(ring, 8), (Numbers{20, 21, 22, 23, 24, 25, 26, 27}));
}

// Each write finds its reader waiting, or soon to wait: a wake-up that fails ends in a hang.
TEST(RingBuffer, ReadersWaitForAnEvent) {
    constexpr int64_t kRounds = 1000;
    RingBuffer there(4);
    RingBuffer back(4);
    std::thread echo([&] {
        for (int64_t round = 1; round <= kRounds; ++round)
            write(back, read(there, 1)[0], 1);
    });
    for (int64_t round = 1; round <= kRounds; ++round) {
        write(there, round, 1);
        EXPECT_EQ(read(back, 1), Numbers{round});
    }
    echo.join();
}

}  // namespace
