#pragma once

#include "simulator/RecordBuilder.h"
#include "simulator/SensorSpec.h"

namespace simulator {

class World;

/**
 * Writes one record's data for the moment `seconds` after the hub's start, everything except the
 * trailing 8-byte timestamp. Must depend on its arguments only, so that a seed gives one history.
 */
using SignalFunction = void(const World& world, const SensorSpec& spec, double seconds,
                            RecordBuilder& record);

}  // namespace simulator
