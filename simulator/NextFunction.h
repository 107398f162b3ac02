#pragma once

#include <dlfcn.h>

#include <atomic>

namespace simulator {

/**
 * The next definition of a function after the program's own, looked up once. Constant initialised,
 * and looked up before main(): dlsym() takes the loader's lock, so a first call during a dlclose()
 * that waits for the calling thread would block forever.
 */
template <typename Function>
class NextFunction {
  public:
    explicit constexpr NextFunction(const char* name) : mName(name) {}

    Function* get() {
        void* address = mAddress.load(std::memory_order_acquire);
        if (address == nullptr) {
            address = dlsym(RTLD_NEXT, mName);
            mAddress.store(address, std::memory_order_release);
        }
        return reinterpret_cast<Function*>(address);
    }

    template <typename... Arguments>
    auto operator()(Arguments... arguments) {
        return get()(arguments...);
    }

  private:
    const char* mName;
    std::atomic<void*> mAddress{nullptr};
};

/** For a function that runs before main(). */
template <typename... Functions>
void lookUp(Functions&... functions) {
    (functions.get(), ...);
}

}  // namespace simulator
