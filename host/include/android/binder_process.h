// The process's pool of threads that serve remote calls. On the host platform every call runs in
// its caller's thread: what is configured here is accepted and changes nothing.
//
// Every function is safe from any thread.
#pragma once

#include <stdint.h>
#include <sys/cdefs.h>

#include <android/binder_status.h>

__BEGIN_DECLS

void ABinderProcess_startThreadPool(void);

// Whether ABinderProcess_startThreadPool was called.
bool ABinderProcess_isThreadPoolStarted(void);

// True.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);

// Blocks for ever, as on a device whose binder driver stays.
void ABinderProcess_joinThreadPool(void);

// Polling is not supported: -EBADF, and *fd is -1.
__attribute__((weak)) binder_status_t ABinderProcess_setupPolling(int* _Nonnull fd)
        __INTRODUCED_IN(31);

// STATUS_OK: there are never any commands.
__attribute__((weak)) binder_status_t ABinderProcess_handlePolledCommands(void) __INTRODUCED_IN(31);

__END_DECLS
