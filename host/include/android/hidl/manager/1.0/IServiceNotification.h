// What a client that waits for a HIDL service implements.
#pragma once

#include <stdint.h>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>

namespace android {
namespace hidl {
namespace manager {
namespace V1_0 {

// Own slot 13.
struct IServiceNotification : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;  // "android.hidl.manager@1.0::IServiceNotification"

    bool isRemote() const override { return false; }

    // A service of that interface descriptor and name was registered, or, with preexisting, was
    // there when the notification was registered.
    virtual ::android::hardware::Return<void> onRegistration(
            const ::android::hardware::hidl_string& fqName,
            const ::android::hardware::hidl_string& name, bool preexisting) = 0;

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
    static ::android::hardware::Return<::android::sp<IServiceNotification>> castFrom(
            const ::android::sp<IServiceNotification>& parent, bool emitError = false);
    static ::android::hardware::Return<::android::sp<IServiceNotification>> castFrom(
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,
            bool emitError = false);
};

}  // namespace V1_0
}  // namespace manager
}  // namespace hidl
}  // namespace android
