// The platform functions that the library finds at dynamic-link time, and its log.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/allocator.h"
#include "platform/hidl.h"
#include "platform/hwbinder.h"
#include "platform/log.h"
#include "platform/mapper.h"
#include "platform/plexa.h"
#include "platform/properties.h"
#include "platform/sync.h"
#include "platform/utils.h"
#include "tests/faults/Doors.h"

namespace zelkcam::faults {

namespace {

using android::sp;
using IHidlMapper = android::hardware::graphics::mapper::V4_0::IMapper;
using IHidlAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;

constexpr Fault kNull[] = {{"null"}};
constexpr Fault kErrno[] = {{"EINVAL", EINVAL}, {"ETIME", ETIME}, {"EINTR", EINTR}};
constexpr Fault kProperty[] = {{"most", INT32_MAX}, {"least", INT32_MIN}};
constexpr Fault kClock[] = {{"stands still", 0}, {"goes backwards", -1}};
constexpr Fault kDeletion[] = {{"EINVAL", -EINVAL}};
constexpr Fault kLoader[] = {{"null"}, {"without entry", 1}};
constexpr Fault kExtension[] = {{"EINVAL", -EINVAL}, {"ENODEV", -ENODEV}, {"EIO", -EIO},
                                {"ERANGE", -ERANGE}, {"EBADF", -EBADF},   {"1", 1}};
constexpr Fault kFormatRead[] = {{"EIO", -EIO}, {"ENODEV", -ENODEV}, {"unresolved"}, {"unknown"}};
constexpr Fault kDescriptorRead[] = {{"EIO", -EIO}, {"EBADF", -EBADF}, {"negative"}};

constexpr Door kCheckService{"AServiceManager_checkService", kNull};
constexpr Door kLoadSphal{"android_load_sphal_library", kLoader};
constexpr Door kProperties{"property_get_int32", kProperty};
constexpr Door kSyncWait{"sync_wait", kErrno};
constexpr Door kSystemTime{"systemTime", kClock};
constexpr Door kThreadState{"IPCThreadState::self", kNull};
constexpr Door kHandleInit{"native_handle_init", kNull};
constexpr Door kHandleCreate{"native_handle_create", kNull};
constexpr Door kHandleDelete{"native_handle_delete", kDeletion};
constexpr Door kQuery{"plexa_query", kExtension};
constexpr Door kQueryFormat{"plexa_query format", kFormatRead};
constexpr Door kQueryDescriptor{"plexa_query descriptor", kDescriptorRead};
constexpr Door kPerform{"plexa_perform", kExtension};
constexpr Door kSetStatus{"plexa_sf_set_status", kExtension};
constexpr Door kHidlMapper{"hidl IMapper::getService", kNull};
constexpr Door kHidlAllocator{"hidl IAllocator::getService", kNull};

constexpr int32_t kFlexible = 0x23;
constexpr int32_t kNobodysFormat = 0x7;

const Door& queryDoor(int attribute) {
    if (attribute == PLEXA_GET_FORMAT) {
        return kQueryFormat;
    }
    return attribute == PLEXA_GET_ION_FD ? kQueryDescriptor : kQuery;
}

// A read that succeeds with a value that no caller can use.
int32_t uselessValue(const Fault& fault) {
    if (fault.name == kFormatRead[2].name) {
        return kFlexible;
    }
    return fault.name == kFormatRead[3].name ? kNobodysFormat : -1;
}

bool isOurs(const char* tag) {
    return strncmp(tag, "ZelkCam/", strlen("ZelkCam/")) == 0;
}

[[gnu::format(printf, 1, 0)]] void hear(const char* format, va_list arguments) {
    const Pause pause;
    char text[1024];
    vsnprintf(text, sizeof(text), format, arguments);
    heard(text);
}

}  // namespace

}  // namespace zelkcam::faults

using namespace zelkcam::faults;

extern "C" {

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (priority >= ANDROID_LOG_WARN && isOurs(tag)) {
        hear(format, arguments);
    }
    va_end(arguments);
    return 1;
}

void __android_log_assert(const char*, const char*, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    hear(format, arguments);
    va_end(arguments);
    trial().fatal = true;
    abort();
}

AIBinder* AServiceManager_checkService(const char* instance) {
    return pass(kCheckService) ? nullptr : ZELKCAM_NEXT(AServiceManager_checkService)(instance);
}

void* android_load_sphal_library(const char* name, int flags) {
    const Fault* const fault = pass(kLoadSphal);
    if (fault == nullptr) {
        return ZELKCAM_NEXT(android_load_sphal_library)(name, flags);
    }
    return fault->value == 0 ? nullptr
                             : ZELKCAM_NEXT(android_load_sphal_library)("libm.so.6", flags);
}

int32_t property_get_int32(const char* name, int32_t fallback) {
    const Fault* const fault = pass(kProperties);
    return fault ? static_cast<int32_t>(fault->value)
                 : ZELKCAM_NEXT(property_get_int32)(name, fallback);
}

int sync_wait(int fd, int timeout) {
    const Fault* const fault = pass(kSyncWait);
    if (fault == nullptr) {
        return ZELKCAM_NEXT(sync_wait)(fd, timeout);
    }
    errno = static_cast<int>(fault->value);
    return -1;
}

nsecs_t systemTime(int clock) {
    const Fault* const fault = pass(kSystemTime);
    return fault ? fault->value : ZELKCAM_NEXT(systemTime)(clock);
}

native_handle_t* native_handle_init(char* storage, int numFds, int numInts) {
    return pass(kHandleInit) ? nullptr : ZELKCAM_NEXT(native_handle_init)(storage, numFds, numInts);
}

native_handle_t* native_handle_create(int numFds, int numInts) {
    return pass(kHandleCreate) ? nullptr : ZELKCAM_NEXT(native_handle_create)(numFds, numInts);
}

int native_handle_delete(native_handle_t* handle) {
    const Fault* const fault = pass(kHandleDelete);
    const int result = ZELKCAM_NEXT(native_handle_delete)(handle);
    return fault ? static_cast<int>(fault->value) : result;
}

int plexa_query(const native_handle* handle, int attribute, void* out) {
    const Fault* const fault = pass(queryDoor(attribute));
    if (fault != nullptr && fault->value != 0) {
        return static_cast<int>(fault->value);
    }
    if (fault == nullptr) {
        return ZELKCAM_NEXT(plexa_query)(handle, attribute, out);
    }
    const int32_t value = uselessValue(*fault);
    memcpy(out, &value, sizeof(value));
    return 0;
}

int plexa_perform(const native_handle* handle, int operation, void* in) {
    const Fault* const fault = pass(kPerform);
    return fault ? static_cast<int>(fault->value)
                 : ZELKCAM_NEXT(plexa_perform)(handle, operation, in);
}

int plexa_sf_set_status(plexa_sf_record_t* record, int mask, int value) {
    const Fault* const fault = pass(kSetStatus);
    return fault ? static_cast<int>(fault->value)
                 : ZELKCAM_NEXT(plexa_sf_set_status)(record, mask, value);
}

}  // extern "C"

namespace android::hardware {

IPCThreadState* IPCThreadState::self() {
    // The mangled name of this very function.
    static const auto next = reinterpret_cast<IPCThreadState* (*)()>(
            nextDefinition("_ZN7android8hardware14IPCThreadState4selfEv"));
    return pass(kThreadState) ? nullptr : next();
}

}  // namespace android::hardware

sp<IHidlMapper> IHidlMapper::getService(const std::string& name, bool getStub) {
    return pass(kHidlMapper) ? nullptr : tryGetService(name, getStub);
}

sp<IHidlAllocator> IHidlAllocator::getService(const std::string& name, bool getStub) {
    return pass(kHidlAllocator) ? nullptr : tryGetService(name, getStub);
}
