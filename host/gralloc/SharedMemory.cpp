#include "host/gralloc/SharedMemory.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zelkcam::host::gralloc {
namespace {

constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;
// Newer than glibc's header. A kernel may be set up to put it on every memfd.
constexpr int kSealExec = 0x20;

bool isSealed(int fd) {
    const int seals = fcntl(fd, F_GET_SEALS);
    return seals >= 0 && (seals & ~kSealExec) == kSeals;
}

bool isWritable(int fd) {
    const int flags = fcntl(fd, F_GETFL);
    return flags >= 0 && (flags & O_ACCMODE) == O_RDWR;
}

// Huge pages can be sealed too, but a hole punched into them may find no page to fill it, and then
// the reader gets a signal.
bool hasOrdinaryPages(int fd) {
    struct statfs status {};
    return fstatfs(fd, &status) == 0 && status.f_type == TMPFS_MAGIC;
}

}  // namespace

// Whole pages, as the kernel maps them: ThreadSanitizer goes by the size that it is told, and would
// take the rest of the last page for that of whatever was mapped there before.
Mapping Mapping::map(int fd, size_t size) {
    const size_t mapped = roundToPages(size);
    void* address = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED) {
        return {};
    }
    return {static_cast<std::byte*>(address), mapped};
}

Mapping::Mapping(Mapping&& other) noexcept
    : mAddress(std::exchange(other.mAddress, nullptr)), mSize(std::exchange(other.mSize, 0)) {}

Mapping& Mapping::operator=(Mapping&& other) noexcept {
    std::swap(mAddress, other.mAddress);
    std::swap(mSize, other.mSize);
    return *this;
}

Mapping::~Mapping() {
    if (mAddress != nullptr) {
        munmap(mAddress, mSize);
    }
}

ScopedFileDescriptor makeSharedMemory(const char* name, uint64_t size) {
    ScopedFileDescriptor fd(memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (fd.get() < 0 || ftruncate(fd.get(), static_cast<off_t>(roundToPages(size))) != 0 ||
        fcntl(fd.get(), F_ADD_SEALS, kSeals) != 0) {
        return ScopedFileDescriptor();
    }
    return fd;
}

AIMapper_Error inspectSharedMemory(int fd, SharedMemoryInfo* info) {
    struct stat status {};
    if (!isSealed(fd) || !isWritable(fd) || !hasOrdinaryPages(fd) || fstat(fd, &status) != 0) {
        return AIMAPPER_ERROR_BAD_BUFFER;
    }
    *info = {static_cast<uint64_t>(status.st_size), status.st_ino};
    return AIMAPPER_ERROR_NONE;
}

AIMapper_Error duplicate(int fd, ScopedFileDescriptor* copy) {
    const int result = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (result < 0) {
        return errno == EBADF ? AIMAPPER_ERROR_BAD_BUFFER : AIMAPPER_ERROR_NO_RESOURCES;
    }
    copy->set(result);
    return AIMAPPER_ERROR_NONE;
}

}  // namespace zelkcam::host::gralloc
