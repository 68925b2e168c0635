// The HIDL graphics allocator 4.0.
#pragma once

#include <stdint.h>

#include <functional>
#include <string>

#include <android/hardware/graphics/mapper/4.0/types.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/HidlSupport.h>

namespace android {
namespace hardware {
namespace graphics {
namespace allocator {
namespace V4_0 {

// Allocates graphic buffers. Own slot 13.
struct IAllocator : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;  // "android.hardware.graphics.allocator@4.0::IAllocator"

    bool isRemote() const override { return false; }

    using allocate_cb = std::function<void(
            ::android::hardware::graphics::mapper::V4_0::Error error, uint32_t stride,
            const ::android::hardware::hidl_vec<::android::hardware::hidl_handle>& buffers)>;
    // Allocates count buffers of a descriptor that the mapper made; stride in pixels. The handles
    // are raw and the service's: import or clone them inside the callback. BAD_DESCRIPTOR,
    // NO_RESOURCES or UNSUPPORTED on failure.
    virtual ::android::hardware::Return<void> allocate(
            const ::android::hardware::hidl_vec<uint8_t>& descriptor, uint32_t count,
            allocate_cb _hidl_cb) = 0;

    // The base's operations, in the base's slots.
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;
    ::android::hardware::Return<void>
    debug(const ::android::hardware::hidl_handle& fd,
          const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options) override;
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) override;
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;
    ::android::hardware::Return<void> setHALInstrumentation() override;
    ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie) override;
    ::android::hardware::Return<void> ping() override;
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;
    ::android::hardware::Return<void> notifySyspropsChanged() override;
    ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;

    // The object again when its chain holds this interface, else null. With emitError a call that
    // does not come through is reported as such instead of as null.
    static ::android::hardware::Return<::android::sp<IAllocator>> castFrom(
            const ::android::sp<IAllocator>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IAllocator>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);

    // The service of that name, or null when there is none. Never waits. Thread-safe.
    static ::android::sp<IAllocator> tryGetService(const std::string& serviceName = "default",
                                                   bool getStub = false);
    static ::android::sp<IAllocator> tryGetService(const char serviceName[], bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IAllocator> tryGetService(
            const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return tryGetService(std::string(serviceName.c_str(), serviceName.size()), getStub);
    }
    static ::android::sp<IAllocator> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // The service of that name, or null when there is none: the host platform declares no service
    // that it does not have, so there is nothing to wait for. Thread-safe.
    static ::android::sp<IAllocator> getService(const std::string& serviceName = "default",
                                                bool getStub = false);
    static ::android::sp<IAllocator> getService(const char serviceName[], bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IAllocator> getService(const ::android::hardware::hidl_string& serviceName,
                                                bool getStub = false) {
        return getService(std::string(serviceName.c_str(), serviceName.size()), getStub);
    }
    static ::android::sp<IAllocator> getService(bool getStub) {
        return getService("default", getStub);
    }

    // Offers this object under that name from now on, in place of an earlier one; the registry
    // keeps a strong reference. OK on success, UNKNOWN_ERROR for an empty name or when the object
    // cannot tell its interfaces. Thread-safe.
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(
            const std::string& serviceName = "default");
    // Tells the notification of every service of that name, at once of one that is there already.
    // An empty name stands for all. False for a null notification. Thread-safe.
    static bool registerForNotifications(
            const std::string& serviceName,
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>&
                    notification);
};

}  // namespace V4_0
}  // namespace allocator
}  // namespace graphics
}  // namespace hardware
}  // namespace android
