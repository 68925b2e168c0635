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

// Takes the additional options that the device knows; false for any other, and for a data space
// beyond the enumeration's 32 bits.
bool takeOptions(const AllocatorService::BufferDescriptorInfo& info,
                 gralloc::AllocationRequest* request) {
    const auto& known = gralloc::deviceTraits().options;
    return std::ranges::all_of(info.additionalOptions, [&](const auto& option) {
        if (std::ranges::find(known, option.name) == known.end()) {
            return false;
        }
        if (option.name != kDataspaceOption) {
            return true;
        }
        request->dataspace = static_cast<gralloc::Dataspace>(option.value);
        return static_cast<int64_t>(request->dataspace) == option.value;
    });
}

// No value when one of the additional options is not taken.
std::optional<gralloc::AllocationRequest> requestOf(
        const AllocatorService::BufferDescriptorInfo& info, int32_t count) {
    const std::string_view name(reinterpret_cast<const char*>(info.name.data()), info.name.size());
    gralloc::AllocationRequest request{gralloc::describe(name, info), count};
    return takeOptions(info, &request) ? std::optional(request) : std::nullopt;
}

// A recorded device may have refused without a code of the service.
ndk::ScopedAStatus refuse(AllocationError error) {
    if (static_cast<int32_t>(error) < 0) {
        return ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_STATE);
    }
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

// The device's own code where the device refuses; a lack of memory is the host's.
AllocationError refusalOf(const gralloc::Description& description, AIMapper_Error error) {
    gralloc::Layout layout;
    if (gralloc::decide(description, &layout) == AIMAPPER_ERROR_NONE) {
        return error == AIMAPPER_ERROR_NO_RESOURCES ? AllocationError::NO_RESOURCES
                                                    : AllocationError::UNSUPPORTED;
    }
    return static_cast<AllocationError>(gralloc::refusalOf(description));
}

ndk::ScopedAStatus allocate(const gralloc::AllocationRequest& request,
                            AllocatorService::AllocationResult* result) {
    gralloc::Allocation allocation;
    const AIMapper_Error error = gralloc::gralloc().allocate(request, &allocation);
    if (error == gralloc::kServiceGone) {
        return ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
    }
    if (error != AIMAPPER_ERROR_NONE) {
        return refuse(refusalOf(request.description, error));
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
    return request ? host::allocate(*request, result)
                   : refuse(static_cast<AllocationError>(gralloc::deviceTraits().optionsRefusal));
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
