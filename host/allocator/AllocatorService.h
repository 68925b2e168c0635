// The host's AIDL allocator service, version 2.
#pragma once

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>

namespace zelkcam::host {

// Stateless, so safe from any thread. The additional option
// android.hardware.graphics.common.Dataspace presets the data space of the buffers, any other is
// refused. Refusals are service-specific errors: NO_RESOURCES, or
// UNSUPPORTED for whatever isSupported denies. BAD_DESCRIPTOR is 0, which clients of allocate2 take
// for no error code at all, so only the old allocate answers it.
class AllocatorService : public aidl::android::hardware::graphics::allocator::BnAllocator {
  public:
    using AllocationResult = aidl::android::hardware::graphics::allocator::AllocationResult;
    using BufferDescriptorInfo = aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;

    // For clients of the HIDL mapper: the bytes that its createDescriptor gave.
    ndk::ScopedAStatus allocate(const std::vector<uint8_t>& descriptor, int32_t count,
                                AllocationResult* result) override;
    ndk::ScopedAStatus allocate2(const BufferDescriptorInfo& descriptor, int32_t count,
                                 AllocationResult* result) override;
    ndk::ScopedAStatus isSupported(const BufferDescriptorInfo& descriptor,
                                   bool* supported) override;
    ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override;
};

}  // namespace zelkcam::host
