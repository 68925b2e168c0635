// Start-up and exit. Each case runs in a process of its own, and so has a helper of its own.
#include <future>

#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using NSCam::IGrallocHelper;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using zcam::IGrallocInfoProvider;

class StartupTest : public ScriptedTest {
  protected:
    void SetUp() override {
        if (journal().calls("property_get_int32") != 0) {
            GTEST_SKIP() << "needs a process of its own: run it with ctest";
        }
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }

    // A device without the service.
    static void dropServices() { setenv("ZELKCAM_HOST_SERVICES", "none", 1); }
};

TEST_F(StartupTest, TheHelperReadsItsPropertiesAndBuildsBothBackends) {
    registerScriptedAllocator();
    setLog(kDebugLog);
    IGrallocHelper::singleton();
    EXPECT_THAT(
            takeLog(),
            ElementsAre("D GrallocHelper [GrallocHelperImp] +", "D GrallocHelper [initialize] +",
                        "D GrallocHelper [initialize] -", "D GrallocHelper [GrallocHelperImp] -"));
    EXPECT_THAT(journal().take(),
                ElementsAre("property_get_int32 vendor.debug.camera.log",
                            "property_get_int32 debug.zelkcam.utils.gralloc.loglevel",
                            "getIMapperLibrarySuffix", "AIMapper_loadIMapper",
                            "property_get_int32 debug.zelkcam.utils.gralloc.loglevel"));
}

TEST_F(StartupTest, TheSecondLogLevelIsReadOnlyWhenTheFirstIsZero) {
    dropServices();
    platformScript().properties["vendor.debug.camera.log"] = 3;
    IGrallocHelper::singleton();
    EXPECT_EQ(journal().calls("property_get_int32"), 1);
}

TEST_F(StartupTest, BothAccessorsAnswerOneObjectFromAnyThread) {
    registerScriptedAllocator();
    std::vector<std::future<IGrallocInfoProvider*>> seen;
    for (int i = 0; i < 8; ++i) {
        seen.push_back(std::async(std::launch::async, [i]() -> IGrallocInfoProvider* {
            return i % 2 ? IGrallocInfoProvider::getInstance() : IGrallocHelper::singleton();
        }));
    }
    for (auto& provider : seen) {
        EXPECT_EQ(provider.get(), IGrallocHelper::singleton());
    }
    EXPECT_EQ(journal().calls("AIMapper_loadIMapper"), 1) << "built once";
}

TEST_F(StartupTest, AMissingServiceIsToldInTwoLinesAndNotLookedForAgain) {
    dropServices();
    const void* const provider = IGrallocInfoProvider::getInstance();
    EXPECT_EQ(provider, IGrallocHelper::singleton());
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocAllocatorAidlV2 [createInstance] gralloc-alloc is missing ",
                            "E GrallocHelper [initialize] Failed to create allocator instance",
                            "E GrallocHelper [GrallocHelperImp] GrallocHelperImp initialize fail"));
}

TEST_F(StartupTest, WithoutBackendsOperationsFailAsAFailedPlatformCallDoes) {
    dropServices();
    IGrallocHelper* const helper = IGrallocHelper::singleton();
    takeLog();
    zcam::GrallocStaticInfo info;
    const zcam::GrallocRequest request = {0, 1, 4, 4};
    EXPECT_EQ(helper->query(&request, &info, false), -12);
    const OneFdHandle raw = {};
    const native_handle* handle = &raw.header;
    EXPECT_EQ(helper->importBuffer(handle), 0);
    EXPECT_EQ(handle, &raw.header);
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("[determine] Bad allcation handle:"),
                                       HasSubstr("[importBuffer] importBuffer(0x")));
    void* address = nullptr;
    EXPECT_EQ(helper->lock(handle, 3, 4, 4, &address), 5);
    EXPECT_EQ(helper->freeBuffer(handle), 5);
    EXPECT_EQ(helper->unlock(handle), 0);
    EXPECT_EQ(helper->setDirtyCamera(handle), 0);
    helper->dumpToLog();
    helper->clearMap();
    describeBuffers({.format = 1, .width = 4, .height = 4, .stride = 4});
    EXPECT_EQ(helper->query(handle, &info, nullptr), 0);
    describeBuffers({.format = 0x11, .width = 4, .height = 4});
    EXPECT_FATAL(helper->query(handle, &info, nullptr),
                 HasSubstr("[Fatal] [gQueryYCbCr] status:-5(Unknown error -5)"));
}

// Runs in the child of a death test, from a fresh start-up on.
void startWith(const LogSettings& settings) {
    setLog(settings);
    IGrallocHelper::singleton();
}

TEST_F(StartupTest, TheHelperIsDestroyedAtExit) {
    registerScriptedAllocator();
    EXPECT_EXIT(
            {
                echoLog();
                startWith({.details = 5, .mode = 1});
                exit(0);
            },
            testing::ExitedWithCode(0),
            HasSubstr("[~GrallocHelperImp] +\nandroid 3 ZelkCam/GrallocHelper "
                      "[~GrallocHelperImp] -"));
}

// Unlike other fatal lines: the switchboard is written and flushed, and nobody is asked.
TEST_F(StartupTest, ABrokenMapperEndsTheProcessWithTheStepThatFailed) {
    const struct {
        const char* message;
        const char* suffix;
        std::function<ndk::ScopedAStatus()> suffixStatus = {};
        bool entryGivesNull = false;
    } faults[] = {
            {"getIMapperLibrarySuffix fail", "scripted",
             [] { return ndk::ScopedAStatus::fromServiceSpecificError(0); }},
            {"android_load_sphal_library fail", "absent"},
            {"AIMapper_loadIMapper missing", "empty"},
            {"AIMapper_loadIMapper fail", "scripted", {}, true},
    };
    const std::string start = " ZelkCam/GrallocMapperAidlV2 [MapperV5] ";
    registerScriptedAllocator();
    for (const auto& fault : faults) {
        allocatorScript().suffix = fault.suffix;
        allocatorScript().suffixStatus = fault.suffixStatus;
        mapperScript().entryGivesNull = fault.entryGivesNull;
        EXPECT_FATAL(startWith({.mode = 8}),
                     AllOf(HasSubstr("switchboard 1" + start + fault.message +
                                     "\nflush 1\nassert(null)" + start + fault.message +
                                     " (MapperV5){#"),
                           HasSubstr(":utils/gralloc/aidl/v2/mapper/mapper}"),
                           Not(HasSubstr("[Fatal]")), Not(HasSubstr("testLog"))));
    }
    for (const LogSettings& settings : {LogSettings{.mode = 8, .object = false}, {.mode = 1}}) {
        EXPECT_FATAL(startWith(settings),
                     AllOf(HasSubstr("assert(null)" + start), Not(HasSubstr("switchboard")),
                           Not(HasSubstr("flush 1"))));
    }
}

}  // namespace

}  // namespace zelkcam::test
