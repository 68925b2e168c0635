// The process's side of the hardware binder. On the host platform there is no driver and no thread
// pool: what configures them is remembered or accepted, and changes nothing.
#pragma once

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include <utils/Errors.h>
#include <utils/KeyedVector.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/threads.h>

namespace android::hardware {

// One object a process. Thread-safe.
class ProcessState : public virtual RefBase {
  public:
    static sp<ProcessState> self();
    // The same, or null as long as nobody has asked for it.
    static sp<ProcessState> selfOrNull();
    static sp<ProcessState> initWithMmapSize(size_t mmapSize);

    void startThreadPool() {}
    // Ends the process for (0, true), which would leave nobody to serve calls.
    status_t setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool);
    // As configured, 0 at first.
    size_t getMaxThreads();
    status_t enableOnewaySpamDetection(bool /*enable*/) { return NO_ERROR; }
    void giveThreadPoolName() {}
    void spawnPooledThread(bool /*isMain*/) {}

    // Without a driver no object has references there.
    ssize_t getKernelReferences(size_t /*count*/, uintptr_t* /*buf*/) { return 0; }
    ssize_t getStrongRefCountForNodeByHandle(int32_t /*handle*/) { return -1; }
    size_t getMmapSize() { return mMmapSize; }

    enum class CallRestriction {
        NONE,
        ERROR_IF_NOT_ONEWAY,
        FATAL_IF_NOT_ONEWAY,
    };
    void setCallRestriction(CallRestriction /*restriction*/) {}

  private:
    explicit ProcessState(size_t mmapSize) : mMmapSize(mmapSize) {}
    // Makes the process's object.
    friend struct ProcessStateOwner;

    const size_t mMmapSize;
};

}  // namespace android::hardware
