// How a process serves and calls HIDL services. On the host platform every call runs in its
// caller's thread: there is no pool of threads to configure, and nothing to poll.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/HidlTransportUtils.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>

namespace android::hardware {

// Remembers that the process will join. (0, true) ends the process: nobody would serve calls.
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

// Blocks for ever, as on a device whose driver stays. Ends the process if it did not configure.
void joinRpcThreadpool();

// Polling is not supported: -1, and NO_ERROR for commands that never come.
int setupTransportPolling();
status_t handleTransportPoll(int fd);

// Policy 0 (normal) takes a priority of -20 to 19, 1 (FIFO) and 2 (round robin) take 1 to 99; true
// for these, false for a remote object. It is kept for the reader below and changes nothing else,
// because the caller's own thread serves the call.
bool setMinSchedulerPolicy(const sp<::android::hidl::base::V1_0::IBase>& service, int policy,
                           int priority);

struct SchedPrio {
    int sched_policy;
    int prio;
};
// As set; {0, 0} at first.
SchedPrio getMinSchedulerPolicy(const sp<::android::hidl::base::V1_0::IBase>& service);

// The same: accepted for a local object, false at first.
bool setRequestingSid(const sp<::android::hidl::base::V1_0::IBase>& service, bool requesting);
bool getRequestingSid(const sp<::android::hidl::base::V1_0::IBase>& service);

// Whether both are the same object, or both null.
bool interfacesEqual(const sp<::android::hidl::base::V1_0::IBase>& left,
                     const sp<::android::hidl::base::V1_0::IBase>& right);

}  // namespace android::hardware
