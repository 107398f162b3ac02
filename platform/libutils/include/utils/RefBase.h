// Reference-counted base class. Strong references only.
#pragma once

#include <atomic>
#include <cstdint>

#include <utils/StrongPointer.h>

namespace android {

/// Base of objects that sp<> owns together. The count may be changed by any thread; the last
/// reference to go deletes the object. An object that never had a strong reference is destroyed
/// by whoever made it, so it may live in static storage.
class RefBase {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;

    /// Number of strong references now; a hint only when other threads hold some.
    int32_t getStrongCount() const;

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

  protected:
    RefBase();
    virtual ~RefBase();

    virtual void onFirstRef();
    virtual void onLastStrongRef(const void* id);
    virtual bool onIncStrongAttempted(uint32_t flags, const void* id);
    virtual void onLastWeakRef(const void* id);

  private:
    mutable std::atomic<int32_t> mStrong{0};
    mutable std::atomic<bool> mReferenced{false};
};

}  // namespace android
