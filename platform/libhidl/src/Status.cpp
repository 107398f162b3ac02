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

void return_status::assertOk() const {
    if (!isOk()) {
        __android_log_assert(nullptr, "libhidl", "value of a failed call taken: %s",
                             description().c_str());
    }
}

}  // namespace details
}  // namespace android::hardware
