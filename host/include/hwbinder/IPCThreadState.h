// The calling thread's side of the hardware binder. On the host platform services run in the
// caller's process: there is no driver, no transaction is ever under way, and no command is queued.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <functional>

#include <hwbinder/ProcessState.h>
#include <utils/Errors.h>
#include <utils/Vector.h>

namespace android::hardware {

// One object a thread. Only its own thread may use it.
class IPCThreadState {
  public:
    // The calling thread's object. Null only after shutdown.
    static IPCThreadState* self();
    // The same, or null if this thread has not asked for it yet.
    static IPCThreadState* selfOrNull();
    // From now on no thread of the process gets an object.
    static void shutdown();

    sp<ProcessState> process();

    // Sends the commands that this thread has queued to the driver.
    void flushCommands();
    status_t clearLastError() { return NO_ERROR; }

    // Whose call the thread serves: outside of one, this process.
    pid_t getCallingPid() const;
    const char* getCallingSid() const { return nullptr; }
    uid_t getCallingUid() const;
    // The identity is always the process's own, so there is nothing to set aside.
    int64_t clearCallingIdentity();
    void restoreCallingIdentity(int64_t /*token*/) {}

    // -EBADF: without a driver there is nothing to poll.
    int setupPolling(int* fd);
    status_t handlePolledCommands() { return NO_ERROR; }
    // Blocks for ever, as on a device whose driver stays.
    void joinThreadPool(bool isMain = true);
    void stopProcess(bool /*immediate*/ = true) {}

    bool isLooperThread() { return false; }
    bool isOnlyBinderThread() { return false; }
    const void* getServingStackPointer() const { return nullptr; }
    // Runs the task at once: no command is under way after which it would have to run.
    void addPostCommandTask(const std::function<void(void)>& task) { task(); }

  private:
    constexpr IPCThreadState() = default;
    ~IPCThreadState() = default;
    IPCThreadState(const IPCThreadState&) = delete;
    IPCThreadState& operator=(const IPCThreadState&) = delete;

    // Holds a thread's object.
    friend struct ThreadState;
};

}  // namespace android::hardware
