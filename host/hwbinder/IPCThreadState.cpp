#include <unistd.h>

#include <hwbinder/IPCThreadState.h>

namespace android {
namespace hardware {

// Deletes a thread's object when the thread ends.
struct ThreadStateOwner {
    ~ThreadStateOwner();

    IPCThreadState* make() {
        state = new IPCThreadState;
        return state;
    }

    IPCThreadState* state = nullptr;
};

namespace {

// Outlives the owner, having no destructor: later destructors of the thread still read it.
thread_local bool threadEnds = false;
thread_local ThreadStateOwner owner;

}  // namespace

ThreadStateOwner::~ThreadStateOwner() {
    threadEnds = true;
    delete state;
}

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

IPCThreadState::~IPCThreadState() = default;

IPCThreadState* IPCThreadState::self() {
    if (threadEnds) {
        return nullptr;
    }
    return owner.state != nullptr ? owner.state : owner.make();
}

IPCThreadState* IPCThreadState::selfOrNull() {
    return threadEnds ? nullptr : owner.state;
}

// A device's own copy does nothing either as long as the driver is not open, and here is no driver:
// services run in the caller's process and no command is ever queued.
void IPCThreadState::flushCommands() {}

pid_t IPCThreadState::getCallingPid() const {
    return mCallingPid;
}

uid_t IPCThreadState::getCallingUid() const {
    return mCallingUid;
}

}  // namespace hardware
}  // namespace android
