// The interface language's value types: strings, vectors, arrays and handles of fixed layout.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <cutils/native_handle.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

/// Flags of an enumeration, kept in its underlying type.
template <typename EnumType>
using hidl_bitfield = std::underlying_type_t<EnumType>;

/// Receives word of a remote object's death. Nothing is remote on a host, so it never comes.
struct hidl_death_recipient : public virtual RefBase {};

namespace details {

/// A pointer that is 64 bits wide in every process.
template <typename T>
class hidl_pointer {
  public:
    hidl_pointer() = default;
    hidl_pointer(T* pointer) : mPointer(pointer) {}
    hidl_pointer& operator=(T* pointer) {
        mPointer = pointer;
        return *this;
    }
    operator T*() const { return mPointer; }
    T& operator*() const { return *mPointer; }
    T* operator->() const { return mPointer; }

  private:
    alignas(8) T* mPointer = nullptr;
};

}  // namespace details

/// A native handle, borrowed unless it was given with ownership or copied.
class hidl_handle {
  public:
    hidl_handle() = default;
    ~hidl_handle();
    hidl_handle(const native_handle_t* handle) : mHandle(handle) {}  // borrows
    hidl_handle(const hidl_handle& other);                           // owns a clone
    hidl_handle(hidl_handle&& other) noexcept;
    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(const native_handle_t* handle);  // borrows
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    /// An owned handle is closed and deleted when this object lets go of it.
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* getNativeHandle() const { return mHandle; }
    const native_handle_t* operator->() const { return mHandle; }
    operator const native_handle_t*() const { return mHandle; }

  private:
    void freeHandle();

    details::hidl_pointer<const native_handle_t> mHandle;
    alignas(8) bool mOwnsHandle = false;
};

/// Zero-terminated string; never null.
class hidl_string {
  public:
    hidl_string();
    ~hidl_string();
    hidl_string(const hidl_string& other);
    hidl_string(const char* text);
    hidl_string(const char* text, size_t length);
    hidl_string(const std::string& text);
    hidl_string(hidl_string&& other) noexcept;
    hidl_string& operator=(const hidl_string& other);
    hidl_string& operator=(const char* text);
    hidl_string& operator=(const std::string& text);
    hidl_string& operator=(hidl_string&& other) noexcept;

    operator std::string() const { return {mBuffer, mSize}; }
    const char* c_str() const { return mBuffer; }
    size_t size() const { return mSize; }
    bool empty() const { return mSize == 0; }
    void clear();

  private:
    void copyFrom(const char* text, size_t length);
    void moveFrom(hidl_string& other);

    details::hidl_pointer<const char> mBuffer;
    uint32_t mSize = 0;
    bool mOwnsBuffer = false;
};

bool operator==(const hidl_string& left, const hidl_string& right);
bool operator<(const hidl_string& left, const hidl_string& right);
inline bool operator!=(const hidl_string& left, const hidl_string& right) {
    return !(left == right);
}

/// Array of elements that it owns.
template <typename T>
class hidl_vec {
  public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    hidl_vec() = default;
    explicit hidl_vec(size_t size) { resize(size); }
    hidl_vec(std::initializer_list<T> list) { assign(list.begin(), list.end()); }
    hidl_vec(const std::vector<T>& other) { assign(other.begin(), other.end()); }
    template <typename It, typename = typename std::iterator_traits<It>::iterator_category>
    hidl_vec(It first, It last) {
        assign(first, last);
    }
    hidl_vec(const hidl_vec& other) { assign(other.begin(), other.end()); }
    hidl_vec(hidl_vec&& other) noexcept { swap(other); }
    ~hidl_vec() { delete[] data(); }

    hidl_vec& operator=(const hidl_vec& other) {
        if (this != &other) {
            hidl_vec(other).swap(*this);
        }
        return *this;
    }
    hidl_vec& operator=(hidl_vec&& other) noexcept {
        hidl_vec(std::move(other)).swap(*this);
        return *this;
    }
    hidl_vec& operator=(const std::vector<T>& other) {
        hidl_vec(other).swap(*this);
        return *this;
    }
    hidl_vec& operator=(std::initializer_list<T> list) {
        hidl_vec(list).swap(*this);
        return *this;
    }
    operator std::vector<T>() const { return std::vector<T>(begin(), end()); }

    size_t size() const { return mSize; }
    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    T& operator[](size_t index) { return data()[index]; }
    const T& operator[](size_t index) const { return data()[index]; }
    iterator begin() { return data(); }
    iterator end() { return data() + mSize; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + mSize; }

    /// Keeps the elements that still fit; new ones are value-initialised.
    void resize(size_t size) {
        hidl_vec resized;
        resized.allocate(size);
        std::move(begin(), begin() + std::min<size_t>(size, mSize), resized.begin());
        resized.swap(*this);
    }

    bool operator==(const hidl_vec& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }
    bool operator!=(const hidl_vec& other) const { return !(*this == other); }

  private:
    void allocate(size_t size) {
        mBuffer = size == 0 ? nullptr : new T[size]();
        mSize = static_cast<uint32_t>(size);
    }
    template <typename It>
    void assign(It first, It last) {
        allocate(static_cast<size_t>(std::distance(first, last)));
        std::copy(first, last, begin());
    }
    void swap(hidl_vec& other) noexcept {
        std::swap(mBuffer, other.mBuffer);
        std::swap(mSize, other.mSize);
    }

    details::hidl_pointer<T> mBuffer;
    uint32_t mSize = 0;
    [[maybe_unused]] bool mOwnsBuffer = true;
};

/// Fixed array that can be a member of a union.
template <typename T, size_t kSize>
class hidl_array {
  public:
    hidl_array() = default;
    hidl_array(const T* source) { std::copy(source, source + kSize, mBuffer); }

    T* data() { return mBuffer; }
    const T* data() const { return mBuffer; }
    T& operator[](size_t index) { return mBuffer[index]; }
    const T& operator[](size_t index) const { return mBuffer[index]; }
    static constexpr size_t size() { return kSize; }

    bool operator==(const hidl_array& other) const {
        return std::equal(mBuffer, mBuffer + kSize, other.mBuffer);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

  private:
    T mBuffer[kSize];
};

static_assert(sizeof(hidl_handle) == 16, "hidl_handle layout");
static_assert(sizeof(hidl_string) == 16, "hidl_string layout");
static_assert(sizeof(hidl_vec<char>) == 16, "hidl_vec layout");
static_assert(std::is_trivial_v<hidl_array<float, 16>>, "hidl_array in a union");

}  // namespace android::hardware
