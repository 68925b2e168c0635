// Commands that a binder object serves for a shell. Nobody sends any on the host platform; the
// header has to be there because every interface has one more virtual operation with it.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include <android/binder_ibinder.h>

__BEGIN_DECLS

// Serves one command. The descriptors and the arguments stay the caller's.
typedef binder_status_t (*AIBinder_handleShellCommand)(AIBinder* _Nonnull binder, int in, int out,
                                                       int err, const char* _Nonnull* _Nonnull argv,
                                                       uint32_t argc);

// A null class ends the process.
__attribute__((weak)) void AIBinder_Class_setHandleShellCommand(
        AIBinder_Class* _Nonnull clazz, AIBinder_handleShellCommand _Nullable handleShellCommand)
        __INTRODUCED_IN(30);

__END_DECLS
