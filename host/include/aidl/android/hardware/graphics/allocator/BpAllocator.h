// The graphics allocator as another process sees it.
#pragma once

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <android/binder_ibinder.h>

namespace aidl {
namespace android {
namespace hardware {
namespace graphics {
namespace allocator {

class BpAllocator : public ::ndk::BpCInterface<IAllocator> {
  public:
    explicit BpAllocator(const ::ndk::SpAIBinder& binder);
    virtual ~BpAllocator();

    ::ndk::ScopedAStatus allocate(
            const std::vector<uint8_t>& in_descriptor, int32_t in_count,
            ::aidl::android::hardware::graphics::allocator::AllocationResult* _aidl_return) override
            __attribute__((deprecated("use allocate2")));
    ::ndk::ScopedAStatus allocate2(
            const ::aidl::android::hardware::graphics::allocator::BufferDescriptorInfo&
                    in_descriptor,
            int32_t in_count,
            ::aidl::android::hardware::graphics::allocator::AllocationResult* _aidl_return)
            override;
    ::ndk::ScopedAStatus isSupported(
            const ::aidl::android::hardware::graphics::allocator::BufferDescriptorInfo&
                    in_descriptor,
            bool* _aidl_return) override;
    ::ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) override;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) override;
};

}  // namespace allocator
}  // namespace graphics
}  // namespace hardware
}  // namespace android
}  // namespace aidl
