// The system calls that the host platform makes its buffers of.
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "tests/faults/Doors.h"

namespace zelkcam::faults {

namespace {

constexpr Fault kMemory[] = {{"ENOMEM", ENOMEM}};
constexpr Fault kDescriptors[] = {{"EMFILE", EMFILE}, {"ENFILE", ENFILE}};
constexpr Fault kSpace[] = {{"ENOSPC", ENOSPC}, {"EINTR", EINTR}};
constexpr Fault kControl[] = {{"EMFILE", EMFILE},
                              {"EBADF", EBADF},
                              {"EINVAL", EINVAL},
                              {"EAGAIN", EAGAIN},
                              {"ENOLCK", ENOLCK}};
constexpr Fault kInspection[] = {{"EIO", EIO}, {"EBADF", EBADF}};
constexpr Fault kReading[] = {{"EIO", EIO}, {"short", 0}};
constexpr Fault kOpening[] = {{"EMFILE", EMFILE}, {"ENOENT", ENOENT}, {"EACCES", EACCES}};
constexpr Fault kWaiting[] = {{"EINTR", EINTR}, {"EINVAL", EINVAL}, {"ENOMEM", ENOMEM}};
constexpr Fault kClosing[] = {{"EINTR", EINTR}, {"EIO", EIO}};

constexpr Door kMmap{"mmap", kMemory};
constexpr Door kMemfdCreate{"memfd_create", kDescriptors};
constexpr Door kFtruncate{"ftruncate", kSpace};
constexpr Door kFcntl{"fcntl", kControl};
constexpr Door kFstat{"fstat", kInspection};
constexpr Door kFstatfs{"fstatfs", kInspection};
constexpr Door kPread{"pread", kReading};
constexpr Door kOpen{"open", kOpening};
constexpr Door kPoll{"poll", kWaiting};
constexpr Door kDup{"dup", kDescriptors};
constexpr Door kClose{"close", kClosing};

int failed(const Fault& fault) {
    errno = static_cast<int>(fault.value);
    return -1;
}

// Makes the system's call, or fails in its place.
template <typename Next, typename... Arguments>
int callOrFail(const Door& door, Next next, Arguments... arguments) {
    const Fault* const fault = pass(door);
    return fault ? failed(*fault) : next(arguments...);
}

}  // namespace

}  // namespace zelkcam::faults

using namespace zelkcam::faults;

extern "C" {

void* mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset) noexcept {
    if (const Fault* const fault = pass(kMmap)) {
        failed(*fault);
        return MAP_FAILED;
    }
    return ZELKCAM_NEXT(mmap)(address, size, protection, flags, fd, offset);
}

int memfd_create(const char* name, unsigned int flags) noexcept {
    return callOrFail(kMemfdCreate, ZELKCAM_NEXT(memfd_create), name, flags);
}

int ftruncate(int fd, off_t size) noexcept {
    return callOrFail(kFtruncate, ZELKCAM_NEXT(ftruncate), fd, size);
}

int fcntl(int fd, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return callOrFail(kFcntl, ZELKCAM_NEXT(fcntl), fd, command, argument);
}

int fstat(int fd, struct stat* status) noexcept {
    return callOrFail(kFstat, ZELKCAM_NEXT(fstat), fd, status);
}

int fstatfs(int fd, struct statfs* status) noexcept {
    return callOrFail(kFstatfs, ZELKCAM_NEXT(fstatfs), fd, status);
}

ssize_t pread(int fd, void* data, size_t size, off_t offset) {
    const Fault* const fault = pass(kPread);
    if (fault != nullptr && fault->value != 0) {
        return failed(*fault);
    }
    return ZELKCAM_NEXT(pread)(fd, data, fault ? size / 2 : size, offset);
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, mode_t);
    va_end(arguments);
    return callOrFail(kOpen, ZELKCAM_NEXT(open), path, flags, mode);
}

int poll(struct pollfd* requests, nfds_t count, int timeout) {
    return callOrFail(kPoll, ZELKCAM_NEXT(poll), requests, count, timeout);
}

int dup(int fd) noexcept {
    return callOrFail(kDup, ZELKCAM_NEXT(dup), fd);
}

// Linux has closed the descriptor whatever it answers: who tries again closes somebody else's.
int close(int fd) {
    const Fault* const fault = pass(kClose);
    const int result = ZELKCAM_NEXT(close)(fd);
    return fault ? failed(*fault) : result;
}

}  // extern "C"
