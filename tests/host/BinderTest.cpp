// Binders of one process: who owns what, and what the service manager gives.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <aidl/android/hardware/graphics/allocator/BnAllocator.h>
#include <aidlcommonsupport/NativeHandle.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

namespace {

using aidl::android::hardware::graphics::allocator::AllocationResult;
using aidl::android::hardware::graphics::allocator::BnAllocator;
using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::allocator::IAllocator;
using AidlHandle = aidl::android::hardware::common::NativeHandle;
using ndk::ScopedAStatus;
using ndk::SharedRefBase;
using ndk::SpAIBinder;

std::atomic<int> gLiving = 0;

class Service : public BnAllocator {
  public:
    Service() { ++gLiving; }
    ~Service() override { --gLiving; }
    ScopedAStatus allocate(const std::vector<uint8_t>&, int32_t, AllocationResult*) override {
        return ScopedAStatus::ok();
    }
    ScopedAStatus allocate2(const BufferDescriptorInfo&, int32_t, AllocationResult*) override {
        return ScopedAStatus::ok();
    }
    ScopedAStatus isSupported(const BufferDescriptorInfo&, bool*) override {
        return ScopedAStatus::fromServiceSpecificError(0);
    }
    ScopedAStatus getIMapperLibrarySuffix(std::string* suffix) override {
        *suffix = "test";
        return ScopedAStatus::ok();
    }
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

TEST(ServiceManager, HoldsAReferenceOfItsOwnAndGivesOneAway) {
    const std::string name = nameOf("references");
    EXPECT_EQ(nullptr, AServiceManager_checkService(name.c_str()));
    const SpAIBinder binder = SharedRefBase::make<Service>()->asBinder();
    EXPECT_EQ(1, references(binder));
    add(name, binder);
    EXPECT_EQ(2, references(binder));
    AIBinder* const owned = AServiceManager_checkService(name.c_str());
    EXPECT_EQ(binder.get(), owned);
    EXPECT_EQ(3, references(binder));
    AIBinder_decStrong(owned);
    EXPECT_EQ(2, references(binder));
}

TEST(ServiceManager, ANewRegistrationReplacesTheOldOne) {
    const std::string name = nameOf("replaced");
    add(name, SharedRefBase::make<Service>()->asBinder());
    EXPECT_EQ(1, gLiving);
    const SpAIBinder second = SharedRefBase::make<Service>()->asBinder();
    add(name, second);
    EXPECT_EQ(1, gLiving);
    add(name, second);  // the same once more is no loss
    EXPECT_EQ(second, SpAIBinder(AServiceManager_checkService(name.c_str())));
    EXPECT_EQ(2, references(second));
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

TEST(ServiceManager, TheEmbeddedAllocatorAnswersUntilItIsSwitchedOffOrReplaced) {
    const std::string name = nameOf("default");
    const SpAIBinder embedded(AServiceManager_checkService(name.c_str()));
    ASSERT_NE(nullptr, IAllocator::fromBinder(embedded));
    EXPECT_EQ(embedded, SpAIBinder(AServiceManager_checkService(name.c_str())));
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    EXPECT_EQ(nullptr, AServiceManager_checkService(name.c_str()));
    unsetenv("ZELKCAM_HOST_SERVICES");
    const SpAIBinder ours = SharedRefBase::make<Service>()->asBinder();
    add(name, ours);
    EXPECT_EQ(ours, SpAIBinder(AServiceManager_checkService(name.c_str())));
}

TEST(ServiceManager, ManyThreadsMayAddAndCheck) {
    const std::string name = nameOf("busy");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round) {
                add(name, SharedRefBase::make<Service>()->asBinder());
                const SpAIBinder binder(AServiceManager_checkService(name.c_str()));
                EXPECT_NE(nullptr, IAllocator::fromBinder(binder));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(1, gLiving);
}

TEST(LocalInterface, IsTheVeryObjectAndItsCallsRunInPlace) {
    const std::shared_ptr<Service> service = SharedRefBase::make<Service>();
    const std::shared_ptr<IAllocator> found = IAllocator::fromBinder(service->asBinder());
    EXPECT_EQ(service.get(), found.get());
    EXPECT_FALSE(found->isRemote());
    std::string suffix;
    EXPECT_TRUE(found->getIMapperLibrarySuffix(&suffix).isOk());
    EXPECT_EQ("test", suffix);
    bool supported = true;
    EXPECT_FALSE(found->isSupported({}, &supported).isOk());
    EXPECT_EQ(nullptr, IAllocator::fromBinder(nullptr));
}

TEST(LocalInterface, LivesAsLongAsItsBinderAndNoLonger) {
    std::shared_ptr<Service> service = SharedRefBase::make<Service>();
    SpAIBinder binder = service->asBinder();
    EXPECT_EQ(binder, service->asBinder());
    const ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(binder.get()));
    service.reset();
    EXPECT_EQ(1, gLiving);
    EXPECT_EQ(binder, weak.promote());
    service = std::static_pointer_cast<Service>(IAllocator::fromBinder(binder));
    binder.set(nullptr);
    EXPECT_EQ(nullptr, weak.promote());
    EXPECT_EQ(1, references(service->asBinder()));  // a new one, gone with the statement
    service.reset();
    EXPECT_EQ(0, gLiving);
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

TEST(Status, TellsWhatItWasMadeFrom) {
    struct Case {
        AStatus* status;
        binder_exception_t exception;
        int32_t serviceSpecific;
        binder_status_t transport;
        const char* description;
    };
    const Case cases[] = {
            {AStatus_newOk(), EX_NONE, 0, 0, "No error"},
            {AStatus_fromStatus(STATUS_OK), EX_NONE, 0, 0, "No error"},
            {AStatus_fromExceptionCodeWithMessage(EX_SECURITY, "no"), EX_SECURITY, 0, 0,
             "Status(-1, EX_SECURITY): 'no'"},
            {AStatus_fromExceptionCode(-1000), EX_TRANSACTION_FAILED, 0, 0,
             "Status(-129, EX_TRANSACTION_FAILED): 'OK: '"},
            {AStatus_fromServiceSpecificError(0), EX_SERVICE_SPECIFIC, 0, 0,
             "Status(-8, EX_SERVICE_SPECIFIC): '0: '"},
            {AStatus_fromServiceSpecificErrorWithMessage(2, "full"), EX_SERVICE_SPECIFIC, 2, 0,
             "Status(-8, EX_SERVICE_SPECIFIC): '2: full'"},
            {AStatus_fromStatus(STATUS_DEAD_OBJECT), EX_TRANSACTION_FAILED, 0, STATUS_DEAD_OBJECT,
             "Status(-129, EX_TRANSACTION_FAILED): 'DEAD_OBJECT: '"},
            {AStatus_fromStatus(-12345), EX_TRANSACTION_FAILED, 0, STATUS_UNKNOWN_ERROR,
             "Status(-129, EX_TRANSACTION_FAILED): 'UNKNOWN_ERROR: '"},
    };
    for (const Case& c : cases) {
        const ScopedAStatus status(c.status);
        EXPECT_EQ(c.exception == EX_NONE, status.isOk()) << c.description;
        EXPECT_EQ(c.exception, status.getExceptionCode()) << c.description;
        EXPECT_EQ(c.serviceSpecific, status.getServiceSpecificError()) << c.description;
        EXPECT_EQ(c.transport, status.getStatus()) << c.description;
        EXPECT_EQ(c.description, status.getDescription());
    }
    EXPECT_FALSE(ScopedAStatus().isOk());
}

TEST(AidlHandle, SharesTakesOrDuplicatesDescriptors) {
    native_handle_t* const raw = native_handle_create(1, 2);
    raw->data[0] = open("/dev/null", O_RDONLY);
    raw->data[1] = 7;
    raw->data[2] = -8;
    const int fd = raw->data[0];
    AidlHandle copy = android::dupToAidl(raw);
    EXPECT_NE(fd, copy.fds.at(0).get());
    EXPECT_NE(0, fcntl(copy.fds[0].get(), F_GETFD) & FD_CLOEXEC);
    {
        const AidlHandle owner = android::makeToAidl(raw);
        EXPECT_EQ(fd, owner.fds.at(0).get());
        EXPECT_EQ((std::vector<int32_t>{7, -8}), owner.ints);
        native_handle_t* const shared = android::makeFromAidl(owner);
        EXPECT_EQ(fd, shared->data[0]);
        EXPECT_EQ(-8, shared->data[2]);
        native_handle_delete(shared);
        native_handle_t* const duplicate = android::dupFromAidl(owner);
        EXPECT_NE(fd, duplicate->data[0]);
        EXPECT_EQ(7, duplicate->data[1]);
        native_handle_close(duplicate);
        native_handle_delete(duplicate);
        EXPECT_EQ(0, fcntl(fd, F_GETFD) & ~FD_CLOEXEC);
    }
    EXPECT_EQ(-1, fcntl(fd, F_GETFD));  // the record owned it
    native_handle_delete(raw);
    copy.ints.resize(NATIVE_HANDLE_MAX_INTS + 1);
    EXPECT_EQ(nullptr, android::makeFromAidl(copy));
    EXPECT_EQ(nullptr, android::dupFromAidl(copy));
}

}  // namespace
