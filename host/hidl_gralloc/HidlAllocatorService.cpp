#include "host/hidl_gralloc/HidlAllocatorService.h"

#include <algorithm>

#include "host/gralloc/Gralloc.h"
#include "host/hidl_gralloc/Descriptions.h"

namespace zelkcam::host {
namespace {

using android::hardware::hidl_handle;
using android::hardware::hidl_vec;
using android::hardware::graphics::mapper::V4_0::Error;

// The result owns the descriptors from then on. Null when memory is short.
hidl_handle toHidl(gralloc::RawBuffer& raw) {
    native_handle_t* native = native_handle_create(gralloc::kFdCount, gralloc::kIntCount);
    hidl_handle handle;
    if (native == nullptr) {
        return handle;
    }
    for (int i = 0; i < gralloc::kFdCount; ++i) {
        native->data[i] = raw.fds[i].release();
    }
    std::ranges::copy(raw.ints, native->data + gralloc::kFdCount);
    handle.setTo(native, true);
    return handle;
}

// A descriptor that decodes was not necessarily made by createDescriptor, so it is checked again.
Error allocate(const hidl_vec<uint8_t>& descriptor, uint32_t count,
               gralloc::Allocation* allocation) {
    const auto description = decodeDescriptor(descriptor);
    if (!description) {
        return Error::BAD_DESCRIPTOR;
    }
    const AIMapper_Error error = gralloc::gralloc().allocate({*description, count}, allocation);
    return error == AIMAPPER_ERROR_BAD_VALUE ? Error::BAD_DESCRIPTOR : static_cast<Error>(error);
}

}  // namespace

android::hardware::Return<void> HidlAllocatorService::allocate(const hidl_vec<uint8_t>& descriptor,
                                                               uint32_t count,
                                                               allocate_cb callback) {
    gralloc::Allocation allocation;
    const Error error = host::allocate(descriptor, count, &allocation);
    if (error == static_cast<Error>(gralloc::kServiceGone)) {
        return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
    }
    hidl_vec<hidl_handle> handles;
    handles.resize(allocation.buffers.size());
    std::ranges::transform(allocation.buffers, handles.begin(), toHidl);
    callback(error, allocation.stride, handles);
    return android::hardware::Void();
}

}  // namespace zelkcam::host
