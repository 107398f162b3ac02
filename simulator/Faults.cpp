#include "simulator/Faults.h"

namespace simulator {

void Faults::add(Call call, const std::string& path, int error, int nth, int count) {
    mFaults[{call, path}].push_back({error, nth - 1, count});
}

int Faults::next(Call call, const std::string& path) {
    if (mFaults.empty()) return 0;
    const auto found = mFaults.find({call, path});
    if (found == mFaults.end()) return 0;
    int error = 0;
    for (Fault& fault : found->second) {
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
