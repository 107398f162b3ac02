#include <cmath>
#include <string>

#include "simulator/World.h"
#include "simulator/signals/Signals.h"

namespace simulator::signals {
namespace {

constexpr double kStepsPerSecond = 1.8;
constexpr double kGestureSeconds = 3.0;
constexpr double kCoverSeconds = 5.0;
constexpr double kDebugSeconds = 10.0;
constexpr uint32_t kGestureChannel = 60;
constexpr uint32_t kCoverChannel = 61;
constexpr uint32_t kFigureChannel = 62;

/** How often something has happened that happens every `period` seconds, with the seed's phase. */
int32_t countOf(const World& world, uint32_t channel, double period, double seconds) {
    const double phase = 0.5 * (1.0 + world.noise(channel, 0.0));
    return static_cast<int32_t>(std::floor(world.handled(seconds) / period + phase));
}

int32_t steps(const World& world, double seconds) {
    return static_cast<int32_t>(world.handled(seconds) * kStepsPerSecond);
}

bool coverClosed(const World& world, double seconds) {
    return countOf(world, kCoverChannel, kCoverSeconds, seconds) % 2 != 0;
}

/** A detector's figure of up to `range` that belongs to the nth happening. */
int32_t figure(const World& world, int32_t nth, int32_t which, double range) {
    return static_cast<int32_t>(range * world.noise(kFigureChannel, nth * 16 + which));
}

}  // namespace

void step(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u8(static_cast<uint8_t>(1 + steps(world, seconds) % 2));
}

void stepCount(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u32(0).u64(static_cast<uint64_t>(steps(world, seconds)));
}

void sequentialStep(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.i32(steps(world, seconds) % 120);  // every so often the person stands still
}

void gesture(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t count = countOf(world, kGestureChannel, kGestureSeconds, seconds);
    record.u8(static_cast<uint8_t>(1 + count % 2));
}

void ledCover(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u8(coverClosed(world, seconds) ? 1 : 0);
}

void flipCover(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const bool closed = coverClosed(world, seconds);
    record.u8(closed ? 1 : 0).u8(0);
    // The cover's magnet, as the magnetometer sees it, and what it saw before.
    record.i32(closed ? 820 : 35).i32(closed ? -410 : -20).i32(closed ? 1290 : 44);
    record.i32(closed ? 1580 : 60).i16(35).i16(-20).i16(44);
}

void backTap(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t count = countOf(world, kGestureChannel, kGestureSeconds, seconds);
    record.u8(static_cast<uint8_t>(2 + count % 2));  // double or triple
    for (int32_t which = 0; which < 3; ++which)
        record.i64(300 + figure(world, count, which, 100.0));
}

void drop(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t count = countOf(world, kGestureChannel, kGestureSeconds, seconds);
    // Of three records one is a trace of the fall.
    record.u8(static_cast<uint8_t>(count % 3 == 2 ? -1 : count % 3));
    for (int32_t which = 0; which < 6; ++which)
        record.i32(figure(world, count, which, 8000.0));
}

void proximityRaw(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int16_t prox = world.near(seconds) ? 910 : 40;
    record.i16(static_cast<int16_t>(prox + 180)).i16(prox).i16(25).i16(180).i16(0);
    record.i16(world.near(seconds) ? 3 : 260);
}

void pocketModeLite(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.u8(world.near(seconds) ? 1 : 0).i32(world.near(seconds) ? 910 : 40);
}

void pocketMode(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const bool in = world.near(seconds);
    record.u8(in ? 1 : 0).u8(in ? 3 : 0);
    record.u32(1200).u32(in ? 1650 : 1210).u32(0).u32(0).u32(0).u32(31);
    for (uint32_t word = 6; word < 14; ++word)
        record.u32(in ? word : 0);
}

void pocketPosMode(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const bool in = world.near(seconds);
    record.u8(in ? 2 : 0).u8(in ? 1 : 0).u32(in ? 4 : 0).u8(1).u32(2).u32(20230);
}

void hubDebugger(const World&, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t count = static_cast<int32_t>(seconds / kDebugSeconds);
    std::string text = "[hub] alive, report " + std::to_string(count);
    text.resize(256);
    record.text(text);
}

}  // namespace simulator::signals
