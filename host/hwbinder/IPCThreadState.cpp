#include <errno.h>
#include <unistd.h>

#include <atomic>

#include <hwbinder/IPCThreadState.h>

#include "host/binder/Threads.h"

namespace android::hardware {

struct ThreadState {
    constexpr ThreadState() = default;
    IPCThreadState object;
    bool isInUse = false;
};

namespace {

// Every lock and unlock of a buffer asks for the thread's object, so it costs one read of the
// thread's storage: the object has no destructor that would have to be registered, is there in
// static destructors too, and lies at a fixed distance from the thread's pointer.
constinit thread_local ThreadState gOwn __attribute__((tls_model("initial-exec")));

std::atomic<bool> isShutDown{false};

}  // namespace

IPCThreadState* IPCThreadState::self() {
    if (isShutDown.load(std::memory_order_relaxed)) {
        return nullptr;
    }
    gOwn.isInUse = true;
    return &gOwn.object;
}

IPCThreadState* IPCThreadState::selfOrNull() {
    return gOwn.isInUse ? self() : nullptr;
}

void IPCThreadState::shutdown() {
    isShutDown = true;
}

sp<ProcessState> IPCThreadState::process() {
    return ProcessState::self();
}

// A device's own copy does nothing either as long as the driver is not open, and here is none.
void IPCThreadState::flushCommands() {}

pid_t IPCThreadState::getCallingPid() const {
    return getpid();
}

uid_t IPCThreadState::getCallingUid() const {
    return getuid();
}

int64_t IPCThreadState::clearCallingIdentity() {
    return static_cast<int64_t>(getuid()) << 32 | getpid();
}

int IPCThreadState::setupPolling(int* fd) {
    *fd = -1;
    return -EBADF;
}

void IPCThreadState::joinThreadPool(bool /*isMain*/) {
    zelkcam::host::blockForEver();
}

}  // namespace android::hardware
