// Owning pointer to a reference-counted object (anything with incStrong and decStrong).
#pragma once

#include <functional>
#include <utility>

namespace android {

/// One sp object is no more thread-safe than a plain pointer; different sp objects to one target
/// may be used from different threads.
template <typename T>
class sp {
  public:
    sp() = default;
    sp(T* other) : mPtr(other) { acquire(); }
    sp(const sp& other) : mPtr(other.mPtr) { acquire(); }
    sp(sp&& other) noexcept : mPtr(std::exchange(other.mPtr, nullptr)) {}
    template <typename U>
    sp(U* other) : mPtr(other) {
        acquire();
    }
    template <typename U>
    sp(const sp<U>& other) : mPtr(other.mPtr) {
        acquire();
    }
    template <typename U>
    sp(sp<U>&& other) : mPtr(std::exchange(other.mPtr, nullptr)) {}
    ~sp() { release(); }

    sp& operator=(const sp& other) {
        sp(other).swap(*this);
        return *this;
    }
    sp& operator=(sp&& other) noexcept {
        sp(std::move(other)).swap(*this);
        return *this;
    }
    sp& operator=(T* other) {
        sp(other).swap(*this);
        return *this;
    }
    template <typename U>
    sp& operator=(const sp<U>& other) {
        sp(other).swap(*this);
        return *this;
    }
    template <typename U>
    sp& operator=(sp<U>&& other) {
        sp(std::move(other)).swap(*this);
        return *this;
    }
    template <typename U>
    sp& operator=(U* other) {
        sp(other).swap(*this);
        return *this;
    }

    void clear() { sp().swap(*this); }

    T* get() const { return mPtr; }
    T& operator*() const { return *mPtr; }
    T* operator->() const { return mPtr; }
    explicit operator bool() const { return mPtr != nullptr; }

    template <typename U>
    bool operator==(const sp<U>& other) const {
        return mPtr == other.mPtr;
    }
    template <typename U>
    bool operator!=(const sp<U>& other) const {
        return mPtr != other.mPtr;
    }
    template <typename U>
    bool operator==(const U* other) const {
        return mPtr == other;
    }
    template <typename U>
    bool operator!=(const U* other) const {
        return mPtr != other;
    }
    bool operator==(const T* other) const { return mPtr == other; }
    bool operator!=(const T* other) const { return mPtr != other; }
    bool operator<(const sp& other) const { return std::less<T*>()(mPtr, other.mPtr); }

  private:
    template <typename U>
    friend class sp;

    void swap(sp& other) noexcept { std::swap(mPtr, other.mPtr); }
    void acquire() {
        if (mPtr != nullptr) {
            mPtr->incStrong(this);
        }
    }
    void release() {
        if (mPtr != nullptr) {
            mPtr->decStrong(this);
        }
    }

    T* mPtr = nullptr;
};

}  // namespace android
