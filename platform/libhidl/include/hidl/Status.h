// What an interface call gives back: a result and how the call itself went.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace android::hardware {

/// How a call went. Calls do not leave the process here, so a failure is one that the callee made.
class Status final {
  public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;
    static Status ok() { return Status(); }
    static Status fromExceptionCode(int32_t exception, const char* message = "");

    bool isOk() const { return mException == EX_NONE; }
    int32_t exceptionCode() const { return mException; }
    const char* exceptionMessage() const { return mMessage.c_str(); }
    std::string description() const;

  private:
    int32_t mException = EX_NONE;
    std::string mMessage;
};

namespace details {

/// A failed call that nobody asked about ends the process when its result is dropped.
class return_status {
  public:
    return_status() = default;
    return_status(Status status) : mStatus(std::move(status)) {}
    return_status(const return_status&) = default;
    return_status(return_status&& other) noexcept
        : mStatus(std::move(other.mStatus)), mChecked(std::exchange(other.mChecked, true)) {}
    return_status& operator=(return_status&& other) noexcept;
    ~return_status() { assertChecked(); }

    bool isOk() const {
        mChecked = true;
        return mStatus.isOk();
    }
    bool isDeadObject() const {
        mChecked = true;
        return false;
    }
    std::string description() const { return mStatus.description(); }

  protected:
    /// Taking the value of a failed call ends the process.
    void assertOk() const;

  private:
    void assertChecked() const;

    Status mStatus;
    mutable bool mChecked = false;  // the value of a Return follows in the padding behind it
};

}  // namespace details

template <typename T>
class Return : public details::return_status {
  public:
    Return(T value) : mValue(std::move(value)) {}
    Return(Status status) : return_status(std::move(status)) {}

    operator T() const {
        assertOk();
        return mValue;
    }
    T withDefault(T fallback) const { return isOk() ? mValue : fallback; }

  private:
    T mValue{};
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() = default;
    Return(Status status) : return_status(std::move(status)) {}
};

inline Return<void> Void() {
    return Return<void>();
}

}  // namespace android::hardware
