// The doors of the system calls that the host platform makes its buffers of, and of the platform's
// functions that the library finds at dynamic-link time.
#include "tests/faults/Doors.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "platform/allocator.h"
#include "platform/hwbinder.h"
#include "platform/log.h"
#include "platform/mapper.h"
#include "platform/plexa.h"
#include "platform/utils.h"

namespace zelkcam::faults {

namespace {

constexpr Fault kNull[] = {{"null"}};
constexpr Fault kMemory[] = {{"ENOMEM", ENOMEM}};
constexpr Fault kDescriptors[] = {{"EMFILE", EMFILE}};
constexpr Fault kSpace[] = {{"ENOSPC", ENOSPC}};
constexpr Fault kControl[] = {{"EMFILE", EMFILE}, {"EBADF", EBADF}, {"ENOLCK", ENOLCK}};
constexpr Fault kInspection[] = {{"EIO", EIO}};
constexpr Fault kReading[] = {{"EIO", EIO}, {"short", 0}};
constexpr Fault kWaiting[] = {{"EINTR", EINTR}, {"ENOMEM", ENOMEM}};
constexpr Fault kClosing[] = {{"EINTR", EINTR}};
constexpr Fault kLoader[] = {{"null"}, {"without entry", 1}};
constexpr Fault kExtension[] = {{"EIO", -EIO}};
constexpr Fault kExtensionRead[] = {{"EIO", -EIO}, {"useless", 0}};

Trial* sharedMemory() {
    void* const memory = ZELKCAM_NEXT(mmap)(nullptr, sizeof(Trial), PROT_READ | PROT_WRITE,
                                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        abort();
    }
    return static_cast<Trial*>(memory);
}

// Before the first use by main the doors are passed by the start-up of the process itself.
Trial* gTrial = nullptr;

int failed(const Fault& fault) {
    errno = static_cast<int>(fault.value);
    return -1;
}

}  // namespace

Trial& trial() {
    if (gTrial == nullptr) {
        gTrial = sharedMemory();
    }
    return *gTrial;
}

const Fault* pass(const Door& door) {
    if (gTrial == nullptr || !gTrial->armed) {
        return nullptr;
    }
    const size_t call = gTrial->calls++;
    if (call >= Trial::kMostCalls) {
        abort();
    }
    gTrial->doors[call] = &door;
    if (call != gTrial->failingCall) {
        return nullptr;
    }
    gTrial->hit = true;
    return &door.faults[gTrial->fault];
}

void* nextDefinition(const char* symbol) {
    void* const found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr) {
        abort();
    }
    return found;
}

}  // namespace zelkcam::faults

using namespace zelkcam::faults;

// Takes the place of a function: answers `failure`, an expression of `fault`, when this call is to
// fail, and otherwise what the next definition answers.
#define DOOR(result, name, parameters, arguments, faults, failure)        \
    result name parameters {                                              \
        static constexpr Door kDoor{#name, faults};                       \
        const Fault* const fault = pass(kDoor);                           \
        return fault != nullptr ? failure : ZELKCAM_NEXT(name) arguments; \
    }

extern "C" {

DOOR(void*, mmap, (void* at, size_t size, int access, int flags, int fd, off_t from) noexcept,
     (at, size, access, flags, fd, from), kMemory, (failed(*fault), MAP_FAILED))
DOOR(int, memfd_create, (const char* name, unsigned int flags) noexcept, (name, flags),
     kDescriptors, failed(*fault))
DOOR(int, ftruncate, (int fd, off_t size) noexcept, (fd, size), kSpace, failed(*fault))
DOOR(int, fstat, (int fd, struct stat* status) noexcept, (fd, status), kInspection, failed(*fault))
DOOR(int, fstatfs, (int fd, struct statfs* status) noexcept, (fd, status), kInspection,
     failed(*fault))
DOOR(ssize_t, pread, (int fd, void* data, size_t size, off_t from), (fd, data, size, from),
     kReading, (fault->value != 0 ? failed(*fault) : ZELKCAM_NEXT(pread)(fd, data, size / 2, from)))
DOOR(int, poll, (struct pollfd * requests, nfds_t count, int timeout), (requests, count, timeout),
     kWaiting, failed(*fault))
// Linux has closed the descriptor whatever it answers: who tries again closes somebody else's.
DOOR(int, close, (int fd), (fd), kClosing, (ZELKCAM_NEXT(close)(fd), failed(*fault)))

int fcntl(int fd, int command, ...) {
    static constexpr Door kDoor{"fcntl", kControl};
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const Fault* const fault = pass(kDoor);
    return fault != nullptr ? failed(*fault) : ZELKCAM_NEXT(fcntl)(fd, command, argument);
}

int open(const char* path, int flags, ...) {
    static constexpr Door kDoor{"open", kDescriptors};
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    const Fault* const fault = pass(kDoor);
    return fault != nullptr ? failed(*fault) : ZELKCAM_NEXT(open)(path, flags, mode);
}

int __android_log_print(int, const char*, const char*, ...) {
    return 1;
}

void __android_log_assert(const char*, const char*, const char*, ...) {
    trial().fatal = true;
    abort();
}

DOOR(AIBinder*, AServiceManager_checkService, (const char* instance), (instance), kNull, nullptr)
DOOR(void*, android_load_sphal_library, (const char* name, int flags), (name, flags), kLoader,
     (fault->value == 0 ? nullptr : ZELKCAM_NEXT(android_load_sphal_library)("libm.so.6", flags)))
DOOR(native_handle_t*, native_handle_create, (int fds, int ints), (fds, ints), kNull, nullptr)
DOOR(int, native_handle_delete, (native_handle_t * handle), (handle), kInspection,
     (ZELKCAM_NEXT(native_handle_delete)(handle), failed(*fault)))
// Useless: a success whose value nobody can use.
DOOR(int, plexa_query, (const native_handle* handle, int attribute, void* out),
     (handle, attribute, out), kExtensionRead,
     (fault->value == 0 ? memset(out, 0xFF, sizeof(int32_t)) : nullptr,
      static_cast<int>(fault->value)))
DOOR(int, plexa_perform, (const native_handle* handle, int operation, void* in),
     (handle, operation, in), kExtension, static_cast<int>(fault->value))

}  // extern "C"

namespace android::hardware {

IPCThreadState* IPCThreadState::self() {
    static constexpr Door kDoor{"IPCThreadState::self", kNull};
    // The mangled name of this very function.
    static const auto next = reinterpret_cast<IPCThreadState* (*)()>(
            nextDefinition("_ZN7android8hardware14IPCThreadState4selfEv"));
    return pass(kDoor) ? nullptr : next();
}

}  // namespace android::hardware
