#include <hidl/HidlSupport.h>

#include <cstring>

namespace android::hardware {

hidl_handle::~hidl_handle() {
    freeHandle();
}

hidl_handle::hidl_handle(const hidl_handle& other) {
    *this = other;
}

hidl_handle::hidl_handle(hidl_handle&& other) noexcept {
    *this = std::move(other);
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this != &other) {
        freeHandle();
        mHandle = other.mHandle == nullptr ? nullptr : native_handle_clone(other.mHandle);
        mOwnsHandle = mHandle != nullptr;
    }
    return *this;
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    freeHandle();
    mHandle = handle;
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this != &other) {
        freeHandle();
        mHandle = std::exchange(other.mHandle, nullptr);
        mOwnsHandle = std::exchange(other.mOwnsHandle, false);
    }
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    freeHandle();
    mHandle = handle;
    mOwnsHandle = shouldOwn;
}

void hidl_handle::freeHandle() {
    if (mOwnsHandle && mHandle != nullptr) {
        native_handle_close(mHandle);
        native_handle_delete(const_cast<native_handle_t*>(getNativeHandle()));
    }
    mHandle = nullptr;
    mOwnsHandle = false;
}

hidl_string::hidl_string() : mBuffer("") {}

hidl_string::~hidl_string() {
    clear();
}

hidl_string::hidl_string(const hidl_string& other) : hidl_string() {
    copyFrom(other.c_str(), other.size());
}

hidl_string::hidl_string(const char* text) : hidl_string() {
    *this = text;
}

hidl_string::hidl_string(const char* text, size_t length) : hidl_string() {
    copyFrom(text, length);
}

hidl_string::hidl_string(const std::string& text) : hidl_string() {
    copyFrom(text.c_str(), text.size());
}

hidl_string::hidl_string(hidl_string&& other) noexcept : hidl_string() {
    moveFrom(other);
}

hidl_string& hidl_string::operator=(const hidl_string& other) {
    if (this != &other) {
        copyFrom(other.c_str(), other.size());
    }
    return *this;
}

hidl_string& hidl_string::operator=(const char* text) {
    if (text == nullptr) {
        clear();
    } else {
        copyFrom(text, strlen(text));
    }
    return *this;
}

hidl_string& hidl_string::operator=(const std::string& text) {
    copyFrom(text.c_str(), text.size());
    return *this;
}

hidl_string& hidl_string::operator=(hidl_string&& other) noexcept {
    if (this != &other) {
        clear();
        moveFrom(other);
    }
    return *this;
}

void hidl_string::clear() {
    if (mOwnsBuffer) {
        delete[] c_str();
    }
    mBuffer = "";
    mSize = 0;
    mOwnsBuffer = false;
}

// The text may be a part of this string, so the old buffer goes last.
void hidl_string::copyFrom(const char* text, size_t length) {
    char* const buffer = new char[length + 1];
    memcpy(buffer, text, length);
    buffer[length] = '\0';
    clear();
    mBuffer = buffer;
    mSize = static_cast<uint32_t>(length);
    mOwnsBuffer = true;
}

void hidl_string::moveFrom(hidl_string& other) {
    mBuffer = std::exchange(other.mBuffer, "");
    mSize = std::exchange(other.mSize, 0U);
    mOwnsBuffer = std::exchange(other.mOwnsBuffer, false);
}

bool operator==(const hidl_string& left, const hidl_string& right) {
    return left.size() == right.size() && memcmp(left.c_str(), right.c_str(), left.size()) == 0;
}

bool operator<(const hidl_string& left, const hidl_string& right) {
    return strcmp(left.c_str(), right.c_str()) < 0;
}

}  // namespace android::hardware
