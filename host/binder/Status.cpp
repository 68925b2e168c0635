// The outcome of binder calls.
#include <cstring>
#include <string>

#include <android/binder_status.h>

#include "host/binder/StatusNames.h"

struct AStatus {
    binder_exception_t exception = EX_NONE;
    // The service's code or the transport status, depending on the exception.
    int32_t code = 0;
    std::string message;
};

namespace {

using zelkcam::host::findName;
using zelkcam::host::kTransportStatuses;
using zelkcam::host::NamedCode;

constexpr NamedCode kExceptions[] = {
        {EX_NONE, "EX_NONE"},
        {EX_SECURITY, "EX_SECURITY"},
        {EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
        {EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
        {EX_NULL_POINTER, "EX_NULL_POINTER"},
        {EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
        {EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
        {EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
        {EX_SERVICE_SPECIFIC, "EX_SERVICE_SPECIFIC"},
        {EX_PARCELABLE, "EX_PARCELABLE"},
        {EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
};

binder_exception_t knownException(binder_exception_t exception) {
    return findName(kExceptions, exception) != nullptr ? exception : EX_TRANSACTION_FAILED;
}

binder_status_t knownStatus(binder_status_t status) {
    return findName(kTransportStatuses, status) != nullptr ? status : STATUS_UNKNOWN_ERROR;
}

// The one success that AStatus_newOk hands out, never destroyed.
AStatus* sharedOk() {
    static AStatus* const ok = new AStatus;
    return ok;
}

std::string describe(const AStatus& status) {
    if (status.exception == EX_NONE) {
        return "No error";
    }
    std::string text = "Status(" + std::to_string(status.exception) + ", " +
                       findName(kExceptions, status.exception) + "): '";
    if (status.exception == EX_SERVICE_SPECIFIC) {
        text += std::to_string(status.code) + ": ";
    }
    if (status.exception == EX_TRANSACTION_FAILED) {
        text += std::string(findName(kTransportStatuses, status.code)) + ": ";
    }
    return text + status.message + "'";
}

}  // namespace

AStatus* AStatus_newOk() {
    return sharedOk();
}

AStatus* AStatus_fromExceptionCode(binder_exception_t exception) {
    return new AStatus{knownException(exception), 0, ""};
}

AStatus* AStatus_fromExceptionCodeWithMessage(binder_exception_t exception, const char* message) {
    return new AStatus{knownException(exception), 0, message};
}

AStatus* AStatus_fromServiceSpecificError(int32_t serviceSpecific) {
    return new AStatus{EX_SERVICE_SPECIFIC, serviceSpecific, ""};
}

AStatus* AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific, const char* message) {
    return new AStatus{EX_SERVICE_SPECIFIC, serviceSpecific, message};
}

AStatus* AStatus_fromStatus(binder_status_t status) {
    if (status == STATUS_OK) {
        return new AStatus;
    }
    return new AStatus{EX_TRANSACTION_FAILED, knownStatus(status), ""};
}

bool AStatus_isOk(const AStatus* status) {
    return status->exception == EX_NONE;
}

binder_exception_t AStatus_getExceptionCode(const AStatus* status) {
    return status->exception;
}

int32_t AStatus_getServiceSpecificError(const AStatus* status) {
    return status->exception == EX_SERVICE_SPECIFIC ? status->code : 0;
}

binder_status_t AStatus_getStatus(const AStatus* status) {
    return status->exception == EX_TRANSACTION_FAILED ? status->code : STATUS_OK;
}

const char* AStatus_getMessage(const AStatus* status) {
    return status->message.c_str();
}

const char* AStatus_getDescription(const AStatus* status) {
    const std::string text = describe(*status);
    char* copy = new char[text.size() + 1];
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void AStatus_deleteDescription(const char* description) {
    delete[] description;
}

void AStatus_delete(AStatus* status) {
    if (status != sharedOk()) {
        delete status;
    }
}
