// The outcome of a HIDL call: the transport's status, and with it the value that came back.
#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include <hidl/HidlInternal.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android::hardware {

// Whether a call came through. A value; not safe for concurrent use.
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
        EX_HAS_REPLY_HEADER = -128,
        EX_TRANSACTION_FAILED = -129,
    };

    static Status ok();
    static Status fromExceptionCode(int32_t exceptionCode);
    static Status fromExceptionCode(int32_t exceptionCode, const char* message);
    // 0 is OK, anything else EX_TRANSACTION_FAILED with that status.
    static Status fromStatusT(status_t status);

    Status() = default;
    ~Status() = default;
    Status(const Status& other) = default;
    Status& operator=(const Status& other) = default;

    void setException(int32_t exception, const char* message);
    void setFromStatusT(status_t status);

    int32_t exceptionCode() const { return mException; }
    // Empty when there is none. Valid until the status changes.
    const char* exceptionMessage() const { return mMessage.c_str(); }
    // 0 unless the exception is EX_TRANSACTION_FAILED.
    status_t transactionError() const {
        return mException == EX_TRANSACTION_FAILED ? mErrorCode : OK;
    }
    bool isOk() const { return mException == EX_NONE; }

    std::string description() const;

  private:
    Status(int32_t exceptionCode, int32_t errorCode);
    Status(int32_t exceptionCode, int32_t errorCode, const char* message);

    int32_t mException = EX_NONE;
    int32_t mErrorCode = 0;
    std::string mMessage;
};

std::ostream& operator<<(std::ostream& stream, const Status& status);

// What happens to a call that came through if its outcome was never looked at. A failed call whose
// outcome was never looked at ends the process, whatever the restriction.
enum class HidlReturnRestriction {
    NONE = 0,
    ERROR_IF_UNCHECKED = 1,  // an error line in the log
    FATAL_IF_UNCHECKED = 2,  // the end of the process
};

// For the whole process, from now on.
void setProcessHidlReturnRestriction(HidlReturnRestriction restriction);

template <typename T>
class Return;

namespace details {

// The status part of every Return<T>. Moving leaves the source checked: only the target still has
// to be looked at.
class return_status {
  public:
    return_status() {}
    return_status(const Status& status) : mStatus(status) {}
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    return_status(return_status&& other) noexcept
        : mStatus(other.mStatus), mCheckedStatus(std::exchange(other.mCheckedStatus, true)) {}
    return_status& operator=(return_status&& other) noexcept;
    ~return_status();

    // Ends the process with the description when the call failed.
    void assertOk() const;

    bool isOk() const {
        mCheckedStatus = true;
        return mStatus.isOk();
    }
    // isOk without counting as having looked.
    bool isOkUnchecked() const { return mStatus.isOk(); }
    bool isDeadObject() const { return mStatus.transactionError() == DEAD_OBJECT; }

    std::string description() const { return mStatus.description(); }

  private:
    template <typename T, typename U>
    friend Return<U> StatusOf(const Return<T>& other);

    Status mStatus{};
    mutable bool mCheckedStatus = false;
};

}  // namespace details

// A value, or the reason why there is none. Conversion to the value ends the process when the call
// failed: ask isOk first.
template <typename T>
class Return : public details::return_status {
  public:
    Return(T value) : mValue(std::move(value)) {}
    Return(Status status) : details::return_status(status) {}
    Return(Return&& other) = default;
    Return& operator=(Return&&) = default;
    ~Return() = default;

    operator T() const {
        assertOk();
        return mValue;
    }
    T withDefault(T fallback) const { return isOk() ? mValue : fallback; }

  private:
    T mValue{};
};

template <typename T>
class Return<sp<T>> : public details::return_status {
  public:
    Return(sp<T> value) : mValue(std::move(value)) {}
    Return(T* value) : mValue(value) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    Return(sp<U> value) : mValue(std::move(value)) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    Return(U* value) : mValue(value) {}
    template <typename U, typename = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    Return(Return<sp<U>>&& other)
        : details::return_status(std::move(other)), mValue(std::move(other.mValue)) {}
    Return(Status status) : details::return_status(status) {}
    Return(Return&& other) = default;
    Return& operator=(Return&&) = default;
    ~Return() = default;

    operator sp<T>() const {
        assertOk();
        return mValue;
    }
    sp<T> withDefault(sp<T> fallback) const { return isOk() ? mValue : fallback; }

  private:
    template <typename U>
    friend class Return;

    sp<T> mValue;
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() = default;
    Return(const Status& status) : details::return_status(status) {}
    Return(Return&&) = default;
    Return& operator=(Return&&) = default;
    ~Return() = default;
};

// What a method without a result returns when it went well.
static inline Return<void> Void() {
    return Return<void>();
}

namespace details {

// The failed status of one call as the outcome of another.
template <typename T, typename U>
Return<U> StatusOf(const Return<T>& other) {
    const return_status& status = other;
    return Return<U>(status.mStatus);
}

}  // namespace details
}  // namespace android::hardware
