#pragma once

#include "simulator/NodePaths.h"

namespace subhalctl {

using namespace simulator::paths;

constexpr char kOtherMessagePath[] = "/dev/shub_sensorhub";
constexpr char kIioPrefix[] = "iio:device";

}  // namespace subhalctl
