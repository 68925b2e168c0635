// The thread pool that a process without a binder driver does not need.
#include <errno.h>

#include <atomic>

#include <android/binder_process.h>

#include "host/binder/Threads.h"

namespace {

std::atomic<bool> isStarted{false};

}  // namespace

void ABinderProcess_startThreadPool() {
    isStarted = true;
}

bool ABinderProcess_isThreadPoolStarted() {
    return isStarted;
}

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t /*numThreads*/) {
    return true;
}

void ABinderProcess_joinThreadPool() {
    zelkcam::host::blockForEver();
}

binder_status_t ABinderProcess_setupPolling(int* fd) {
    *fd = -1;
    return -EBADF;
}

binder_status_t ABinderProcess_handlePolledCommands() {
    return STATUS_OK;
}
