#include <atomic>

#include <android/log.h>
#include <hidl/Status.h>

#include "host/binder/StatusNames.h"

namespace android {
namespace hardware {

namespace {

using zelkcam::host::findName;
using zelkcam::host::kTransportStatuses;
using zelkcam::host::NamedCode;

constexpr NamedCode kExceptions[] = {
        {Status::EX_NONE, "EX_NONE"},
        {Status::EX_SECURITY, "EX_SECURITY"},
        {Status::EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
        {Status::EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
        {Status::EX_NULL_POINTER, "EX_NULL_POINTER"},
        {Status::EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
        {Status::EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
        {Status::EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
        {Status::EX_HAS_REPLY_HEADER, "EX_HAS_REPLY_HEADER"},
        {Status::EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

// The number itself when it has no name.
template <size_t N>
std::string nameOf(const NamedCode (&names)[N], int32_t code) {
    const char* const name = findName(names, code);
    return name != nullptr ? name : std::to_string(code);
}

std::atomic<HidlReturnRestriction> returnRestriction{HidlReturnRestriction::NONE};

void reportUnchecked(const Status& status) {
    const HidlReturnRestriction restriction = returnRestriction;
    if (status.isOk() && restriction == HidlReturnRestriction::NONE) {
        return;
    }
    const std::string message = "Outcome of a HIDL call was not looked at: " + status.description();
    if (!status.isOk() || restriction == HidlReturnRestriction::FATAL_IF_UNCHECKED) {
        details::logAlwaysFatal(message.c_str());
    }
    __android_log_write(ANDROID_LOG_ERROR, "hidl", message.c_str());
}

}  // namespace

Status Status::ok() {
    return Status();
}

Status Status::fromExceptionCode(int32_t exceptionCode) {
    return Status(exceptionCode, OK);
}

Status Status::fromExceptionCode(int32_t exceptionCode, const char* message) {
    return Status(exceptionCode, OK, message);
}

Status Status::fromStatusT(status_t status) {
    Status result;
    result.setFromStatusT(status);
    return result;
}

Status::Status(int32_t exceptionCode, int32_t errorCode)
    : mException(exceptionCode), mErrorCode(errorCode) {}

Status::Status(int32_t exceptionCode, int32_t errorCode, const char* message)
    : mException(exceptionCode),
      mErrorCode(errorCode),
      mMessage(message != nullptr ? message : "") {}

void Status::setException(int32_t exception, const char* message) {
    *this = Status(exception, OK, message);
}

void Status::setFromStatusT(status_t status) {
    *this = Status(status == OK ? EX_NONE : EX_TRANSACTION_FAILED, status);
}

std::string Status::description() const {
    if (isOk()) {
        return "No error";
    }
    std::string text = "Status(" + nameOf(kExceptions, mException) + "): '";
    if (mException == EX_TRANSACTION_FAILED) {
        text += nameOf(kTransportStatuses, mErrorCode) + ": ";
    }
    return text + mMessage + "'";
}

std::ostream& operator<<(std::ostream& stream, const Status& status) {
    return stream << status.description();
}

void setProcessHidlReturnRestriction(HidlReturnRestriction restriction) {
    returnRestriction = restriction;
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    if (!mCheckedStatus) {
        reportUnchecked(mStatus);
    }
    mStatus = other.mStatus;
    mCheckedStatus = other.mCheckedStatus;
    other.mCheckedStatus = true;
    return *this;
}

return_status::~return_status() {
    if (!mCheckedStatus) {
        reportUnchecked(mStatus);
    }
}

void return_status::assertOk() const {
    if (!isOk()) {
        const std::string message = "Value of a failed HIDL call was taken: " + description();
        logAlwaysFatal(message.c_str());
    }
}

}  // namespace details
}  // namespace hardware
}  // namespace android
