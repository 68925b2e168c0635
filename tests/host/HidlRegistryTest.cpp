// How HIDL services are registered and found, with a default of the test's own.
#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <hidl/LegacySupport.h>

#include "host/hidl/ServiceRegistry.h"
#include "host/hidl_gralloc/MapperService.h"
#include "platform/hidl.h"

namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::Return;
using android::hardware::Status;
using android::hardware::graphics::mapper::V4_0::IMapper;
using android::hidl::base::V1_0::IBase;
using HidlAllocator = android::hardware::graphics::allocator::V4_0::IAllocator;

// The host's own mapper, but for what it answers about itself.
class Mapper : public zelkcam::host::MapperService {
  public:
    // A service is released while the registry is free to answer.
    ~Mapper() override { IMapper::getService("replaced"); }
    Return<void> interfaceChain(interfaceChain_cb callback) override {
        return chainStatus.isOk() ? IMapper::interfaceChain(callback) : Return<void>(chainStatus);
    }

    Status chainStatus;
};

// Replaces the host platform's own.
sp<IBase> makeDefault(const std::string& descriptor, const std::string& name) {
    if (descriptor != IMapper::descriptor || name.rfind("built-in", 0) != 0) {
        return nullptr;
    }
    return new Mapper;
}

const bool isDefaultSet = (zelkcam::host::setDefaultHidlServices(makeDefault), true);

TEST(HidlRegistry, FindsOneObjectThroughEveryOverload) {
    const sp<IMapper> mapper = new Mapper;
    ASSERT_EQ(mapper->registerAsService(), android::OK);
    const sp<IMapper> found[] = {
            IMapper::getService(), IMapper::getService("default", true), IMapper::tryGetService(),
            IMapper::getService(hidl_string("default")), IMapper::getService(true)};
    for (const sp<IMapper>& each : found) {
        EXPECT_EQ(each, mapper);
    }
    EXPECT_EQ(IMapper::getService("absent"), nullptr);
    EXPECT_EQ(IMapper::getService(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(HidlAllocator::getService(), nullptr) << "the same name of another interface";
    const sp<IBase> raw = android::hardware::details::getRawServiceInternal(
            IMapper::descriptor, "default", false, false);
    EXPECT_TRUE(android::hardware::interfacesEqual(raw, mapper));
    EXPECT_EQ(android::hardware::details::getDescriptor(raw.get()), IMapper::descriptor);
    EXPECT_EQ(android::hardware::getAllHalInstanceNames(HidlAllocator::descriptor).size(), 0u);
    EXPECT_EQ(android::hardware::getAllHalInstanceNames(IMapper::descriptor).front(), "default");
    EXPECT_NE(android::hardware::registerPassthroughServiceImplementation<IMapper>(), android::OK);
}

TEST(HidlRegistry, KeepsWhatIsRegisteredAndReplacesIt) {
    sp<Mapper> first = new Mapper;
    ASSERT_EQ(first->registerAsService("replaced"), android::OK);
    const android::wp<IMapper> kept(first);
    first.clear();
    EXPECT_NE(kept.promote(), nullptr);
    const sp<Mapper> second = new Mapper;
    ASSERT_EQ(second->registerAsService("replaced"), android::OK);
    EXPECT_EQ(kept.promote(), nullptr);
    EXPECT_EQ(IMapper::getService("replaced"), second);
}

TEST(HidlTransport, RemembersWhatIsSetForOneService) {
    namespace hardware = android::hardware;
    const sp<IBase> service = new Mapper;
    EXPECT_TRUE(hardware::setMinSchedulerPolicy(service, SCHED_FIFO, 99));
    EXPECT_FALSE(hardware::setMinSchedulerPolicy(service, SCHED_FIFO, 100));
    EXPECT_FALSE(hardware::setMinSchedulerPolicy(service, SCHED_OTHER, -21));
    EXPECT_EQ(hardware::getMinSchedulerPolicy(service).prio, 99);
    EXPECT_EQ(hardware::getMinSchedulerPolicy(new Mapper).prio, 0);
    EXPECT_TRUE(hardware::setRequestingSid(service, true));
    EXPECT_TRUE(hardware::getRequestingSid(service));
}

// Notes what it is told.
struct Listener : android::hidl::manager::V1_0::IServiceNotification {
    Return<void> onRegistration(const hidl_string&, const hidl_string& name,
                                bool preexisting) override {
        told.push_back((preexisting ? "was there: " : "came: ") + std::string(name));
        return android::hardware::Void();
    }

    std::vector<std::string> told;
};

TEST(HidlRegistry, TellsWhoListensWhatIsThereAndWhatComes) {
    const sp<Mapper> mapper = new Mapper;
    ASSERT_EQ(mapper->registerAsService("heard"), android::OK);
    const sp<Listener> one = new Listener;
    const sp<Listener> all = new Listener;
    ASSERT_TRUE(IMapper::registerForNotifications("heard", one));
    ASSERT_TRUE(IMapper::registerForNotifications("", all));
    const std::vector<std::string> before = all->told;
    EXPECT_EQ(std::count(before.begin(), before.end(), "was there: heard"), 1);
    ASSERT_EQ(mapper->registerAsService("unheard"), android::OK);
    ASSERT_EQ(mapper->registerAsService("heard"), android::OK);
    EXPECT_EQ(one->told, (std::vector<std::string>{"was there: heard", "came: heard"}));
    EXPECT_EQ(all->told.size(), before.size() + 2);
}

TEST(HidlRegistry, ThreadsAgreeOnTheDefaultUntilSomethingIsRegistered) {
    sp<IMapper> found[8];
    {
        std::vector<std::jthread> threads;
        for (sp<IMapper>& each : found) {
            threads.emplace_back([&each] { each = IMapper::getService("built-in-raced"); });
        }
    }
    for (const sp<IMapper>& each : found) {
        EXPECT_NE(each, nullptr);
        EXPECT_EQ(each, found[0]);
    }
    const sp<IMapper> registered = new Mapper;
    ASSERT_EQ(registered->registerAsService("built-in-raced"), android::OK);
    EXPECT_EQ(IMapper::getService("built-in-raced"), registered);
}

TEST(HidlRegistry, CastsByTheInterfaceChain) {
    const sp<Mapper> mapper = new Mapper;
    const sp<IBase> base = mapper;
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(base)), mapper);
    EXPECT_EQ(sp<HidlAllocator>(HidlAllocator::castFrom(base)), nullptr);
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(sp<IBase>())), nullptr);
    std::vector<std::string> chain;
    mapper->interfaceChain([&](const auto& texts) { chain.assign(texts.begin(), texts.end()); });
    EXPECT_EQ(chain, (std::vector<std::string>{"android.hardware.graphics.mapper@4.0::IMapper",
                                               "android.hidl.base@1.0::IBase"}));

    mapper->chainStatus = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(base)), nullptr);
    const Return<sp<IMapper>> cast = IMapper::castFrom(base, true);
    EXPECT_FALSE(cast.isOk());
    EXPECT_TRUE(cast.isDeadObject());
}

}  // namespace
