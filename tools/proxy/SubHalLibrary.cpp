#include "tools/proxy/SubHalLibrary.h"

#include <dlfcn.h>

namespace host_proxy {

SubHalLibrary::SubHalLibrary(const std::string& path) : mPath(path) {
    mLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* found = mLibrary != nullptr ? dlsym(mLibrary, "sensorsHalGetSubHal") : nullptr;
    if (found == nullptr) {
        const char* message = dlerror();
        mError = message != nullptr ? message : "the entry point is null";
        return;
    }
    mEntryPoint = reinterpret_cast<EntryPoint>(found);
    mSubHal = mEntryPoint(&mVersion);
    if (mSubHal == nullptr) mError = "the entry point gave no object";
}

bool SubHalLibrary::unload() {
    if (mLibrary == nullptr) return true;
    mSubHal = nullptr;
    mEntryPoint = nullptr;
    dlclose(mLibrary);
    mLibrary = nullptr;
    void* resident = dlopen(mPath.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (resident == nullptr) return true;
    dlclose(resident);
    return false;
}

std::vector<SensorInfo> sensorsOf(ISensorsSubHal& subHal) {
    std::vector<SensorInfo> sensors;
    subHal.getSensorsList([&](const auto& list) { sensors = list; });
    return sensors;
}

Answer registerDirectChannel(ISensorsSubHal& subHal, const SharedMemInfo& memory) {
    Answer answer;
    subHal.registerDirectChannel(memory, [&](Result result, int32_t channel) {
        answer = {result, channel};
    });
    return answer;
}

Answer configDirectReport(ISensorsSubHal& subHal, int32_t sensorHandle, int32_t channel,
                          RateLevel rate) {
    Answer answer;
    subHal.configDirectReport(sensorHandle, channel, rate, [&](Result result, int32_t token) {
        answer = {result, token};
    });
    return answer;
}

}  // namespace host_proxy
