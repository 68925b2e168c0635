#include "host/allocator/AllocatorService.h"

#include <algorithm>

#include <aidl/android/hardware/graphics/allocator/AllocationError.h>

#include "host/gralloc/Allocation.h"
#include "host/hidl_gralloc/Descriptions.h"

namespace zelkcam::host {
namespace {

using aidl::android::hardware::common::NativeHandle;
using aidl::android::hardware::graphics::allocator::AllocationError;

// A negative dimension becomes none at all.
uint32_t dimension(int32_t value) {
    return static_cast<uint32_t>(std::max(value, 0));
}

gralloc::Description describe(const AllocatorService::BufferDescriptorInfo& info) {
    gralloc::Description description;
    const auto* name = reinterpret_cast<const char*>(info.name.data());
    description.setName({name, std::find(name, name + info.name.size(), '\0')});
    description.width = dimension(info.width);
    description.height = dimension(info.height);
    description.layerCount = static_cast<uint32_t>(info.layerCount);
    description.format = static_cast<int32_t>(info.format);
    description.usage = static_cast<uint64_t>(info.usage);
    description.reservedSize = static_cast<uint64_t>(info.reservedSize);
    return description;
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

ndk::ScopedAStatus allocate(const gralloc::Description& description, int32_t count,
                            AllocatorService::AllocationResult* result) {
    gralloc::Allocation allocation;
    const AIMapper_Error error = gralloc::allocate(description, count, &allocation);
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
    return description ? host::allocate(*description, count, result)
                       : refuse(AllocationError::BAD_DESCRIPTOR);
}

// No additional option is known.
ndk::ScopedAStatus AllocatorService::allocate2(const BufferDescriptorInfo& descriptor,
                                               int32_t count, AllocationResult* result) {
    return descriptor.additionalOptions.empty()
                   ? host::allocate(describe(descriptor), count, result)
                   : refuse(AllocationError::UNSUPPORTED);
}

ndk::ScopedAStatus AllocatorService::isSupported(const BufferDescriptorInfo& descriptor,
                                                 bool* supported) {
    gralloc::Layout layout{};
    *supported = descriptor.additionalOptions.empty() &&
                 gralloc::check(describe(descriptor), &layout) == AIMAPPER_ERROR_NONE;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus AllocatorService::getIMapperLibrarySuffix(std::string* suffix) {
    *suffix = "default";
    return ndk::ScopedAStatus::ok();
}

}  // namespace zelkcam::host
