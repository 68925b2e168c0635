// The graphics allocator service, version 2.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/android/hardware/graphics/allocator/AllocationResult.h>
#include <aidl/android/hardware/graphics/allocator/BufferDescriptorInfo.h>
#include <aidl/android/hardware/graphics/common/BufferUsage.h>
#include <aidl/android/hardware/graphics/common/ExtendableType.h>
#include <aidl/android/hardware/graphics/common/PixelFormat.h>
#include <android/binder_interface_utils.h>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl::android::hardware::graphics::allocator {

class IAllocatorDelegator;

// Every call runs in the caller's thread when the service is a local object. A refused allocation
// is EX_SERVICE_SPECIFIC with an AllocationError; any other exception is a failure of the
// transport.
class IAllocator : public ::ndk::ICInterface {
  public:
    typedef IAllocatorDelegator DefaultDelegator;
    static const char* descriptor;
    IAllocator();
    virtual ~IAllocator();

    static const int32_t version = 2;
    static inline const std::string hash = "9499fec09c544e9de5be3c87125721600f8ade66";
    static constexpr uint32_t TRANSACTION_allocate = FIRST_CALL_TRANSACTION + 0;
    static constexpr uint32_t TRANSACTION_allocate2 = FIRST_CALL_TRANSACTION + 1;
    static constexpr uint32_t TRANSACTION_isSupported = FIRST_CALL_TRANSACTION + 2;
    static constexpr uint32_t TRANSACTION_getIMapperLibrarySuffix = FIRST_CALL_TRANSACTION + 3;

    // The interface of a binder: the object itself when it is local, otherwise a proxy. Null for
    // null and for a binder of another class.
    static std::shared_ptr<IAllocator> fromBinder(const ::ndk::SpAIBinder& binder);
    static binder_status_t writeToParcel(AParcel* parcel,
                                         const std::shared_ptr<IAllocator>& instance);
    static binder_status_t readFromParcel(const AParcel* parcel,
                                          std::shared_ptr<IAllocator>* instance);
    static bool setDefaultImpl(const std::shared_ptr<IAllocator>& impl);
    static const std::shared_ptr<IAllocator>& getDefaultImpl();

    // Allocates after the descriptor bytes of a 4.x mapper.
    virtual ::ndk::ScopedAStatus allocate(const std::vector<uint8_t>& in_descriptor,
                                          int32_t in_count, AllocationResult* _aidl_return)
            __attribute__((deprecated("use allocate2"))) = 0;

    // Allocates `in_count` buffers of one description.
    virtual ::ndk::ScopedAStatus allocate2(const BufferDescriptorInfo& in_descriptor,
                                           int32_t in_count, AllocationResult* _aidl_return) = 0;

    // Whether such an allocation works unless resources run out.
    virtual ::ndk::ScopedAStatus isSupported(const BufferDescriptorInfo& in_descriptor,
                                             bool* _aidl_return) = 0;

    // S, such that the library "mapper.<S>.so" maps this allocator's buffers.
    virtual ::ndk::ScopedAStatus getIMapperLibrarySuffix(std::string* _aidl_return) = 0;

    virtual ::ndk::ScopedAStatus getInterfaceVersion(int32_t* _aidl_return) = 0;
    virtual ::ndk::ScopedAStatus getInterfaceHash(std::string* _aidl_return) = 0;

  private:
    static std::shared_ptr<IAllocator> default_impl;
};

// Answers every call as a service that does not know it.
class IAllocatorDefault : public IAllocator {
  public:
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
    ::ndk::SpAIBinder asBinder() override;
    bool isRemote() override;
};

}  // namespace aidl::android::hardware::graphics::allocator
