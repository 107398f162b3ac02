#include <cmath>

#include "simulator/World.h"
#include "simulator/signals/Signals.h"

namespace simulator::signals {
namespace {

constexpr uint32_t kLampChannel = 60;  // this signal's channel of the world's noise
constexpr double kLampPeriod = 40.0;   // s, from dark to dark
constexpr double kBrightest = 800.0;   // lux
constexpr double kSeamlessThreshold = 400.0;
constexpr uint8_t kMinimumFlag = 2;

/** How far the lamp is turned up, 0 to 1, from a start that the seed decides. */
double lamp(const World& world, double seconds) {
    const double start = (world.noise(kLampChannel, 0.0) + 1.0) / 2.0;
    const double turn = std::fmod(seconds / kLampPeriod + start, 1.0);
    return 1.0 - std::fabs(2.0 * turn - 1.0);
}

/** In steps of ten lux, as the hub's filter reports it. */
int32_t lux(const World& world, double seconds) {
    return 10 * static_cast<int32_t>(lamp(world, seconds) * kBrightest / 10.0);
}

int32_t share(int32_t value, double factor) {
    return static_cast<int32_t>(std::lround(value * factor));
}

}  // namespace

void light(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.i32(lux(world, seconds));
}

void lightCct(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t value = lux(world, seconds);
    const double kelvin = 2700.0 + 2300.0 * lamp(world, seconds);  // a lamp turned down is warmer
    const auto region = static_cast<int16_t>(std::fmod(seconds / 5.0, 4.0));
    record.i32(value).i32(static_cast<int32_t>(kelvin)).i32(share(value, 1.08)).i16(region);
}

void autoBrightness(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    const int32_t value = lux(world, seconds);
    record.i32(value).u8(value == 0 ? kMinimumFlag : 0).u32(0).u8(0);
}

void lightIr(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    constexpr int16_t kGain = 16;
    constexpr int16_t kIntegrationTime = 50;
    const int32_t clear = share(lux(world, seconds), 4.0);
    record.i32(share(clear, 0.35)).i32(share(clear, 0.40)).i32(share(clear, 0.33));
    record.i32(share(clear, 0.22)).i32(clear).i16(kGain).i16(kIntegrationTime);
}

void lightSeamless(const World& world, const SensorSpec&, double seconds, RecordBuilder& record) {
    record.i32(lux(world, seconds) >= kSeamlessThreshold ? 1 : 0);
}

}  // namespace simulator::signals
