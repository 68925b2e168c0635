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

// The same for a service that is started when it is needed; the host platform never ends one.
// STATUS_UNEXPECTED_NULL when an argument is null.
binder_status_t AServiceManager_registerLazyService(AIBinder* _Nonnull binder,
                                                    const char* _Nonnull instance)
        __INTRODUCED_IN(31);

// What lazy services need besides. Here they are always wanted: nothing is called back, and
// tryUnregister is false.
void AServiceManager_forceLazyServicesPersist(bool persist) __INTRODUCED_IN(31);
void AServiceManager_setActiveServicesCallback(bool (*_Nonnull callback)(bool hasClients,
                                                                         void* _Nullable context),
                                               void* _Nullable context) __INTRODUCED_IN(31);
bool AServiceManager_tryUnregister(void) __INTRODUCED_IN(31);
void AServiceManager_reRegister(void) __INTRODUCED_IN(31);

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

// Calls back for every binder that is registered under the name, in the thread that registers it,
// and at once for one that is there. The callback gets one reference, which it has to drop. The
// registration is ended with AServiceManager_NotificationRegistration_delete; no call comes after
// that. A null name, callback or registration ends the process.
typedef void (*AServiceManager_onRegister)(const char* _Nonnull instance,
                                           AIBinder* _Nonnull registered, void* _Nullable cookie);
struct AServiceManager_NotificationRegistration;
typedef struct AServiceManager_NotificationRegistration AServiceManager_NotificationRegistration;
__attribute__((warn_unused_result))
AServiceManager_NotificationRegistration* _Nullable AServiceManager_registerForServiceNotifications(
        const char* _Nonnull instance, AServiceManager_onRegister _Nonnull onRegister,
        void* _Nullable cookie) __INTRODUCED_IN(34);
void AServiceManager_NotificationRegistration_delete(
        AServiceManager_NotificationRegistration* _Nonnull notification) __INTRODUCED_IN(34);

// What was registered is declared, and so are the default services. forEachDeclaredInstance: a null
// interface or callback ends the process.
bool AServiceManager_isDeclared(const char* _Nonnull instance) __INTRODUCED_IN(31);
void AServiceManager_forEachDeclaredInstance(const char* _Nonnull interface,
                                             void* _Nullable context,
                                             void (*_Nonnull callback)(const char* _Nonnull,
                                                                       void* _Nullable))
        __INTRODUCED_IN(31);

// No service of the host platform comes in an APEX: false, and no call back.
bool AServiceManager_isUpdatableViaApex(const char* _Nonnull instance) __INTRODUCED_IN(31);
void AServiceManager_getUpdatableApexName(const char* _Nonnull instance, void* _Nullable context,
                                          void (*_Nonnull callback)(const char* _Nonnull,
                                                                    void* _Nullable))
        __INTRODUCED_IN(34);

// Opens the library "<interface>.<instance>.so" of the device; null when there is none.
// A null interface or instance ends the process.
void* _Nullable AServiceManager_openDeclaredPassthroughHal(const char* _Nonnull interface,
                                                           const char* _Nonnull instance, int flag)
        __INTRODUCED_IN(35) __INTRODUCED_IN_LLNDK(202404);

__END_DECLS
