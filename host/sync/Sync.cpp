// The published fence calls. What is no sync file of the kernel is a stand-in (Fence.h), of which
// only the state is known.
#include <errno.h>
#include <fcntl.h>
#include <sys/ioctl.h>

#include <cstdlib>
#include <cstring>

#include <android/sync.h>

#include "host/sync/Fence.h"

namespace {

using zelkcam::host::waitForFence;

enum class FenceState { kPending, kSignalled, kInvalid };

FenceState stateOf(int fd) {
    switch (waitForFence(fd, 0)) {
        case 0:
            return FenceState::kSignalled;
        case ETIME:
            return FenceState::kPending;
        default:
            return FenceState::kInvalid;
    }
}

int duplicate(int fd) {
    return fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

// The union of two stand-ins is known only when one of them is decided.
int mergeStandIns(int fd1, int fd2) {
    if (stateOf(fd1) != FenceState::kPending) {
        return duplicate(stateOf(fd2) == FenceState::kInvalid ? fd1 : fd2);
    }
    if (stateOf(fd2) != FenceState::kPending) {
        return duplicate(fd1);
    }
    errno = ENOTTY;
    return -1;
}

struct sync_file_info* allocateInfo(uint32_t fences) {
    const size_t size = sizeof(struct sync_file_info) + fences * sizeof(struct sync_fence_info);
    auto* info = static_cast<struct sync_file_info*>(std::calloc(1, size));
    if (info == nullptr) {
        return nullptr;
    }
    info->num_fences = fences;
    info->sync_fence_info = fences == 0 ? 0 : reinterpret_cast<uintptr_t>(info + 1);
    return info;
}

struct sync_file_info* infoOfStandIn(int fd) {
    const FenceState state = stateOf(fd);
    if (state == FenceState::kInvalid) {
        errno = EINVAL;
        return nullptr;
    }
    struct sync_file_info* info = allocateInfo(0);
    if (info == nullptr) {
        return nullptr;
    }
    std::strncpy(info->name, "stand-in", sizeof(info->name) - 1);
    info->status = state == FenceState::kSignalled ? 1 : 0;
    return info;
}

}  // namespace

int sync_wait(int fd, int timeout) {
    const int error = waitForFence(fd, timeout);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return 0;
}

int32_t sync_merge(const char* name, int32_t fd1, int32_t fd2) {
    struct sync_merge_data data = {};
    std::strncpy(data.name, name == nullptr ? "" : name, sizeof(data.name) - 1);
    data.fd2 = fd2;
    if (ioctl(fd1, SYNC_IOC_MERGE, &data) == 0) {
        return data.fence;
    }
    return mergeStandIns(fd1, fd2);
}

struct sync_file_info* sync_file_info(int32_t fd) {
    struct sync_file_info count = {};
    if (ioctl(fd, SYNC_IOC_FILE_INFO, &count) != 0) {
        return errno == ENOTTY ? infoOfStandIn(fd) : nullptr;
    }
    struct sync_file_info* info = allocateInfo(count.num_fences);
    if (info == nullptr) {
        return nullptr;
    }
    if (ioctl(fd, SYNC_IOC_FILE_INFO, info) == 0) {
        return info;
    }
    std::free(info);
    return nullptr;
}

void sync_file_info_free(struct sync_file_info* info) {
    std::free(info);
}
