// The calling thread's side of the hardware binder.
#pragma once

#include <sys/types.h>

#include <utils/Errors.h>
#include <utils/Vector.h>

namespace android {
namespace hardware {

// One object a thread, made on first use and gone with the thread. Only its own thread may use it.
class IPCThreadState {
  public:
    // The calling thread's object. Null only while the thread's storage is gone or cannot be had.
    static IPCThreadState* self();
    // The same, or null if this thread has none yet.
    static IPCThreadState* selfOrNull();

    // Sends the commands that this thread has queued to the driver.
    void flushCommands();

    pid_t getCallingPid() const;
    uid_t getCallingUid() const;

  private:
    IPCThreadState();
    ~IPCThreadState();  // NOLINT(performance-trivially-destructible): defined by the library
    IPCThreadState(const IPCThreadState&) = delete;
    IPCThreadState& operator=(const IPCThreadState&) = delete;

    // Makes and deletes a thread's object.
    friend struct ThreadStateOwner;

    pid_t mCallingPid;
    uid_t mCallingUid;
};

}  // namespace hardware
}  // namespace android
