// Binder objects: reference counted, of a class, with the user data of whoever implements them.
//
// Every function is safe from any thread.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>
#include <sys/types.h>

#include <android/binder_parcel.h>
#include <android/binder_status.h>
#include <android/llndk-versioning.h>

__BEGIN_DECLS

// The number of an operation of an interface.
typedef uint32_t transaction_code_t;

enum {
    FIRST_CALL_TRANSACTION = 0x00000001,
    LAST_CALL_TRANSACTION = 0x00ffffff,
};

typedef uint32_t binder_flags_t;
enum {
    // The caller does not wait for the call to be served.
    FLAG_ONEWAY = 0x01,
};

struct AIBinder_Class;
typedef struct AIBinder_Class AIBinder_Class;

struct AIBinder;
typedef struct AIBinder AIBinder;

struct AIBinder_Weak;
typedef struct AIBinder_Weak AIBinder_Weak;

struct AIBinder_DeathRecipient;
typedef struct AIBinder_DeathRecipient AIBinder_DeathRecipient;

// Makes the user data of a new binder from the arguments of AIBinder_new.
typedef void* _Nullable (*AIBinder_Class_onCreate)(void* _Nullable args);

// Releases the user data; called when the last strong reference goes.
typedef void (*AIBinder_Class_onDestroy)(void* _Nullable userData);

// Serves one remote call.
typedef binder_status_t (*AIBinder_Class_onTransact)(AIBinder* _Nonnull binder,
                                                     transaction_code_t code,
                                                     const AParcel* _Nonnull in,
                                                     AParcel* _Nonnull out);

// Writes the state of the binder to `fd`.
typedef binder_status_t (*AIBinder_onDump)(AIBinder* _Nonnull binder, int fd,
                                           const char* _Nonnull* _Nullable args, uint32_t numArgs);

typedef void (*AIBinder_DeathRecipient_onBinderDied)(void* _Nullable cookie);
// Told once when a link ends, whatever ended it: the place to release the cookie.
typedef void (*AIBinder_DeathRecipient_onBinderUnlinked)(void* _Nullable cookie);

// A class of binders, which lives as long as the process. Null when an argument is null.
__attribute__((warn_unused_result))
AIBinder_Class* _Nullable AIBinder_Class_define(const char* _Nonnull interfaceDescriptor,
                                                AIBinder_Class_onCreate _Nonnull onCreate,
                                                AIBinder_Class_onDestroy _Nonnull onDestroy,
                                                AIBinder_Class_onTransact _Nonnull onTransact)
        __INTRODUCED_IN(29);
void AIBinder_Class_setOnDump(AIBinder_Class* _Nonnull clazz, AIBinder_onDump _Nullable onDump)
        __INTRODUCED_IN(29);
// A null class ends the process.
void AIBinder_Class_disableInterfaceTokenHeader(AIBinder_Class* _Nonnull clazz) __INTRODUCED_IN(33);
const char* _Nonnull AIBinder_Class_getDescriptor(const AIBinder_Class* _Nonnull clazz)
        __INTRODUCED_IN(31);

// A local binder with one strong reference, the caller's. Null for a null class.
__attribute__((warn_unused_result))
AIBinder* _Nullable AIBinder_new(const AIBinder_Class* _Nonnull clazz, void* _Nullable args)
        __INTRODUCED_IN(29);

bool AIBinder_isRemote(const AIBinder* _Nullable binder) __INTRODUCED_IN(29);
bool AIBinder_isAlive(const AIBinder* _Nullable binder) __INTRODUCED_IN(29);
binder_status_t AIBinder_ping(AIBinder* _Nullable binder) __INTRODUCED_IN(29);
binder_status_t AIBinder_dump(AIBinder* _Nullable binder, int fd,
                              const char* _Nonnull* _Nullable args, uint32_t numArgs)
        __INTRODUCED_IN(29);

// A local binder never dies before its process: linking to one is STATUS_INVALID_OPERATION, and the
// recipient's onUnlinked runs with the cookie before the call returns.
binder_status_t AIBinder_linkToDeath(AIBinder* _Nullable binder,
                                     AIBinder_DeathRecipient* _Nullable recipient,
                                     void* _Nullable cookie) __INTRODUCED_IN(29);
binder_status_t AIBinder_unlinkToDeath(AIBinder* _Nullable binder,
                                       AIBinder_DeathRecipient* _Nullable recipient,
                                       void* _Nullable cookie) __INTRODUCED_IN(29);

// Whose call the thread serves; outside a remote call, this process.
uid_t AIBinder_getCallingUid(void) __INTRODUCED_IN(29);
pid_t AIBinder_getCallingPid(void) __INTRODUCED_IN(29);
bool AIBinder_isHandlingTransaction(void) __INTRODUCED_IN(33);

// Null is allowed for both.
void AIBinder_incStrong(AIBinder* _Nullable binder) __INTRODUCED_IN(29);
void AIBinder_decStrong(AIBinder* _Nullable binder) __INTRODUCED_IN(29);

// Strong references at this moment, for diagnosis; -1 for null.
int32_t AIBinder_debugGetRefCount(AIBinder* _Nullable binder) __INTRODUCED_IN(29);

// Whether the binder is of this very class object, or becomes so now.
bool AIBinder_associateClass(AIBinder* _Nullable binder, const AIBinder_Class* _Nullable clazz)
        __INTRODUCED_IN(29);
const AIBinder_Class* _Nullable AIBinder_getClass(AIBinder* _Nullable binder) __INTRODUCED_IN(29);

// What onCreate made; null for a remote binder.
void* _Nullable AIBinder_getUserData(AIBinder* _Nullable binder) __INTRODUCED_IN(29);

// Starts a remote call; there is none on this host: STATUS_INVALID_OPERATION.
binder_status_t AIBinder_prepareTransaction(AIBinder* _Nullable binder,
                                            AParcel* _Nullable* _Nullable in) __INTRODUCED_IN(29);
binder_status_t AIBinder_transact(AIBinder* _Nullable binder, transaction_code_t code,
                                  AParcel* _Nullable* _Nullable in,
                                  AParcel* _Nullable* _Nullable out, binder_flags_t flags)
        __INTRODUCED_IN(29);

__attribute__((warn_unused_result)) AIBinder_DeathRecipient* _Nullable AIBinder_DeathRecipient_new(
        AIBinder_DeathRecipient_onBinderDied _Nonnull onBinderDied) __INTRODUCED_IN(29);
// For links that are made from now on.
void AIBinder_DeathRecipient_setOnUnlinked(
        AIBinder_DeathRecipient* _Nullable recipient,
        AIBinder_DeathRecipient_onBinderUnlinked _Nullable onUnlinked) __INTRODUCED_IN(33);
void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* _Nullable recipient)
        __INTRODUCED_IN(29);

// A weak reference, or null for null; released with AIBinder_Weak_delete, to which null is
// harmless.
__attribute__((warn_unused_result))
AIBinder_Weak* _Nullable AIBinder_Weak_new(AIBinder* _Nullable binder) __INTRODUCED_IN(29);
void AIBinder_Weak_delete(AIBinder_Weak* _Nullable weakBinder) __INTRODUCED_IN(29);

// The binder with one more strong reference, the caller's, or null once it is gone.
__attribute__((warn_unused_result))
AIBinder* _Nullable AIBinder_Weak_promote(AIBinder_Weak* _Nullable weakBinder) __INTRODUCED_IN(29);

// A second weak reference to the same binder, or null for null.
__attribute__((warn_unused_result))
AIBinder_Weak* _Nullable AIBinder_Weak_clone(const AIBinder_Weak* _Nullable weak)
        __INTRODUCED_IN(31);

// A strict order of binders, which holds as long as the operands live.
bool AIBinder_lt(const AIBinder* _Nullable lhs, const AIBinder* _Nullable rhs) __INTRODUCED_IN(31);
bool AIBinder_Weak_lt(const AIBinder_Weak* _Nullable lhs, const AIBinder_Weak* _Nullable rhs)
        __INTRODUCED_IN(31);

// A further interface of whoever made the binder. getExtension gives null and STATUS_OK when there
// is none, else one strong reference, the caller's. setExtension holds one of its own, until the
// binder is destroyed. STATUS_UNEXPECTED_NULL for a null argument.
binder_status_t AIBinder_getExtension(AIBinder* _Nullable binder,
                                      AIBinder* _Nullable* _Nullable outExt) __INTRODUCED_IN(30);
binder_status_t AIBinder_setExtension(AIBinder* _Nonnull binder, AIBinder* _Nonnull ext)
        __INTRODUCED_IN(30);

__END_DECLS
