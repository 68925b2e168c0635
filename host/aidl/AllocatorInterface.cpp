// What the generated allocator interface leaves to a library.
#include <cstring>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>
#include <aidl/android/hardware/graphics/allocator/BpAllocator.h>

namespace aidl::android::hardware::graphics::allocator {

using ::ndk::ScopedAStatus;
using ::ndk::SpAIBinder;

namespace {

// Calls reach a local object directly; only a remote one would come through here.
binder_status_t onTransact(AIBinder* /*binder*/, transaction_code_t /*code*/, const AParcel* /*in*/,
                           AParcel* /*out*/) {
    return STATUS_UNKNOWN_TRANSACTION;
}

const AIBinder_Class* binderClass() {
    static const AIBinder_Class* const clazz =
            ::ndk::ICInterface::defineClass(IAllocator::descriptor, onTransact);
    return clazz;
}

// A service of the same interface with a class object of its own.
bool isSameInterface(AIBinder* binder) {
    const AIBinder_Class* clazz = AIBinder_getClass(binder);
    return clazz != nullptr &&
           std::strcmp(AIBinder_Class_getDescriptor(clazz), IAllocator::descriptor) == 0;
}

ScopedAStatus unknownTransaction() {
    return ScopedAStatus::fromStatus(STATUS_UNKNOWN_TRANSACTION);
}

// What every call of a proxy ends with: nothing carries a call to another process.
ScopedAStatus noTransport() {
    return ScopedAStatus::fromStatus(STATUS_FAILED_TRANSACTION);
}

}  // namespace

const char* IAllocator::descriptor = "android.hardware.graphics.allocator.IAllocator";
const int32_t IAllocator::version;
std::shared_ptr<IAllocator> IAllocator::default_impl;

IAllocator::IAllocator() = default;
IAllocator::~IAllocator() = default;

std::shared_ptr<IAllocator> IAllocator::fromBinder(const SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), binderClass())) {
        if (!isSameInterface(binder.get())) {
            return nullptr;
        }
        return ::ndk::SharedRefBase::make<BpAllocator>(binder);
    }
    if (auto local = ::ndk::ICInterface::asInterface(binder.get())) {
        return std::static_pointer_cast<IAllocator>(local);
    }
    return ::ndk::SharedRefBase::make<BpAllocator>(binder);
}

binder_status_t IAllocator::writeToParcel(AParcel* /*parcel*/,
                                          const std::shared_ptr<IAllocator>& /*instance*/) {
    return STATUS_INVALID_OPERATION;
}

binder_status_t IAllocator::readFromParcel(const AParcel* /*parcel*/,
                                           std::shared_ptr<IAllocator>* /*instance*/) {
    return STATUS_INVALID_OPERATION;
}

bool IAllocator::setDefaultImpl(const std::shared_ptr<IAllocator>& impl) {
    if (impl == nullptr || default_impl != nullptr) {
        return false;
    }
    default_impl = impl;
    return true;
}

const std::shared_ptr<IAllocator>& IAllocator::getDefaultImpl() {
    return default_impl;
}

ScopedAStatus IAllocatorDefault::allocate(const std::vector<uint8_t>& /*in_descriptor*/,
                                          int32_t /*in_count*/,
                                          AllocationResult* /*_aidl_return*/) {
    return unknownTransaction();
}

ScopedAStatus IAllocatorDefault::allocate2(const BufferDescriptorInfo& /*in_descriptor*/,
                                           int32_t /*in_count*/,
                                           AllocationResult* /*_aidl_return*/) {
    return unknownTransaction();
}

ScopedAStatus IAllocatorDefault::isSupported(const BufferDescriptorInfo& /*in_descriptor*/,
                                             bool* /*_aidl_return*/) {
    return unknownTransaction();
}

ScopedAStatus IAllocatorDefault::getIMapperLibrarySuffix(std::string* /*_aidl_return*/) {
    return unknownTransaction();
}

ScopedAStatus IAllocatorDefault::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = 0;
    return ScopedAStatus::ok();
}

ScopedAStatus IAllocatorDefault::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = "";
    return ScopedAStatus::ok();
}

SpAIBinder IAllocatorDefault::asBinder() {
    return SpAIBinder();
}

bool IAllocatorDefault::isRemote() {
    return false;
}

BnAllocator::BnAllocator() = default;
BnAllocator::~BnAllocator() = default;

ScopedAStatus BnAllocator::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IAllocator::version;
    return ScopedAStatus::ok();
}

ScopedAStatus BnAllocator::getInterfaceHash(std::string* _aidl_return) {
    *_aidl_return = IAllocator::hash;
    return ScopedAStatus::ok();
}

SpAIBinder BnAllocator::createBinder() {
    return SpAIBinder(AIBinder_new(binderClass(), static_cast<::ndk::ICInterface*>(this)));
}

BpAllocator::BpAllocator(const SpAIBinder& binder) : BpCInterface(binder) {}
BpAllocator::~BpAllocator() = default;

ScopedAStatus BpAllocator::allocate(const std::vector<uint8_t>& /*in_descriptor*/,
                                    int32_t /*in_count*/, AllocationResult* /*_aidl_return*/) {
    return noTransport();
}

ScopedAStatus BpAllocator::allocate2(const BufferDescriptorInfo& /*in_descriptor*/,
                                     int32_t /*in_count*/, AllocationResult* /*_aidl_return*/) {
    return noTransport();
}

ScopedAStatus BpAllocator::isSupported(const BufferDescriptorInfo& /*in_descriptor*/,
                                       bool* /*_aidl_return*/) {
    return noTransport();
}

ScopedAStatus BpAllocator::getIMapperLibrarySuffix(std::string* /*_aidl_return*/) {
    return noTransport();
}

ScopedAStatus BpAllocator::getInterfaceVersion(int32_t* /*_aidl_return*/) {
    return noTransport();
}

ScopedAStatus BpAllocator::getInterfaceHash(std::string* /*_aidl_return*/) {
    return noTransport();
}

}  // namespace aidl::android::hardware::graphics::allocator
