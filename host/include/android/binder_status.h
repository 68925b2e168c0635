// Status and exception codes of binder calls, and AStatus, which carries one of them with a
// message.
#pragma once

#include <assert.h>
#include <errno.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

// Clang's nullability words, which GCC lacks.
#if !defined(__clang__)
#ifndef _Nonnull
#define _Nonnull
#endif
#ifndef _Nullable
#define _Nullable
#endif
#ifndef _Null_unspecified
#define _Null_unspecified
#endif
#endif

#ifndef __ANDROID__
#include <stdlib.h>

#include <android/binder_internal_logging.h>

#ifndef __INTRODUCED_IN
#define __INTRODUCED_IN(api_level)
#endif
#ifndef __ANDROID_API__
#define __ANDROID_API__ 10000
#endif
// bionic's assertion failure.
#define __assert(file, line, message)                            \
    do {                                                         \
        syslog(LOG_ERR, "%s:%d: %s", (file), (line), (message)); \
        abort();                                                 \
    } while (false)
#endif

__BEGIN_DECLS

enum {
    STATUS_OK = 0,
    STATUS_UNKNOWN_ERROR = (-2147483647 - 1),
    STATUS_NO_MEMORY = -ENOMEM,
    STATUS_INVALID_OPERATION = -ENOSYS,
    STATUS_BAD_VALUE = -EINVAL,
    STATUS_BAD_TYPE = (STATUS_UNKNOWN_ERROR + 1),
    STATUS_NAME_NOT_FOUND = -ENOENT,
    STATUS_PERMISSION_DENIED = -EPERM,
    STATUS_NO_INIT = -ENODEV,
    STATUS_ALREADY_EXISTS = -EEXIST,
    STATUS_DEAD_OBJECT = -EPIPE,
    STATUS_FAILED_TRANSACTION = (STATUS_UNKNOWN_ERROR + 2),
    STATUS_BAD_INDEX = -EOVERFLOW,
    STATUS_NOT_ENOUGH_DATA = -ENODATA,
    STATUS_WOULD_BLOCK = -EWOULDBLOCK,
    STATUS_TIMED_OUT = -ETIMEDOUT,
    STATUS_UNKNOWN_TRANSACTION = -EBADMSG,
    STATUS_FDS_NOT_ALLOWED = (STATUS_UNKNOWN_ERROR + 7),
    STATUS_UNEXPECTED_NULL = (STATUS_UNKNOWN_ERROR + 8),
};

// One of the STATUS_ codes.
typedef int32_t binder_status_t;

enum {
    EX_NONE = 0,
    EX_SECURITY = -1,
    EX_BAD_PARCELABLE = -2,
    EX_ILLEGAL_ARGUMENT = -3,
    EX_NULL_POINTER = -4,
    EX_ILLEGAL_STATE = -5,
    EX_NETWORK_MAIN_THREAD = -6,
    EX_UNSUPPORTED_OPERATION = -7,
    EX_SERVICE_SPECIFIC = -8,
    EX_PARCELABLE = -9,
    EX_TRANSACTION_FAILED = -129,
};

// One of the EX_ codes.
typedef int32_t binder_exception_t;

// The outcome of a call: success, an exception, a service's own error code or a transport status.
// Every one that a function below makes is released with AStatus_delete.
struct AStatus;
typedef struct AStatus AStatus;

__attribute__((warn_unused_result)) AStatus* _Nonnull AStatus_newOk(void) __INTRODUCED_IN(29);

// An unknown exception becomes EX_TRANSACTION_FAILED; EX_NONE is success.
__attribute__((warn_unused_result))
AStatus* _Nonnull AStatus_fromExceptionCode(binder_exception_t exception) __INTRODUCED_IN(29);

__attribute__((warn_unused_result))
AStatus* _Nonnull AStatus_fromExceptionCodeWithMessage(binder_exception_t exception,
                                                       const char* _Nonnull message)
        __INTRODUCED_IN(29);

// Never success, not even for code 0.
__attribute__((warn_unused_result))
AStatus* _Nonnull AStatus_fromServiceSpecificError(int32_t serviceSpecific) __INTRODUCED_IN(29);

__attribute__((warn_unused_result))
AStatus* _Nonnull AStatus_fromServiceSpecificErrorWithMessage(int32_t serviceSpecific,
                                                              const char* _Nonnull message)
        __INTRODUCED_IN(29);

// STATUS_OK is success; an unknown status becomes STATUS_UNKNOWN_ERROR.
__attribute__((warn_unused_result)) AStatus* _Nonnull AStatus_fromStatus(binder_status_t status)
        __INTRODUCED_IN(29);

// The readers dereference the status: null is not allowed.
bool AStatus_isOk(const AStatus* _Nonnull status) __INTRODUCED_IN(29);
binder_exception_t AStatus_getExceptionCode(const AStatus* _Nonnull status) __INTRODUCED_IN(29);

// The service's code, or 0 when the exception is not EX_SERVICE_SPECIFIC.
int32_t AStatus_getServiceSpecificError(const AStatus* _Nonnull status) __INTRODUCED_IN(29);

// The transport status, or 0 when the exception is not EX_TRANSACTION_FAILED.
binder_status_t AStatus_getStatus(const AStatus* _Nonnull status) __INTRODUCED_IN(29);

// The message, empty when there is none. It lives as long as the status.
const char* _Nonnull AStatus_getMessage(const AStatus* _Nonnull status) __INTRODUCED_IN(29);

// The status in words; released with AStatus_deleteDescription.
__attribute__((warn_unused_result))
const char* _Nonnull AStatus_getDescription(const AStatus* _Nonnull status) __INTRODUCED_IN(30);
void AStatus_deleteDescription(const char* _Nonnull description) __INTRODUCED_IN(30);

// Null is allowed.
void AStatus_delete(AStatus* _Nullable status) __INTRODUCED_IN(29);

__END_DECLS
