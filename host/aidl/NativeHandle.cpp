#include <fcntl.h>

#include <algorithm>

#include <aidlcommonsupport/NativeHandle.h>

namespace android {
namespace {

using AidlHandle = aidl::android::hardware::common::NativeHandle;

int keep(int fd) {
    return fd;
}

int duplicate(int fd) {
    return fcntl(fd, F_DUPFD_CLOEXEC, 0);
}

native_handle_t* fromAidl(const AidlHandle& handle, int (*takeFd)(int)) {
    native_handle_t* result = native_handle_create(static_cast<int>(handle.fds.size()),
                                                   static_cast<int>(handle.ints.size()));
    if (result == nullptr) {
        return nullptr;
    }
    int* ints = std::transform(handle.fds.begin(), handle.fds.end(), result->data,
                               [&](const auto& fd) { return takeFd(fd.get()); });
    std::copy(handle.ints.begin(), handle.ints.end(), ints);
    return result;
}

AidlHandle toAidl(const native_handle_t* handle, int (*takeFd)(int)) {
    AidlHandle result;
    const int* ints = handle->data + handle->numFds;
    result.fds.reserve(handle->numFds);
    for (const int* fd = handle->data; fd != ints; ++fd) {
        result.fds.emplace_back(takeFd(*fd));
    }
    result.ints.assign(ints, ints + handle->numInts);
    return result;
}

}  // namespace

bool isAidlNativeHandleEmpty(const AidlHandle& handle) {
    return handle.fds.empty() && handle.ints.empty();
}

native_handle_t* makeFromAidl(const AidlHandle& handle) {
    return fromAidl(handle, keep);
}

native_handle_t* dupFromAidl(const AidlHandle& handle) {
    return fromAidl(handle, duplicate);
}

AidlHandle makeToAidl(const native_handle_t* handle) {
    return toAidl(handle, keep);
}

AidlHandle dupToAidl(const native_handle_t* handle) {
    return toAidl(handle, duplicate);
}

}  // namespace android
