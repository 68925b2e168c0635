// The AIDL allocator backend: descriptions, imports and their rollback.
#include "tests/utils/aidl/BackendTest.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::test {

namespace {

using aidl::android::hardware::graphics::allocator::BufferDescriptorInfo;
using aidl::android::hardware::graphics::common::BufferUsage;
using aidl::android::hardware::graphics::common::PixelFormat;
using NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const native_handle* const kUntouched = reinterpret_cast<const native_handle*>(0x77);

class AllocatorAidlTest : public BackendTest {
  protected:
    void SetUp() override {
        BackendTest::SetUp();
        allocator.emplace(scriptedAllocator(), *mapper);
        allocatorScript().stride = 128;
    }

    int32_t allocate(uint32_t count) {
        return allocator->allocate(BufferDescriptorInfo(), count, &stride, handles);
    }
    int32_t allocateOne(uint32_t width, uint32_t height, uint32_t layers) {
        return allocator->allocate(width, height, PixelFormat::RGBA_8888, layers,
                                   0x8000000000000033, handles, &stride, 99, "some name");
    }
    static void refuse() {
        allocatorScript().allocateStatus = [] {
            return ndk::ScopedAStatus::fromServiceSpecificError(2);
        };
    }

    std::optional<AllocatorAidl> allocator;
    uint32_t stride = 7;
    const native_handle* handles[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
};

TEST_F(AllocatorAidlTest, EachBufferIsImportedAndItsRawDescriptorsAreClosed) {
    allocatorScript().surplus = 1;  // nobody looks at the length of the list
    EXPECT_EQ(allocate(2), 0);
    EXPECT_EQ(stride, 128u);
    EXPECT_THAT(allocatorScript().counts, ElementsAre(2));
    EXPECT_THAT(journal().take(), ElementsAre("allocate2", "flush", "importBuffer", "flush",
                                              "flush", "importBuffer", "flush", "flush"));
    EXPECT_EQ(handles[2], kUntouched);
    for (const native_handle* const handle : {handles[0], handles[1]}) {
        EXPECT_EQ(allocator->free(handle), 0);
    }
    EXPECT_THAT(journal().take(),
                ElementsAre("freeBuffer", "flush", "flush", "freeBuffer", "flush", "flush"));
}

TEST_F(AllocatorAidlTest, OfNoBuffersTheStrideIsWrittenAllTheSame) {
    EXPECT_EQ(allocate(0), 0);
    EXPECT_EQ(stride, 128u);
    EXPECT_EQ(handles[0], kUntouched);
}

TEST_F(AllocatorAidlTest, AFailedImportFreesTheOnesBeforeAndAnswersBadBufferWhateverItsCode) {
    mapperScript().importResults = {0, 0, 5};
    const auto* const leftByMapper = reinterpret_cast<const native_handle*>(0x99);
    mapperScript().failedImport = leftByMapper;
    EXPECT_EQ(allocate(4), 2);
    EXPECT_EQ(stride, 7u);
    EXPECT_THAT(handles, ElementsAre(nullptr, nullptr, leftByMapper, kUntouched));
    EXPECT_THAT(journal().take(),
                ElementsAre("allocate2", "flush", "importBuffer", "flush", "flush", "importBuffer",
                            "flush", "flush", "importBuffer", "flush", "flush", "freeBuffer",
                            "flush", "flush", "freeBuffer", "flush", "flush"));
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_EQ(allocatorScript().descriptors.size(), 4u) << "the fixture checks them closed";
}

TEST_F(AllocatorAidlTest, ARefusedAllocationAnswersNoResourcesAndImportsNothing) {
    const std::function<ndk::ScopedAStatus()> statuses[] = {
            [] { return ndk::ScopedAStatus::fromServiceSpecificError(0); },
            [] { return ndk::ScopedAStatus::fromServiceSpecificError(1); },
            [] { return ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT); },
            [] { return ndk::ScopedAStatus(); },
    };
    for (const auto& status : statuses) {
        allocatorScript().allocateStatus = status;
        EXPECT_EQ(allocate(2), 5);
        EXPECT_THAT(journal().take(), ElementsAre("allocate2", "flush"));
        EXPECT_EQ(stride, 7u);
        EXPECT_EQ(handles[0], kUntouched);
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

TEST_F(AllocatorAidlTest, ADescriptionIsFilledInAndReservedSizeAndNameAreNotUsed) {
    const struct {
        uint32_t width, height, layers;
        int32_t expectedWidth, expectedHeight, expectedLayers;
    } cases[] = {{640, 480, 3, 640, 480, 3},
                 {0, 480, 0, 1, 1, 1},
                 {640, 0, 1, 1, 1, 1},
                 {1, 1, 2, 1, 1, 2}};
    for (const auto& c : cases) {
        EXPECT_EQ(allocateOne(c.width, c.height, c.layers), 0);
        EXPECT_EQ(allocator->free(handles[0]), 0);
        const BufferDescriptorInfo& sent = allocatorScript().requests.back();
        EXPECT_EQ(sent.width, c.expectedWidth);
        EXPECT_EQ(sent.height, c.expectedHeight);
        EXPECT_EQ(sent.layerCount, c.expectedLayers);
        EXPECT_EQ(sent.format, PixelFormat::RGBA_8888);
        EXPECT_EQ(static_cast<uint64_t>(sent.usage), 0x8000000000000033);
        EXPECT_EQ(sent.reservedSize, 0);
        EXPECT_THAT(sent.name, Each(0));
        EXPECT_THAT(sent.additionalOptions, IsEmpty());
        EXPECT_EQ(allocatorScript().counts.back(), 1);
    }
}

TEST_F(AllocatorAidlTest, AFailureOfOneBufferAnswersNoMemoryAndSaysWhatWasAskedFor) {
    setLog(kDebugLog);
    const std::string tail =
            "Failed to allocate (1 x 1) layerCount 1 format 1 usage 8000000000000033: ";
    refuse();
    EXPECT_EQ(allocateOne(640, 0, 0), -12);
    auto log = takeLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_THAT(log[0], HasSubstr("D GrallocAllocatorAidlV2 [allocate] allocate: 640x0 "
                                  "format(0x1) layerCount(0) usage(0x8000000000000033) handle(0x"));
    EXPECT_EQ(log[1], "E GrallocAllocatorAidlV2 [allocate] " + tail + "5");

    allocatorScript().allocateStatus = nullptr;
    mapperScript().importResults = {3};
    EXPECT_EQ(allocateOne(640, 0, 0), -12);
    EXPECT_EQ(takeLog().back(), "E GrallocAllocatorAidlV2 [allocate] " + tail + "2");
    EXPECT_EQ(stride, 7u);
}

TEST_F(AllocatorAidlTest, AFailedFreeIsLoggedByTheMapperAndNotReturned) {
    mapperScript().freeResult = 2;
    EXPECT_EQ(allocator->free(kUntouched), 0);
    EXPECT_THAT(journal().take(), ElementsAre("freeBuffer", "flush", "flush"));
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [freeBuffer] freeBuffer(0x77) failed "
                                       "with 2"));
}

TEST_F(AllocatorAidlTest, AMissingThreadStateIsLoggedUnderTheAllocatorsTag) {
    platformScript().hasThreadState = false;
    allocator->ipcFlushCommands();
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocAllocatorAidlV2 [ipcFlushCommands] get "
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
    EXPECT_FATAL(AllocatorAidl(nullptr, *mapper),
                 AllOf(HasSubstr("testLog ZelkCam/GrallocAllocatorAidlV2 69\nandroid 6 "
                                 "ZelkCam/GrallocAllocatorAidlV2 [Fatal] [AllocatorAidl] "
                                 "gralloc-alloc is missing  (AllocatorAidl){#"),
                       HasSubstr("assert(1) ZelkCam/GrallocAllocatorAidlV2 (AllocatorAidl){#")));
}

}  // namespace

}  // namespace zelkcam::test
