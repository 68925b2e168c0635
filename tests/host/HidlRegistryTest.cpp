// How HIDL services are registered and found, with an embedded default of the test's own.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/hidl_gralloc/embedded_services.h"
#include "tests/host/RecordingMapper.h"

namespace {

std::atomic<int> embeddedMade = 0;

}  // namespace

// Takes the place of the host platform's own.
android::sp<recording::IBase> zelkcam::host::embeddedHidlService(const std::string& descriptor,
                                                                 const std::string& instance) {
    if (descriptor != recording::IMapper::descriptor || instance.rfind("embedded", 0) != 0) {
        return nullptr;
    }
    ++embeddedMade;
    return new recording::RecordingMapper;
}

namespace {

using namespace recording;
using android::hardware::Status;
using android::hidl::manager::V1_0::IServiceNotification;

TEST(HidlRegistry, AnswersNullForWhatIsNotThere) {
    EXPECT_EQ(IMapper::getService("absent"), nullptr);
    EXPECT_EQ(IMapper::tryGetService("absent"), nullptr);
    EXPECT_EQ(IMapper::getService(static_cast<const char*>(nullptr)), nullptr);
    EXPECT_EQ(IAllocator::getService(), nullptr);
}

TEST(HidlRegistry, FindsOneObjectThroughEveryOverload) {
    const sp<IMapper> mapper = new RecordingMapper;
    ASSERT_EQ(mapper->registerAsService(), android::OK);
    EXPECT_EQ(IMapper::getService(), mapper);
    EXPECT_EQ(IMapper::getService(true), mapper);
    EXPECT_EQ(IMapper::getService("default", true), mapper);
    EXPECT_EQ(IMapper::getService(std::string("default")), mapper);
    EXPECT_EQ(IMapper::getService(hidl_string("default")), mapper);
    EXPECT_EQ(IMapper::tryGetService(), mapper);
    EXPECT_EQ(IMapper::tryGetService(true), mapper);
    EXPECT_EQ(IMapper::tryGetService(hidl_string("default")), mapper);
    EXPECT_EQ(IAllocator::getService(), nullptr) << "the same name of another interface";
}

TEST(HidlRegistry, KeepsWhatIsRegisteredAndReplacesIt) {
    sp<RecordingMapper> first = new RecordingMapper;
    ASSERT_EQ(first->registerAsService("replaced"), android::OK);
    const android::wp<IMapper> kept(first);
    first.clear();
    EXPECT_NE(kept.promote(), nullptr);
    const sp<RecordingMapper> second = new RecordingMapper;
    second->remote = true;
    ASSERT_EQ(second->registerAsService("replaced"), android::OK);
    EXPECT_EQ(kept.promote(), nullptr);
    EXPECT_EQ(IMapper::getService("replaced"), second);
    EXPECT_TRUE(IMapper::getService("replaced")->isRemote()) << "the object's own answer";
}

TEST(HidlRegistry, RefusesWhatItCannotFile) {
    const sp<RecordingMapper> mapper = new RecordingMapper;
    EXPECT_EQ(mapper->registerAsService(""), android::UNKNOWN_ERROR);
    mapper->chainStatus = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EQ(mapper->registerAsService("chainless"), android::UNKNOWN_ERROR);
    EXPECT_EQ(IMapper::getService("chainless"), nullptr);
}

TEST(HidlRegistry, EmbeddedDefaultAnswersUntilSomethingIsRegistered) {
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    EXPECT_EQ(IMapper::getService("embedded"), nullptr);
    EXPECT_EQ(embeddedMade, 0);
    unsetenv("ZELKCAM_HOST_SERVICES");

    const sp<IMapper> embedded = IMapper::getService("embedded");
    ASSERT_NE(embedded, nullptr);
    EXPECT_EQ(IMapper::tryGetService("embedded"), embedded);
    EXPECT_EQ(embeddedMade, 1) << "remembered";
    const sp<IMapper> registered = new RecordingMapper;
    ASSERT_EQ(registered->registerAsService("embedded"), android::OK);
    EXPECT_EQ(IMapper::getService("embedded"), registered);
}

TEST(HidlRegistry, ThreadsAgreeOnTheEmbeddedDefault) {
    sp<IMapper> found[8];
    std::vector<std::thread> threads;
    for (sp<IMapper>& each : found) {
        threads.emplace_back([&each] { each = IMapper::getService("embedded-raced"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const sp<IMapper>& each : found) {
        EXPECT_NE(each, nullptr);
        EXPECT_EQ(each, found[0]);
    }
}

TEST(HidlRegistry, CastsByTheInterfaceChain) {
    const sp<RecordingMapper> mapper = new RecordingMapper;
    const sp<IBase> base = mapper;
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(base)), mapper);
    EXPECT_EQ(sp<IAllocator>(IAllocator::castFrom(base)), nullptr);
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(sp<IBase>())), nullptr);

    mapper->chainStatus = Status::fromStatusT(android::DEAD_OBJECT);
    EXPECT_EQ(sp<IMapper>(IMapper::castFrom(base)), nullptr);
    EXPECT_TRUE(IMapper::castFrom(base, true).isDeadObject());
}

TEST(HidlRegistry, LocalObjectsAnswerTheBaseOperations) {
    const sp<RecordingMapper> mapper = new RecordingMapper;
    std::vector<std::string> chain;
    mapper->interfaceChain([&](const Texts& texts) { chain.assign(texts.begin(), texts.end()); });
    EXPECT_EQ(chain, (std::vector<std::string>{"android.hardware.graphics.mapper@4.0::IMapper",
                                               "android.hidl.base@1.0::IBase"}));
    mapper->IMapper::interfaceDescriptor(
            [](const hidl_string& text) { EXPECT_EQ(text, IMapper::descriptor); });
    size_t hashes = 0;
    mapper->IMapper::getHashChain(
            [&](const hidl_vec<hidl_array<uint8_t, 32>>& all) { hashes = all.size(); });
    EXPECT_EQ(hashes, chain.size());
    EXPECT_FALSE(mapper->IMapper::linkToDeath(nullptr, 0));
    EXPECT_FALSE(mapper->IMapper::isRemote());
}

// Writes down what it is told, and looks the service up again as a client would.
class Listener : public IServiceNotification {
  public:
    Return<void> onRegistration(const hidl_string& descriptor, const hidl_string& name,
                                bool preexisting) override {
        EXPECT_EQ(descriptor, IMapper::descriptor);
        EXPECT_NE(IMapper::getService(name), nullptr);
        told.insert(std::string(name) + (preexisting ? " was there" : " came"));
        return Void();
    }
    std::multiset<std::string> told;
};

TEST(HidlRegistry, NotifiesOfWhatIsThereAndOfWhatComes) {
    const sp<IMapper> mapper = new RecordingMapper;
    ASSERT_EQ(mapper->registerAsService("early"), android::OK);
    const sp<Listener> early = new Listener;
    ASSERT_TRUE(IMapper::registerForNotifications("early", early));
    const sp<Listener> late = new Listener;
    ASSERT_TRUE(IMapper::registerForNotifications("late", late));
    const sp<Listener> embedded = new Listener;
    ASSERT_TRUE(IMapper::registerForNotifications("embedded-told", embedded));
    const sp<Listener> all = new Listener;
    ASSERT_TRUE(IMapper::registerForNotifications("", all));
    ASSERT_EQ(mapper->registerAsService("late"), android::OK);

    using Told = std::multiset<std::string>;
    EXPECT_EQ(early->told, (Told{"early was there"}));
    EXPECT_EQ(late->told, (Told{"late came"}));
    EXPECT_EQ(embedded->told, (Told{"embedded-told was there"}));
    EXPECT_EQ(all->told.count("early was there"), 1u);
    EXPECT_EQ(all->told.count("late came"), 1u);
    EXPECT_FALSE(IMapper::registerForNotifications("late", nullptr));
}

}  // namespace
