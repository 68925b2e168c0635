// Start-up, exit and the binary interface. Each case runs in a process of its own: its own helper.
#include <barrier>
#include <thread>

#include "tests/gralloc_helper/HelperTest.h"

namespace zelkcam::test {

namespace {

using NSCam::IGrallocHelper;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using zcam::GrallocStaticInfo;
using zcam::IGrallocInfoProvider;

static_assert(sizeof(zcam::GrallocRequest) == 16 && offsetof(zcam::GrallocRequest, format) == 4 &&
              offsetof(zcam::GrallocRequest, widthInPixels) == 8 &&
              offsetof(zcam::GrallocRequest, heightInPixels) == 12);
static_assert(offsetof(GrallocStaticInfo, widthInPixels) == 4 &&
              offsetof(GrallocStaticInfo, heightInPixels) == 8 &&
              offsetof(GrallocStaticInfo, planes) == 16);
static_assert(sizeof(GrallocStaticInfo::Plane) == 16 &&
              offsetof(GrallocStaticInfo::Plane, rowStrideInBytes) == 8);

class StartupTest : public DoublesTest {
  protected:
    void SetUp() override {
        DoublesTest::SetUp();
        if (journal().calls("property_get_int32") != 0)
            GTEST_SKIP() << "needs a process of its own: run it with ctest";
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        setLog(kDebugLog);
    }

    // A device without the service.
    static void dropServices() { setenv("ZELKCAM_HOST_SERVICES", "none", 1); }
};

TEST_F(StartupTest, TheHelperReadsItsPropertiesAndBuildsBothBackends) {
    registerScriptedAllocator();
    EXPECT_NE(IGrallocHelper::singleton(), nullptr);
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
    std::barrier start(8);
    std::vector<IGrallocInfoProvider*> seen(8);
    std::vector<std::jthread> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            seen[i] = i % 2 ? IGrallocInfoProvider::getInstance() : IGrallocHelper::singleton();
        });
    threads.clear();
    for (const auto* provider : seen)
        EXPECT_EQ(static_cast<const void*>(provider), IGrallocHelper::singleton());
    EXPECT_EQ(journal().calls("AIMapper_loadIMapper"), 1) << "built once";
}

TEST_F(StartupTest, TheProviderAccessorMayComeFirst) {
    registerScriptedAllocator();
    const void* const provider = IGrallocInfoProvider::getInstance();
    EXPECT_EQ(provider, IGrallocHelper::singleton());
}

TEST_F(StartupTest, AMissingServiceIsToldInTwoLinesAndLeavesAUsableHelper) {
    dropServices();
    setLog({});
    IGrallocHelper* const helper = IGrallocHelper::singleton();
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocAllocatorAidlV2 [createInstance] gralloc-alloc is missing ",
                            "E GrallocHelper [initialize] Failed to create allocator instance",
                            "E GrallocHelper [GrallocHelperImp] GrallocHelperImp initialize fail"));

    GrallocStaticInfo info;
    const zcam::GrallocRequest request = {.format = 1, .widthInPixels = 4, .heightInPixels = 4};
    EXPECT_EQ(helper->query(&request, &info, false), -12);
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("[determine] Bad allcation handle:")));
    const OneFdHandle raw;
    const native_handle* reference = &raw.header;
    EXPECT_EQ(helper->importBuffer(reference), 0);
    EXPECT_EQ(reference, &raw.header);
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("[importBuffer] importBuffer(0x")));
    void* address = nullptr;
    EXPECT_EQ(helper->lock(reference, 3, 4, 4, &address), 5);
    EXPECT_EQ(helper->freeBuffer(reference), 5);
    EXPECT_EQ(helper->unlock(reference), 0);
    EXPECT_EQ(helper->setDirtyCamera(reference), 0);
    helper->dumpToLog();
    helper->clearMap();
    takeLog();

    // What needs no backend still answers, and nothing is tried a second time.
    describeBuffers({.format = 1, .width = 4, .height = 4, .stride = 4});
    EXPECT_EQ(helper->query(reference, &info, nullptr), 0);
    EXPECT_EQ(IGrallocInfoProvider::getInstance(), helper);
    EXPECT_EQ(journal().calls("property_get_int32"), 2);
    describeBuffers({.format = 0x11, .width = 4, .height = 4});
    EXPECT_FATAL(helper->query(reference, &info, nullptr),
                 HasSubstr("[Fatal] [gQueryYCbCr] status:-5(Unknown error -5)"));
}

TEST_F(StartupTest, TheHelperIsDestroyedAtExit) {
    registerScriptedAllocator();
    EXPECT_EXIT(
            {
                setLog(kDebugLog);
                IGrallocHelper::singleton();
                echoLog();
                exit(0);
            },
            testing::ExitedWithCode(0),
            testing::ContainsRegex(
                    "\\[~GrallocHelperImp\\] \\+\n.*\n?.*\\[~GrallocHelperImp\\] -"));
}

struct LoaderFault {
    const char* name;
    void (*arrange)();
    const char* message;
};

void PrintTo(const LoaderFault& fault, std::ostream* out) {
    *out << fault.name;
}

class LoaderTest : public StartupTest, public testing::WithParamInterface<LoaderFault> {};

constexpr LoaderFault kLoaderFaults[] = {
        {"SuffixRefused",
         [] {
             allocatorScript().suffixStatus = [] {
                 return ndk::ScopedAStatus::fromServiceSpecificError(0);
             };
         },
         "getIMapperLibrarySuffix fail"},
        {"SuffixStatusNull",
         [] { allocatorScript().suffixStatus = [] { return ndk::ScopedAStatus(); }; },
         "getIMapperLibrarySuffix fail"},
        {"LibraryMissing", [] { allocatorScript().suffix = "absent"; },
         "android_load_sphal_library fail"},
        {"EntryMissing", [] { allocatorScript().suffix = "empty"; },
         "AIMapper_loadIMapper missing"},
        {"EntryGivesNothing", [] { mapperScript().entryGivesNull = true; },
         "AIMapper_loadIMapper fail"},
};

INSTANTIATE_TEST_SUITE_P(Faults, LoaderTest, testing::ValuesIn(kLoaderFaults),
                         [](const auto& fault) { return std::string(fault.param.name); });

// Unlike other fatal lines: the switchboard is written and flushed, and nobody is asked.
TEST_P(LoaderTest, ABrokenMapperEndsTheProcessWithTheStepThatFailed) {
    registerScriptedAllocator();
    GetParam().arrange();
    const std::string text = std::string("[MapperV5] ") + GetParam().message;
    const std::string assertion =
            "assert(null) ZelkCam/GrallocMapperAidlV2 " + text + " (MapperV5){#";
    const std::string board = "switchboard 1 ZelkCam/GrallocMapperAidlV2 " + text + "\nflush 1\n";
    EXPECT_FATAL(
            {
                setLog({.mode = 8});
                IGrallocHelper::singleton();
            },
            AllOf(HasSubstr(board + assertion), HasSubstr(":utils/gralloc/aidl/v2/mapper/mapper}"),
                  Not(HasSubstr("[Fatal]")), Not(HasSubstr("testLog"))));
    EXPECT_FATAL(
            {
                setLog({.mode = 1});
                IGrallocHelper::singleton();
            },
            AllOf(HasSubstr(assertion), Not(HasSubstr("switchboard")), Not(HasSubstr("flush 1"))));
}

// Clients call through these slots, whatever the headers say.
class SlotTest : public HelperTest {
  protected:
    template <typename Result, typename... Arguments>
    Result call(size_t slot, Arguments... arguments) {
        using Function = Result (*)(void*, Arguments...);
        return reinterpret_cast<Function>((*reinterpret_cast<void***>(helper))[slot])(helper,
                                                                                      arguments...);
    }
    std::string named(size_t slot, int code) { return call<android::String8>(slot, code).c_str(); }
};

TEST_F(SlotTest, TheVirtualSlotsAreInOrder) {
    using Handle = const native_handle*;
    zcam::GrallocRequest* const noRequest = nullptr;
    GrallocStaticInfo* const noInfo = nullptr;
    EXPECT_EQ(call<int>(2, noRequest, noInfo, false), -22);
    EXPECT_EQ(call<int>(3, Handle(), noInfo, noInfo), -22);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocHelper [query] NULL pRequest",
                                       "E GrallocHelper [query] NULL buffer_handle_t"));
    EXPECT_EQ(call<int>(4, handle), 0);
    EXPECT_EQ(plexaScript().status, 0xc03u);
    EXPECT_EQ(call<int>(5, handle), 0);
    EXPECT_EQ(plexaScript().status, 0x40000c03u);
    EXPECT_EQ(call<int>(6, handle, 99ul), 0);
    EXPECT_EQ(plexaScript().startOfFrame, 99u);
    EXPECT_EQ(named(7, 0x1000), "NV12");
    EXPECT_EQ(named(8, 0x1000), "0|HW_FB");
    EXPECT_EQ(named(9, 0x1000), "DEPTH");
    setLog(kDebugLog);
    call<void>(10);
    EXPECT_EQ(takeLog().size(), 2u);
    Handle reference = handle;
    EXPECT_EQ(call<int>(11, &reference), 1);
    EXPECT_EQ(call<int>(12, reference), 0);
    void* address = nullptr;
    EXPECT_EQ(call<int>(13, handle, 3u, 4, 2, &address), 0);
    EXPECT_EQ(journal().times("lock usage=3 rect=0,0,4,2 fence=-1"), 1u);
    EXPECT_EQ(call<int>(14, handle), 0);
    EXPECT_EQ(journal().times("unlock"), 1u);
    EXPECT_EQ(call<int>(15, handle, -1, 5), 0);
    EXPECT_EQ(plexaScript().status, 5u);
    call<void>(16);
    EXPECT_THAT(takeLog(), ElementsAre("I GrallocHelper [clearMap] Clear the stream info map"));
}

}  // namespace

}  // namespace zelkcam::test
