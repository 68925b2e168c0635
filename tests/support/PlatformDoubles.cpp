#include "tests/support/PlatformDoubles.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "platform/hwbinder.h"
#include "platform/properties.h"
#include "platform/sync.h"
#include "platform/utils.h"
#include "tests/support/Journal.h"

namespace zelkcam::test {

PlatformScript& platformScript() {
    static PlatformScript& instance = *new PlatformScript;
    return instance;
}

}  // namespace zelkcam::test

using zelkcam::test::descriptorName;
using zelkcam::test::journal;
using zelkcam::test::platformScript;

extern "C" {

// Closes for everybody in the process, and notes what it closed of a test's descriptors, and every
// attempt to close none.
__attribute__((visibility("default"))) int close(int fd) {
    const std::string name = descriptorName(fd);
    if (fd < 0 || name != std::to_string(fd))
        journal().add("close " + name);
    return static_cast<int>(syscall(SYS_close, fd));
}

__attribute__((visibility("default"))) int sync_wait(int fd, int timeout) {
    journal().add("sync_wait " + descriptorName(fd) +
                  (timeout == -1 ? "" : " timeout " + std::to_string(timeout)));
    return platformScript().syncWaitResult;
}

__attribute__((visibility("default"))) int32_t property_get_int32(const char* key,
                                                                  int32_t defaultValue) {
    journal().add(std::string("property_get_int32 ") + key);
    const auto found = platformScript().properties.find(key);
    return found == platformScript().properties.end() ? defaultValue : found->second;
}

__attribute__((visibility("default"))) nsecs_t systemTime(int clock) {
    journal().add("systemTime " + std::to_string(clock));
    auto& readings = platformScript().clock;
    if (readings.empty())
        return 0;
    const nsecs_t now = readings.front();
    readings.pop_front();
    return now;
}

}  // extern "C"

namespace android::hardware {

__attribute__((visibility("default"))) IPCThreadState* IPCThreadState::self() {
    alignas(IPCThreadState) static char storage[sizeof(IPCThreadState)];
    return platformScript().hasThreadState ? reinterpret_cast<IPCThreadState*>(storage) : nullptr;
}

__attribute__((visibility("default"))) void IPCThreadState::flushCommands() {
    journal().add("flush");
}

}  // namespace android::hardware
