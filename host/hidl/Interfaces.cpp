// What every HIDL interface answers for itself: its chain, the base's operations, and the ways to
// register and find an implementation.
#include <android/hardware/graphics/allocator/4.0/IAllocator.h>
#include <android/hardware/graphics/mapper/4.0/IMapper.h>
#include <android/hidl/base/1.0/IBase.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <utils/misc.h>

#include "host/hidl/ServiceRegistry.h"

namespace {

using android::sp;
using android::status_t;
using android::hardware::hidl_array;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;
using android::hidl::manager::V1_0::IServiceNotification;
using zelkcam::host::hidlImplements;
using zelkcam::host::ServiceRegistry;

template <typename Interface>
Return<sp<Interface>> castTo(const sp<IBase>& parent, bool emitError) {
    const Return<bool> implements = hidlImplements(parent.get(), Interface::descriptor);
    if (!implements.isOk() && emitError) {
        return android::hardware::details::StatusOf<bool, sp<Interface>>(implements);
    }
    if (!implements.withDefault(false)) {
        return sp<Interface>();
    }
    return sp<Interface>(static_cast<Interface*>(parent.get()));
}

template <typename Interface>
sp<Interface> find(const std::string& name) {
    const sp<IBase> service = ServiceRegistry::instance().find(Interface::descriptor, name);
    return castTo<Interface>(service, false).withDefault(nullptr);
}

}  // namespace

// The chain and the base's operations of a direct child of IBase.
#define ZELKCAM_DEFINE_BASE_OPERATIONS(I, DESCRIPTOR)                                         \
    const char* I::descriptor = DESCRIPTOR;                                                   \
    Return<void> I::interfaceChain(interfaceChain_cb _hidl_cb) {                              \
        _hidl_cb({I::descriptor, IBase::descriptor});                                         \
        return Void();                                                                        \
    }                                                                                         \
    Return<void> I::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {                    \
        _hidl_cb(I::descriptor);                                                              \
        return Void();                                                                        \
    }                                                                                         \
    Return<void> I::getHashChain(getHashChain_cb _hidl_cb) {                                  \
        _hidl_cb(hidl_vec<hidl_array<uint8_t, 32>>(2));                                       \
        return Void();                                                                        \
    }                                                                                         \
    Return<void> I::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {      \
        return IBase::debug(fd, options);                                                     \
    }                                                                                         \
    Return<void> I::setHALInstrumentation() {                                                 \
        return IBase::setHALInstrumentation();                                                \
    }                                                                                         \
    Return<bool> I::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) { \
        return IBase::linkToDeath(recipient, cookie);                                         \
    }                                                                                         \
    Return<void> I::ping() {                                                                  \
        return IBase::ping();                                                                 \
    }                                                                                         \
    Return<void> I::getDebugInfo(getDebugInfo_cb _hidl_cb) {                                  \
        return IBase::getDebugInfo(_hidl_cb);                                                 \
    }                                                                                         \
    Return<void> I::notifySyspropsChanged() {                                                 \
        return IBase::notifySyspropsChanged();                                                \
    }                                                                                         \
    Return<bool> I::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {                \
        return IBase::unlinkToDeath(recipient);                                               \
    }                                                                                         \
    Return<sp<I>> I::castFrom(const sp<I>& parent, bool) {                                    \
        return parent;                                                                        \
    }                                                                                         \
    Return<sp<I>> I::castFrom(const sp<IBase>& parent, bool emitError) {                      \
        return castTo<I>(parent, emitError);                                                  \
    }

// How implementations of a service's interface are found.
#define ZELKCAM_DEFINE_SERVICE_OPERATIONS(I)                                                 \
    sp<I> I::tryGetService(const std::string& serviceName, bool) {                           \
        return find<I>(serviceName);                                                         \
    }                                                                                        \
    sp<I> I::getService(const std::string& serviceName, bool) {                              \
        return find<I>(serviceName);                                                         \
    }                                                                                        \
    status_t I::registerAsService(const std::string& serviceName) {                          \
        return ServiceRegistry::instance().add(serviceName, this);                           \
    }                                                                                        \
    bool I::registerForNotifications(const std::string& serviceName,                         \
                                     const sp<IServiceNotification>& notification) {         \
        return ServiceRegistry::instance().listen(I::descriptor, serviceName, notification); \
    }

namespace android {

namespace hidl {

namespace base::V1_0 {

const char* IBase::descriptor = "android.hidl.base@1.0::IBase";

Return<void> IBase::interfaceChain(interfaceChain_cb _hidl_cb) {
    _hidl_cb({IBase::descriptor});
    return Void();
}

Return<void> IBase::debug(const hidl_handle&, const hidl_vec<hidl_string>&) {
    return Void();
}

Return<void> IBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(IBase::descriptor);
    return Void();
}

Return<void> IBase::getHashChain(getHashChain_cb _hidl_cb) {
    _hidl_cb(hidl_vec<hidl_array<uint8_t, 32>>(1));
    return Void();
}

Return<void> IBase::setHALInstrumentation() {
    return Void();
}

Return<bool> IBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t) {
    return recipient != nullptr;
}

Return<void> IBase::ping() {
    return Void();
}

Return<void> IBase::getDebugInfo(getDebugInfo_cb _hidl_cb) {
    _hidl_cb({-1, 0,
              sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT
                                 : DebugInfo::Architecture::IS_32BIT});
    return Void();
}

Return<void> IBase::notifySyspropsChanged() {
    report_sysprop_change();
    return Void();
}

Return<bool> IBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

Return<sp<IBase>> IBase::castFrom(const sp<IBase>& parent, bool) {
    return parent;
}

}  // namespace base::V1_0

namespace manager::V1_0 {

ZELKCAM_DEFINE_BASE_OPERATIONS(IServiceNotification,
                               "android.hidl.manager@1.0::IServiceNotification")

}  // namespace manager::V1_0

}  // namespace hidl

namespace hardware::graphics {

namespace mapper::V4_0 {

ZELKCAM_DEFINE_BASE_OPERATIONS(IMapper, "android.hardware.graphics.mapper@4.0::IMapper")
ZELKCAM_DEFINE_SERVICE_OPERATIONS(IMapper)

}  // namespace mapper::V4_0

namespace allocator::V4_0 {

ZELKCAM_DEFINE_BASE_OPERATIONS(IAllocator, "android.hardware.graphics.allocator@4.0::IAllocator")
ZELKCAM_DEFINE_SERVICE_OPERATIONS(IAllocator)

}  // namespace allocator::V4_0

}  // namespace hardware::graphics

}  // namespace android
