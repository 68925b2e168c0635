// The graphics allocator as a service implements it.
#pragma once

#include <memory>

#include <aidl/android/hardware/graphics/allocator/IAllocator.h>
#include <android/binder_ibinder.h>

namespace aidl::android::hardware::graphics::allocator {

// The base of a service, which implements the four operations of its own; made with
// ndk::SharedRefBase::make.
class BnAllocator : public ::ndk::BnCInterface<IAllocator> {
  public:
    BnAllocator();
    virtual ~BnAllocator();
    ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) final;
    ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) final;

  protected:
    ::ndk::SpAIBinder createBinder() override;
};

// Forwards to another allocator.
class IAllocatorDelegator : public BnAllocator {
  public:
    explicit IAllocatorDelegator(const std::shared_ptr<IAllocator>& impl) : _impl(impl) {}

    ::ndk::ScopedAStatus allocate(const std::vector<uint8_t>& in_descriptor, int32_t in_count,
                                  AllocationResult* _aidl_return) override {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        return _impl->allocate(in_descriptor, in_count, _aidl_return);
#pragma GCC diagnostic pop
    }
    ::ndk::ScopedAStatus allocate2(const BufferDescriptorInfo& in_descriptor, int32_t in_count,
                                   AllocationResult* _aidl_return) override {
        return _impl->allocate2(in_descriptor, in_count, _aidl_return);
    }
    ::ndk::ScopedAStatus isSupported(const BufferDescriptorInfo& in_descriptor,
                                     bool* _aidl_return) override {
        return _impl->isSupported(in_descriptor, _aidl_return);
    }
    ::ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* _aidl_return) override {
        return _impl->getIMapperLibrarySuffix(_aidl_return);
    }

  private:
    std::shared_ptr<IAllocator> _impl;
};

}  // namespace aidl::android::hardware::graphics::allocator
