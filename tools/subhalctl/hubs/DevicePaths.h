#pragma once

#include "simulator/NodePaths.h"

namespace subhalctl {

// What the hub's kernel driver shows, as far as a user has to hear of it.
using simulator::kBatchPath;
using simulator::kContextListPath;
using simulator::kDataDirectory;
using simulator::kDumpPath;
using simulator::kEnablePath;
using simulator::kFileManagerPath;
using simulator::kFlushPath;
using simulator::kHbxInjectionPath;
using simulator::kIioDirectory;
using simulator::kMessagePath;
using simulator::kNfcCoverPath;
using simulator::kRearDataPath;
using simulator::kRearEnablePath;
using simulator::kShubInjectionPath;
using simulator::kSpecPath;
constexpr char kOtherMessagePath[] = "/dev/shub_sensorhub";
constexpr char kIioPrefix[] = "iio:device";

}  // namespace subhalctl
