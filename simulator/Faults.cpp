#include "simulator/Faults.h"

namespace simulator {

int Faults::next(Call call, const std::string& path) {
    const std::lock_guard<std::mutex> lock(mMutex);
    int error = 0;
    for (Fault& fault : mFaults) {
        if (fault.call != call || fault.path != path) continue;
        if (fault.pass > 0) {
            --fault.pass;
        } else if (error == 0 && fault.remaining != 0) {
            if (fault.remaining != kForever) --fault.remaining;
            error = fault.error;
        }
    }
    return error;
}

}  // namespace simulator
