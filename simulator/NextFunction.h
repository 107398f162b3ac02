#pragma once

#include <dlfcn.h>

#include <atomic>

namespace simulator {

/**
 * The next definition of a function behind the program's own, looked up once. Constant initialised,
 * and looked up before main(): dlsym() waits for the loader's lock, and a thread that first needed
 * it while dlclose() waits for that very thread would never get it.
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
