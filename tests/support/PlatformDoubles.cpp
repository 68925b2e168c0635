#include "tests/support/PlatformDoubles.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>

#include "platform/hwbinder.h"
#include "platform/properties.h"
#include "platform/sync.h"
#include "platform/utils.h"
#include "tests/support/Journal.h"

namespace zelkcam::test {

namespace {

// Where this extension keeps the status word; callers must not care.
uint32_t& statusOf(void* record) {
    return static_cast<uint32_t*>(record)[11];
}

bool isPreset(int attribute, const void* out) {
    static const plexa_sf_record_t zeros = {};
    const int32_t none = -1;
    if (attribute == PLEXA_GET_ION_FD) {
        return memcmp(out, &none, sizeof(none)) == 0;
    }
    return memcmp(out, &zeros, attribute == PLEXA_GET_SF_INFO ? sizeof(zeros) : 4) == 0;
}

}  // namespace

PlatformScript& platformScript() {
    static PlatformScript& instance = *new PlatformScript;
    return instance;
}

void describeBuffers(const Attributes& a) {
    platformScript().reads.clear();
    platformScript().attributes = {{PLEXA_GET_FORMAT, {a.format}},
                                   {PLEXA_GET_USAGE, {a.usage}},
                                   {PLEXA_GET_WIDTH, {a.width}},
                                   {PLEXA_GET_HEIGHT, {a.height, a.height32}},
                                   {PLEXA_GET_STRIDE, {a.stride, a.stride32}},
                                   {PLEXA_GET_VERTICAL_STRIDE, {a.verticalStride}},
                                   {PLEXA_GET_ALLOC_SIZE, {a.allocSize}},
                                   {PLEXA_GET_BUFFER_FLAGS, {a.flags}}};
}

}  // namespace zelkcam::test

using namespace zelkcam::test;

extern "C" {

// Closes for everybody in the process, and notes what it closed of a test's descriptors, and every
// attempt to close none.
int close(int fd) {
    const std::string name = descriptorName(fd);
    if (fd < 0 || name != std::to_string(fd)) {
        journal().add("close " + name);
    }
    return static_cast<int>(syscall(SYS_close, fd));
}

int sync_wait(int fd, int timeout) {
    journal().add("sync_wait " + descriptorName(fd) + (timeout == -1 ? "" : " with a limit"));
    return platformScript().syncWaitResult;
}

int32_t property_get_int32(const char* key, int32_t defaultValue) {
    journal().add(std::string("property_get_int32 ") + key);
    const auto found = platformScript().properties.find(key);
    return found == platformScript().properties.end() ? defaultValue : found->second;
}

nsecs_t systemTime(int clock) {
    journal().add("systemTime " + std::to_string(clock));
    auto& readings = platformScript().clock;
    if (readings.empty()) {
        return 0;
    }
    const nsecs_t now = readings.front();
    readings.pop_front();
    return now;
}

int plexa_query(const native_handle*, int attribute, void* out) {
    journal().add("plexa_query " + std::to_string(attribute));
    PlatformScript& script = platformScript();
    script.wrongPresets += !isPreset(attribute, out);
    const std::vector<int32_t>& values = script.attributes[attribute];
    const size_t read = script.reads[attribute]++;
    if (script.queryResults[attribute] != 0) {
        return script.queryResults[attribute];
    }
    if (attribute == PLEXA_GET_SF_INFO) {
        statusOf(out) = script.status;
    } else if (!values.empty()) {
        memcpy(out, &values[read % values.size()], sizeof(int32_t));
    }
    return 0;
}

int plexa_perform(const native_handle*, int operation, void* in) {
    journal().add("plexa_perform " + std::to_string(operation));
    if (operation == PLEXA_SET_SF_INFO) {
        platformScript().status = statusOf(in);
    } else if (operation == PLEXA_SET_SOF) {
        platformScript().startOfFrame = *static_cast<uint64_t*>(in);
    }
    return platformScript().performResults[operation];
}

int plexa_sf_set_status(plexa_sf_record_t* record, int mask, int value) {
    journal().add("plexa_sf_set_status");
    statusOf(record) = (statusOf(record) & ~uint32_t(mask)) | uint32_t(value & mask);
    return -1;  // nobody may look at it
}

}  // extern "C"

namespace android::hardware {

IPCThreadState* IPCThreadState::self() {
    alignas(IPCThreadState) static char storage[sizeof(IPCThreadState)];
    return platformScript().hasThreadState ? reinterpret_cast<IPCThreadState*>(storage) : nullptr;
}

void IPCThreadState::flushCommands() {
    journal().add("flush");
}

}  // namespace android::hardware
