#include "host/allocator/AllocatorService.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <aidl/android/hardware/graphics/allocator/AllocationError.h>

#include "host/gralloc/Gralloc.h"
#include "host/hidl_gralloc/Descriptions.h"

namespace zelkcam::host {
namespace {

using aidl::android::hardware::common::NativeHandle;
using aidl::android::hardware::graphics::allocator::AllocationError;

constexpr std::string_view kDataspaceOption = "android.hardware.graphics.common.Dataspace";

// Takes the one additional option that is known; false for any other, and for a value beyond the
// enumeration's 32 bits.
bool takeOptions(const AllocatorService::BufferDescriptorInfo& info,
                 gralloc::AllocationRequest* request) {
    return std::ranges::all_of(info.additionalOptions, [request](const auto& option) {
        request->dataspace = static_cast<gralloc::Dataspace>(option.value);
        return option.name == kDataspaceOption &&
               static_cast<int64_t>(request->dataspace) == option.value;
    });
}

// No value when one of the additional options is not taken.
std::optional<gralloc::AllocationRequest> requestOf(
        const AllocatorService::BufferDescriptorInfo& info, int32_t count) {
    const std::string_view name(reinterpret_cast<const char*>(info.name.data()), info.name.size());
    gralloc::AllocationRequest request{gralloc::describe(name, info), count};
    return takeOptions(info, &request) ? std::optional(request) : std::nullopt;
}

ndk::ScopedAStatus refuse(AllocationError error) {
    return ndk::ScopedAStatus::fromServiceSpecificError(static_cast<int32_t>(error));
}

NativeHandle toAidl(gralloc::RawBuffer& raw) {
    NativeHandle handle;
    for (gralloc::ScopedFileDescriptor& fd : raw.fds) {
        handle.fds.push_back(std::move(fd));
    }
    handle.ints.assign(raw.ints.begin(), raw.ints.end());
    return handle;
}

ndk::ScopedAStatus allocate(const gralloc::AllocationRequest& request,
                            AllocatorService::AllocationResult* result) {
    gralloc::Allocation allocation;
    const AIMapper_Error error = gralloc::gralloc().allocate(request, &allocation);
    if (error != AIMAPPER_ERROR_NONE) {
        return refuse(error == AIMAPPER_ERROR_NO_RESOURCES ? AllocationError::NO_RESOURCES
                                                           : AllocationError::UNSUPPORTED);
    }
    result->stride = static_cast<int32_t>(allocation.stride);
    result->buffers.clear();
    for (gralloc::RawBuffer& raw : allocation.buffers) {
        result->buffers.push_back(toAidl(raw));
    }
    return ndk::ScopedAStatus::ok();
}

}  // namespace

ndk::ScopedAStatus AllocatorService::allocate(const std::vector<uint8_t>& descriptor, int32_t count,
                                              AllocationResult* result) {
    const auto description = decodeDescriptor(descriptor);
    return description ? host::allocate({*description, count}, result)
                       : refuse(AllocationError::BAD_DESCRIPTOR);
}

ndk::ScopedAStatus AllocatorService::allocate2(const BufferDescriptorInfo& descriptor,
                                               int32_t count, AllocationResult* result) {
    const auto request = requestOf(descriptor, count);
    return request ? host::allocate(*request, result) : refuse(AllocationError::UNSUPPORTED);
}

ndk::ScopedAStatus AllocatorService::isSupported(const BufferDescriptorInfo& descriptor,
                                                 bool* supported) {
    const auto request = requestOf(descriptor, 1);
    gralloc::Layout layout;
    *supported = request && gralloc::decide(request->description, &layout) == AIMAPPER_ERROR_NONE;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus AllocatorService::getIMapperLibrarySuffix(std::string* suffix) {
    *suffix = "default";
    return ndk::ScopedAStatus::ok();
}

}  // namespace zelkcam::host
