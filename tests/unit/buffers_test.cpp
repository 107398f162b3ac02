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

using android::hardware::sensors::V2_0::zelva_sensorhub::LockfreeBuffer;
using android::hardware::sensors::V2_0::zelva_sensorhub::RingBuffer;

namespace {

constexpr size_t kRecord = 104;

/** Every byte tells the event, the bytes of the counter word included. */
sensors_event_t eventOf(uint8_t fill) {
    sensors_event_t event;
    memset(&event, fill, sizeof(event));
    return event;
}

std::string filled(size_t count, uint8_t value) {
    return std::string(count, static_cast<char>(value));
}

/** What a slot holds when it was written as the nth record. */
std::string slotOf(uint32_t counter, uint8_t fill) {
    return filled(12, fill) + std::string(reinterpret_cast<const char*>(&counter), 4) +
           filled(kRecord - 16, fill);
}

TEST(LockfreeBuffer, WrapsAroundAndNeverTouchesTheTail) {
    std::string region(1000, '\xAA');  // 9 slots and 64 bytes
    auto buffer = std::make_unique<LockfreeBuffer>(region.data(), 1000);
    EXPECT_EQ(region, filled(1000, 0));
    const std::string tail = filled(64, 0x55);
    region.replace(936, 64, tail);

    std::vector<sensors_event_t> events;
    std::string expected;
    for (uint8_t i = 1; i <= 8; ++i) {
        events.push_back(eventOf(i));
        expected += slotOf(i, i);
    }
    buffer->write(events.data(), 0);
    EXPECT_EQ(region, filled(936, 0) + tail);
    buffer->write(events.data(), events.size());
    EXPECT_EQ(region, expected + filled(kRecord, 0) + tail);
    // The ninth fills the last slot, the tenth replaces the oldest record.
    const sensors_event_t more[] = {eventOf(0x99), eventOf(0xBB)};
    buffer->write(more, 2);
    expected = slotOf(10, 0xBB) + expected.substr(kRecord) + slotOf(9, 0x99);
    EXPECT_EQ(region, expected + tail);
    buffer.reset();
    EXPECT_EQ(region, filled(936, 0) + tail);

    // A region without a whole slot stays zero.
    LockfreeBuffer(region.data(), 103).write(events.data(), 1);
    EXPECT_EQ(region.substr(0, 103), filled(103, 0));
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

std::vector<sensors_event_t> eventsFrom(int64_t first, size_t count) {
    std::vector<sensors_event_t> events(count);
    for (auto& event : events) {
        event.timestamp = first++;
        event.flags = static_cast<uint32_t>(event.timestamp);
    }
    return events;
}

std::vector<int64_t> read(RingBuffer& ring, size_t count) {
    std::vector<sensors_event_t> events(count);
    events.resize(ring.read(events.data(), count));
    std::vector<int64_t> numbers;
    for (const auto& event : events) {
        EXPECT_EQ(event.flags, static_cast<uint32_t>(event.timestamp));
        numbers.push_back(event.timestamp);
    }
    return numbers;
}

using Numbers = std::vector<int64_t>;

TEST(RingBuffer, DropsTheSurplusAndWrapsOnce) {
    RingBuffer ring(8);
    EXPECT_EQ(ring.write(eventsFrom(1, 5).data(), 5), 5U);
    EXPECT_EQ(ring.write(eventsFrom(6, 10).data(), 10), 3U);
    EXPECT_EQ(ring.write(eventsFrom(100, 1).data(), 1), 0U);
    EXPECT_EQ(read(ring, 6), (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(ring.write(eventsFrom(9, 5).data(), 5), 5U);  // slots 0 to 4
    EXPECT_EQ(read(ring, 100), (Numbers{7, 8, 9, 10, 11, 12, 13}));
    EXPECT_EQ(ring.write(eventsFrom(20, 8).data(), 8), 8U);  // slots 5 to 7, 0 to 4
    EXPECT_EQ(read(ring, 8), (Numbers{20, 21, 22, 23, 24, 25, 26, 27}));
    EXPECT_EQ(RingBuffer(0).write(eventsFrom(1, 3).data(), 3), 0U);
}

// Each write finds its reader waiting, or soon to wait: a wake-up that fails ends in a hang.
TEST(RingBuffer, ReadersWaitForAnEvent) {
    constexpr int64_t kRounds = 1000;
    RingBuffer there(4);
    RingBuffer back(4);
    std::thread echo([&] {
        for (int64_t round = 1; round <= kRounds; ++round)
            back.write(eventsFrom(read(there, 1)[0], 1).data(), 1);
    });
    for (int64_t round = 1; round <= kRounds; ++round) {
        there.write(eventsFrom(round, 1).data(), 1);
        EXPECT_EQ(read(back, 1), Numbers{round});
    }
    echo.join();
}

}  // namespace
