// The service manager: binders by instance name, "<interface descriptor>/<instance>".
//
// Every function is safe from any thread.
#pragma once

#include <sys/cdefs.h>

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <android/llndk-versioning.h>

__BEGIN_DECLS

enum AServiceManager_AddServiceFlag : uint32_t {
    ADD_SERVICE_ALLOW_ISOLATED = 1,
    ADD_SERVICE_DUMP_FLAG_PRIORITY_CRITICAL = 2,
    ADD_SERVICE_DUMP_FLAG_PRIORITY_HIGH = 4,
    ADD_SERVICE_DUMP_FLAG_PRIORITY_NORMAL = 8,
    ADD_SERVICE_DUMP_FLAG_PRIORITY_DEFAULT = 16,
};

// Registers the binder, in the place of what had the name before. The manager holds a reference of
// its own; the caller keeps theirs. EX_ILLEGAL_ARGUMENT when an argument is null.
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addService(
        AIBinder* _Nonnull binder, const char* _Nonnull instance) __INTRODUCED_IN(29);
__attribute__((warn_unused_result)) binder_exception_t AServiceManager_addServiceWithFlags(
        AIBinder* _Nonnull binder, const char* _Nonnull instance,
        const enum AServiceManager_AddServiceFlag flags) __INTRODUCED_IN(34)
        __INTRODUCED_IN_LLNDK(34);

// The service at once, or null. The result carries one strong reference, the caller's.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_checkService(const char* _Nonnull instance) __INTRODUCED_IN(29);

// The same, but asks for up to five seconds.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_getService(const char* _Nonnull instance) __INTRODUCED_IN(29)
        __attribute__((deprecated("it polls; use AServiceManager_waitForService or checkService")));

// The same, but waits for the service without limit.
__attribute__((warn_unused_result))
AIBinder* _Nullable AServiceManager_waitForService(const char* _Nonnull instance)
        __INTRODUCED_IN(31);

bool AServiceManager_isDeclared(const char* _Nonnull instance) __INTRODUCED_IN(31);
void AServiceManager_forEachDeclaredInstance(const char* _Nonnull interface,
                                             void* _Nullable context,
                                             void (*_Nonnull callback)(const char* _Nonnull,
                                                                       void* _Nullable))
        __INTRODUCED_IN(31);

// Opens the library "<interface>.<instance>.so" of the device; null when there is none.
void* _Nullable AServiceManager_openDeclaredPassthroughHal(const char* _Nonnull interface,
                                                           const char* _Nonnull instance, int flag)
        __INTRODUCED_IN(35) __INTRODUCED_IN_LLNDK(202404);

__END_DECLS
