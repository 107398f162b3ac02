#include "simulator/HostedLibrary.h"

#include <dlfcn.h>

namespace simulator {

HostedLibrary::HostedLibrary(SimulatedHub& hub, const std::string& path) : mHub(hub), mPath(path) {
    mLibrary = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (mLibrary != nullptr) mEntryPoint = symbol("sensorsHalGetSubHal");
    if (mEntryPoint != nullptr) return;
    const char* message = dlerror();
    mError = message != nullptr ? message : "no entry point";
}

HostedLibrary::~HostedLibrary() {
    unload();
}

void* HostedLibrary::symbol(const char* name) const {
    return mLibrary != nullptr ? dlsym(mLibrary, name) : nullptr;
}

bool HostedLibrary::unload() {
    if (mLibrary == nullptr) return true;
    {
        ShutdownHelper helper(mHub);
        dlclose(mLibrary);
    }
    mLibrary = nullptr;
    mEntryPoint = nullptr;
    void* resident = dlopen(mPath.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (resident == nullptr) return true;
    dlclose(resident);
    return false;
}

}  // namespace simulator
