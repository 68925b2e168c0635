// What the AIDL allocator backend alone has: flushes, statuses, and the look for its service.
#include "tests/support/Fixtures.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::test {

namespace {

using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AllocatorAidlTest : public ScriptedTest {
  protected:
    AllocatorAidlTest() { forget(); }

    int32_t allocate(uint32_t count) { return allocator.allocate({}, count, &stride, handles); }

    const NSCam::GrallocMapperAidlV2::MapperV5 mapper{scriptedAllocator()};
    const AllocatorAidl allocator{scriptedAllocator(), mapper};
    uint32_t stride = 7;
    const native_handle* handles[2] = {};
};

TEST_F(AllocatorAidlTest, EveryCallIsFollowedByItsFlush) {
    mapperScript().importResults = {0, 5};
    EXPECT_EQ(allocate(2), 2);
    EXPECT_THAT(journal().take(),
                ElementsAre("allocate2", "flush", "importBuffer", "flush", "flush", "importBuffer",
                            "flush", "flush", "freeBuffer", "flush", "flush"));
}

TEST_F(AllocatorAidlTest, NoStatusIsSuccessButOk) {
    const std::function<ndk::ScopedAStatus()> statuses[] = {
            [] { return ndk::ScopedAStatus::fromServiceSpecificError(0); },
            [] { return ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT); },
            [] { return ndk::ScopedAStatus(); },
    };
    for (const auto& status : statuses) {
        allocatorScript().allocateStatus = status;
        EXPECT_EQ(allocate(2), 5);
        EXPECT_THAT(journal().take(), ElementsAre("allocate2", "flush"));
    }
}

TEST_F(AllocatorAidlTest, AMissingThreadStateIsLoggedUnderTheCallersTag) {
    platformScript().hasThreadState = false;
    allocator.ipcFlushCommands();
    EXPECT_EQ(mapper.freeBuffer(handles[0]), 0);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocAllocatorAidlV2 [ipcFlushCommands] get "
                                       "IPCThreadState singleton failed",
                                       "E GrallocMapperAidlV2 [ipcFlushCommands] get "
                                       "IPCThreadState singleton failed"));
}

TEST_F(AllocatorAidlTest, TheServiceIsAskedForWithoutWaiting) {
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    EXPECT_EQ(AllocatorAidl::createInstance(), nullptr);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocAllocatorAidlV2 [createInstance] gralloc-alloc is "
                                       "missing "));
    registerScriptedAllocator();
    EXPECT_EQ(AllocatorAidl::createInstance(), scriptedAllocator());
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(AllocatorAidlTest, WithoutAServiceItCannotBeBuilt) {
    EXPECT_FATAL(AllocatorAidl(nullptr, mapper),
                 AllOf(HasSubstr("testLog ZelkCam/GrallocAllocatorAidlV2 69\nandroid 6 "
                                 "ZelkCam/GrallocAllocatorAidlV2 [Fatal] [AllocatorAidl] "
                                 "gralloc-alloc is missing  (AllocatorAidl){#"),
                       HasSubstr("assert(1) ZelkCam/GrallocAllocatorAidlV2 (AllocatorAidl){#")));
}

}  // namespace

}  // namespace zelkcam::test
