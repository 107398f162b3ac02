#include "directchannel/RingBuffer.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using android::hardware::sensors::V2_0::zelva_sensorhub::RingBuffer;

namespace {

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

TEST(RingBuffer, ReadersWaitForAnEvent) {
    RingBuffer ring(4);
    std::thread writer([&ring] {
        for (int64_t number = 1; number <= 2000; std::this_thread::yield())
            number += static_cast<int64_t>(ring.write(eventsFrom(number, 1).data(), 1));
    });
    for (int64_t number = 1; number <= 2000; ++number)
        EXPECT_EQ(read(ring, 1), Numbers{number});
    writer.join();
}

}  // namespace
