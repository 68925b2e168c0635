// Binders of one process: who owns what, and what the service manager gives.
#include <fcntl.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include <aidlcommonsupport/NativeHandle.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include "host/allocator/AllocatorService.h"
#include "tests/host/Handles.h"

namespace {

using aidl::android::hardware::graphics::allocator::IAllocator;
using AidlHandle = aidl::android::hardware::common::NativeHandle;
using ndk::ScopedAStatus;
using ndk::SharedRefBase;
using ndk::SpAIBinder;

std::atomic<int> gLiving = 0;

// The host's own allocator, but counted.
class Service : public zelkcam::host::AllocatorService {
  public:
    Service() { ++gLiving; }
    ~Service() override { --gLiving; }
};

int references(const SpAIBinder& binder) {
    return AIBinder_debugGetRefCount(binder.get());
}

std::string nameOf(const char* instance) {
    return Service::makeServiceName(instance);
}

void add(const std::string& name, const SpAIBinder& binder) {
    ASSERT_EQ(EX_NONE, AServiceManager_addService(binder.get(), name.c_str()));
}

TEST(ServiceManager, HoldsAReferenceOfItsOwnUntilItIsReplacedAndGivesOneAway) {
    const std::string name = nameOf("references");
    EXPECT_EQ(nullptr, AServiceManager_checkService(name.c_str()));
    add(name, SharedRefBase::make<Service>()->asBinder());
    const int living = gLiving;
    const SpAIBinder binder = SharedRefBase::make<Service>()->asBinder();
    EXPECT_EQ(1, references(binder));
    add(name, binder);
    // the same once more is no loss
    EXPECT_EQ(STATUS_OK, AServiceManager_registerLazyService(binder.get(), name.c_str()));
    EXPECT_EQ(living, gLiving);
    EXPECT_EQ(2, references(binder));
    const SpAIBinder owned(AServiceManager_checkService(name.c_str()));
    EXPECT_EQ(binder, owned);
    EXPECT_EQ(3, references(binder));
}

TEST(ServiceManager, WaitsUntilSomebodyRegisters) {
    const std::string name = nameOf("late");
    const SpAIBinder binder = SharedRefBase::make<Service>()->asBinder();
    std::thread registrar([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        add(name, binder);
    });
    EXPECT_EQ(binder, SpAIBinder(AServiceManager_waitForService(name.c_str())));
    registrar.join();
    EXPECT_EQ(2, references(binder));
}

TEST(ServiceManager, TellsWhoListensUntilTheRegistrationIsDeleted) {
    const std::string name = nameOf("heard");
    const SpAIBinder binder = SharedRefBase::make<Service>()->asBinder();
    add(name, binder);
    std::vector<SpAIBinder> told;
    AServiceManager_NotificationRegistration* const registration =
            AServiceManager_registerForServiceNotifications(
                    name.c_str(),
                    [](const char*, AIBinder* registered, void* cookie) {
                        static_cast<std::vector<SpAIBinder>*>(cookie)->emplace_back(registered);
                    },
                    &told);
    add(nameOf("unheard"), binder);
    const SpAIBinder second = SharedRefBase::make<Service>()->asBinder();
    add(name, second);
    EXPECT_EQ(told, (std::vector<SpAIBinder>{binder, second}));
    AServiceManager_NotificationRegistration_delete(registration);
    add(name, binder);
    EXPECT_EQ(told.size(), 2u);
    told.clear();
    EXPECT_EQ(references(second), 1) << "every reference was the callback's";
}

TEST(LocalInterface, LivesAsLongAsItsBinderAndNoLonger) {
    const int before = gLiving;
    std::shared_ptr<Service> service = SharedRefBase::make<Service>();
    SpAIBinder binder = service->asBinder();
    EXPECT_EQ(binder, service->asBinder());
    const ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(binder.get()));
    service.reset();
    EXPECT_EQ(before + 1, gLiving);
    EXPECT_EQ(binder, weak.promote());
    service = std::static_pointer_cast<Service>(IAllocator::fromBinder(binder));
    binder.set(nullptr);
    EXPECT_EQ(nullptr, weak.promote());
    EXPECT_EQ(1, references(service->asBinder()));  // a new one, gone with the statement
    service.reset();
    EXPECT_EQ(before, gLiving);
}

SpAIBinder foreignBinder(const char* descriptor) {
    AIBinder_Class* const itsClass = AIBinder_Class_define(
            descriptor, [](void* args) { return args; }, [](void*) {},
            [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
                return STATUS_OK;
            });
    return SpAIBinder(AIBinder_new(itsClass, nullptr));
}

TEST(ForeignBinder, IsAProxyForTheSameDescriptorAndNothingForAnother) {
    EXPECT_EQ(nullptr, IAllocator::fromBinder(foreignBinder("another.interface")));
    const SpAIBinder same = foreignBinder(IAllocator::descriptor);
    const std::shared_ptr<IAllocator> proxy = IAllocator::fromBinder(same);
    ASSERT_NE(nullptr, proxy);
    EXPECT_EQ(same, proxy->asBinder());
    std::string suffix;
    const ScopedAStatus status = proxy->getIMapperLibrarySuffix(&suffix);
    EXPECT_EQ(EX_TRANSACTION_FAILED, status.getExceptionCode());
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, status.getStatus());
}

TEST(Status, IsNeverSuccessForAServicesCodeAndKnowsItsNames) {
    EXPECT_FALSE(ScopedAStatus().isOk());
    EXPECT_TRUE(ScopedAStatus(AStatus_fromStatus(STATUS_OK)).isOk());
    const ScopedAStatus zero(AStatus_fromServiceSpecificError(0));
    EXPECT_FALSE(zero.isOk());
    EXPECT_EQ("Status(-8, EX_SERVICE_SPECIFIC): '0: '", zero.getDescription());
    EXPECT_EQ(STATUS_OK, zero.getStatus());
    const ScopedAStatus unknown(AStatus_fromExceptionCodeWithMessage(-1000, "no"));
    EXPECT_EQ("Status(-129, EX_TRANSACTION_FAILED): 'OK: no'", unknown.getDescription());
    const ScopedAStatus transport(AStatus_fromStatus(-12345));
    EXPECT_EQ(STATUS_UNKNOWN_ERROR, transport.getStatus());
    EXPECT_EQ(0, transport.getServiceSpecificError());
}

TEST(AidlHandle, SharesTakesOrDuplicatesDescriptors) {
    native_handle_t* const raw = zelkcam::test::newHandle(1, {7, -8});
    const int fd = raw->data[0];
    AidlHandle copy = android::dupToAidl(raw);
    EXPECT_NE(fd, copy.fds.at(0).get());
    EXPECT_NE(0, fcntl(copy.fds[0].get(), F_GETFD) & FD_CLOEXEC);
    {
        const AidlHandle owner = android::makeToAidl(raw);
        EXPECT_EQ(fd, owner.fds.at(0).get());
        native_handle_t* const shared = android::makeFromAidl(owner);
        EXPECT_EQ(fd, shared->data[0]);
        EXPECT_EQ(-8, shared->data[2]);
        native_handle_delete(shared);
        const zelkcam::test::OwnedHandle duplicate(android::dupFromAidl(owner));
        EXPECT_NE(fd, duplicate->data[0]);
    }
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));  // the record owned it
    native_handle_delete(raw);
    copy.ints.resize(NATIVE_HANDLE_MAX_INTS + 1);
    EXPECT_EQ(nullptr, android::makeFromAidl(copy));
}

}  // namespace
