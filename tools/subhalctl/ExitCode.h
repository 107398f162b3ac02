#pragma once

namespace subhalctl {

/** Exit status of the program; scripts rely on the numbers. */
enum ExitCode : int {
    kOk = 0,
    kCheckFailed = 1,
    kUsage = 2,
    kCannotLoad = 3,
    kNoSuchSensor = 4,
    kRefused = 5,
    kNoData = 6,
    kNoHub = 7,
    kOutputLost = 8,
};

}  // namespace subhalctl
