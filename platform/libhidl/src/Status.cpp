#include <hidl/Status.h>

#include <android/log.h>

namespace android::hardware {

Status Status::fromExceptionCode(int32_t exception, const char* message) {
    Status status;
    status.mException = exception;
    status.mMessage = message;
    return status;
}

std::string Status::description() const {
    if (isOk()) {
        return "No error";
    }
    return "Status(" + std::to_string(mException) + "): '" + mMessage + "'";
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this != &other) {
        assertChecked();
        mStatus = std::move(other.mStatus);
        mChecked = std::exchange(other.mChecked, true);
    }
    return *this;
}

void return_status::assertOk() const {
    if (!isOk()) {
        __android_log_assert(nullptr, "libhidl", "value of a failed call taken: %s",
                             description().c_str());
    }
}

void return_status::assertChecked() const {
    if (!mChecked && !mStatus.isOk()) {
        __android_log_assert(nullptr, "libhidl", "failed call not looked at: %s",
                             description().c_str());
    }
}

}  // namespace details
}  // namespace android::hardware
