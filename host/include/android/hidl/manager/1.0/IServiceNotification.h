// What a client that waits for a HIDL service implements.
#pragma once

#include <stdint.h>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>

#include "zelkcam/host/HidlInterface.h"

namespace android::hidl::manager::V1_0 {

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

    ZELKCAM_HIDL_BASE_OPERATIONS(IServiceNotification)
};

ZELKCAM_HIDL_INTERFACE_TEXT(IServiceNotification)

}  // namespace android::hidl::manager::V1_0
