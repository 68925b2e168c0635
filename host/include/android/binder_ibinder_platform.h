// Properties of binder objects towards remote callers. The host platform has none of those: the
// setters accept everything.
#pragma once

#include <android/binder_ibinder.h>

__BEGIN_DECLS

enum {
    // The buffers of the call are to be cleared after use.
    FLAG_CLEAR_BUF = 0x20,
};

__attribute__((weak)) void AIBinder_setRequestingSid(AIBinder* _Nonnull binder, bool requestingSid)
        __INTRODUCED_IN(31);

// The security context of the caller; null, as always outside a remote call.
__attribute__((weak, warn_unused_result)) const char* _Nullable AIBinder_getCallingSid(void)
        __INTRODUCED_IN(31);

void AIBinder_setMinSchedulerPolicy(AIBinder* _Nonnull binder, int policy, int priority)
        __INTRODUCED_IN(33);
void AIBinder_setInheritRt(AIBinder* _Nonnull binder, bool inheritRt) __INTRODUCED_IN(33);

__END_DECLS
