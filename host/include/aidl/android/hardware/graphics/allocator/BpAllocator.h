// The graphics allocator as another process sees it.
#pragma once

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <android/binder_ibinder.h>

namespace aidl::android::hardware::graphics::allocator {

class BpAllocator : public ::ndk::BpCInterface<IAllocator> {
  public:
    explicit BpAllocator(const ::ndk::SpAIBinder& binder);
    virtual ~BpAllocator();

    ::ndk::ScopedAStatus allocate(const std::vector<uint8_t>& in_descriptor, int32_t in_count,
                                  AllocationResult* _aidl_return) override
            __attribute__((deprecated("use allocate2")));
    ::ndk::ScopedAStatus allocate2(const BufferDescriptorInfo& in_descriptor, int32_t in_count,
                                   AllocationResult* _aidl_return) override;
    ::ndk::ScopedAStatus isSupported(const BufferDescriptorInfo& in_descriptor,
                                     bool* _aidl_return) override;
    ::ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) override;
};

}  // namespace aidl::android::hardware::graphics::allocator
