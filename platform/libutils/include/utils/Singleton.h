// One lazily made instance per type, which lives until the process ends.
#pragma once

#include <utils/Mutex.h>

namespace android {

// The static members are defined by the one source that uses the macro below, so a user of
// getInstance() legitimately sees no definition.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-var-template"
#endif

/// TYPE derives from Singleton<TYPE> and befriends it. Any thread may call.
template <typename TYPE>
class __attribute__((visibility("default"))) Singleton {
  public:
    static TYPE& getInstance() {
        Mutex::Autolock guard(sLock);
        if (sInstance == nullptr) {
            sInstance = new TYPE();
        }
        return *sInstance;
    }

    static bool hasInstance() {
        Mutex::Autolock guard(sLock);
        return sInstance != nullptr;
    }

    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

  protected:
    Singleton() = default;
    ~Singleton() = default;

  private:
    static Mutex sLock;
    static TYPE* sInstance;
};

#if defined(__clang__)
#pragma clang diagnostic pop
#endif

}  // namespace android

/// Defines the static members; at global scope or in namespace android, in one source, with no
/// semicolon after it.
#define ANDROID_SINGLETON_STATIC_INSTANCE(TYPE)                                     \
    template <>                                                                     \
    ::android::Mutex(::android::Singleton<TYPE>::sLock)(::android::Mutex::PRIVATE); \
    template <>                                                                     \
    TYPE*(::android::Singleton<TYPE>::sInstance)(nullptr);                          \
    template class ::android::Singleton<TYPE>;
