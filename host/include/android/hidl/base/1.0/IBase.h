// The base of all HIDL interfaces.
#pragma once

#include <stdint.h>

#include <functional>

#include <android/hidl/base/1.0/types.h>
#include <hidl/HidlSupport.h>
#include <utils/RefBase.h>

#include "zelkcam/host/HidlTypes.h"

namespace android::hidl::base::V1_0 {

// Every object that a HIDL service offers. The order of the virtual operations is binary contract:
// these eleven take slots 0 to 10 of an interface's table, the implicit destructor 11 and 12, an
// interface's own operations follow from slot 13. Do not declare a destructor here.
struct IBase : virtual public ::android::RefBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    static const char* descriptor;

    // False in the process that implements the object, true for a proxy.
    virtual bool isRemote() const { return false; }

    using interfaceChain_cb = std::function<void(
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& descriptors)>;
    // The object's interfaces by descriptor, the most derived first, IBase last.
    virtual ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb);

    // Writes the object's state to the first descriptor of fd, which stays the caller's.
    virtual ::android::hardware::Return<void> debug(
            const ::android::hardware::hidl_handle& fd,
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options);

    using interfaceDescriptor_cb =
            std::function<void(const ::android::hardware::hidl_string& descriptor)>;
    // The most derived interface's descriptor.
    virtual ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb);

    using getHashChain_cb =
            std::function<void(const ::android::hardware::hidl_vec<
                               ::android::hardware::hidl_array<uint8_t, 32>>& hashchain)>;
    // One hash for every entry of interfaceChain; zeros where the interface text was never frozen,
    // which holds for all interfaces of the host platform.
    virtual ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb);

    virtual ::android::hardware::Return<void> setHALInstrumentation();

    // True when recipient is not null. A local object lives as long as its process, so the
    // recipient is never called.
    virtual ::android::hardware::Return<bool> linkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,
            uint64_t cookie);

    virtual ::android::hardware::Return<void> ping();

    using getDebugInfo_cb = std::function<void(const DebugInfo& info)>;
    virtual ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb);

    // Runs the process's callbacks for changed system properties.
    virtual ::android::hardware::Return<void> notifySyspropsChanged();

    virtual ::android::hardware::Return<bool> unlinkToDeath(
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient);

    static ::android::hardware::Return<::android::sp<IBase>> castFrom(
            const ::android::sp<IBase>& parent, bool emitError = false);
};

ZELKCAM_HIDL_INTERFACE_TEXT(IBase)

}  // namespace android::hidl::base::V1_0
