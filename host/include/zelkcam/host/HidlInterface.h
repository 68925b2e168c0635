// What every generated HIDL interface offers beside its own operations.
#pragma once

#include <string>

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>

// In the interface's class, after its own operations: those of the base, in the base's slots.
//
// castFrom: the object again when its chain holds this interface, else null. With emitError a call
// that does not come through is reported as such instead of as null.
#define ZELKCAM_HIDL_BASE_OPERATIONS(I)                                                           \
    ::android::hardware::Return<void> interfaceChain(interfaceChain_cb _hidl_cb) override;        \
    ::android::hardware::Return<void> debug(                                                      \
            const ::android::hardware::hidl_handle& fd,                                           \
            const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options)       \
            override;                                                                             \
    ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb)        \
            override;                                                                             \
    ::android::hardware::Return<void> getHashChain(getHashChain_cb _hidl_cb) override;            \
    ::android::hardware::Return<void> setHALInstrumentation() override;                           \
    ::android::hardware::Return<bool> linkToDeath(                                                \
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient,            \
            uint64_t cookie) override;                                                            \
    ::android::hardware::Return<void> ping() override;                                            \
    ::android::hardware::Return<void> getDebugInfo(getDebugInfo_cb _hidl_cb) override;            \
    ::android::hardware::Return<void> notifySyspropsChanged() override;                           \
    ::android::hardware::Return<bool> unlinkToDeath(                                              \
            const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) override;  \
    static ::android::hardware::Return<::android::sp<I>> castFrom(const ::android::sp<I>& parent, \
                                                                  bool emitError = false);        \
    static ::android::hardware::Return<::android::sp<I>> castFrom(                                \
            const ::android::sp<::android::hidl::base::V1_0::IBase>& parent,                      \
            bool emitError = false);

// One way to find a service, under all the forms that its name may have.
#define ZELKCAM_HIDL_FINDER(I, FINDER)                                                  \
    static ::android::sp<I> FINDER(const std::string& serviceName = "default",          \
                                   bool getStub = false);                               \
    static ::android::sp<I> FINDER(const char serviceName[], bool getStub = false) {    \
        return FINDER(std::string(serviceName != nullptr ? serviceName : ""), getStub); \
    }                                                                                   \
    static ::android::sp<I> FINDER(const ::android::hardware::hidl_string& serviceName, \
                                   bool getStub = false) {                              \
        return FINDER(std::string(serviceName.c_str(), serviceName.size()), getStub);   \
    }                                                                                   \
    static ::android::sp<I> FINDER(bool getStub) {                                      \
        return FINDER("default", getStub);                                              \
    }

// In the class of an interface that a service offers. All are thread-safe.
//
// getService and tryGetService: the service of that name, or null when there is none. The host
// platform declares no service that it does not have, so there is nothing to wait for.
//
// registerAsService: offers this object under that name from now on, in place of an earlier one;
// the registry keeps a strong reference. OK on success, UNKNOWN_ERROR for an empty name or when the
// object does not answer which interfaces it has.
//
// registerForNotifications: calls back for every service of that name, or of any name if it is
// empty: at once for what is there, and in the thread that registers another. False for null.
#define ZELKCAM_HIDL_SERVICE_OPERATIONS(I)                                             \
    ZELKCAM_HIDL_FINDER(I, tryGetService)                                              \
    ZELKCAM_HIDL_FINDER(I, getService)                                                 \
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(         \
            const std::string& serviceName = "default");                               \
    static bool registerForNotifications(                                              \
            const std::string& serviceName,                                            \
            const ::android::sp<::android::hidl::manager::V1_0::IServiceNotification>& \
                    notification);
