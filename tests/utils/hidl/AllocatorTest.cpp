// The HIDL allocator backend over scripted services, and both constructors without any.
#include "tests/utils/hidl/ScriptedHidl.h"

namespace zelkcam::test {

namespace {

using android::hardware::graphics::common::V1_2::PixelFormat;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

class HidlAllocatorTest : public HidlBackendTest {
  protected:
    static constexpr size_t kRoom = 3;

    void SetUp() override {
        HidlBackendTest::SetUp();
        offerBuffers();
    }

    // As many raw buffers as there is room for; nobody looks behind them.
    static void offerBuffers() {
        for (size_t i = 0; i < kRoom; ++i) {
            hidlScript().allocated.push_back(&raw()[i]);
        }
    }
    static native_handle_t* raw() {
        static native_handle_t handles[kRoom] = {};
        for (native_handle_t& handle : handles) {
            handle.version = sizeof(native_handle_t);
        }
        return handles;
    }

    int32_t allocate(uint32_t count) {
        return allocator->allocate(Bytes{9, 8, 7}, count, &width, handles);
    }
    int32_t allocateOne(uint32_t w, uint32_t h, uint32_t layers) {
        return allocator->allocate(w, h, PixelFormat::YCBCR_P010, layers, 0x1'0000'0033, handles,
                                   &width, 99, "a name");
    }

    uint32_t width = 7;  // the stride, of pixels
    const native_handle* handles[kRoom] = {buffer, buffer, buffer};
};

TEST_F(HidlAllocatorTest, BuffersAreImportedAsTheyStandWhileTheServiceStillAnswers) {
    EXPECT_EQ(allocate(3), 0);
    EXPECT_EQ(hidlScript().descriptors.at(0), (Bytes{9, 8, 7}));
    EXPECT_EQ(hidlScript().counts.at(0), 3u);
    EXPECT_THAT(hidlScript().imported, ElementsAre(&raw()[0], &raw()[1], &raw()[2]));
    EXPECT_THAT(handles, ElementsAre(importOf(0), importOf(1), importOf(2)));
    EXPECT_EQ(width, 128u);
    const Calls calls = journal().take();
    EXPECT_EQ(calls.front(), "allocate");
    EXPECT_EQ(calls.back(), "allocate is over");

    // The count is the one that was asked for, not the length of the list.
    EXPECT_EQ(allocate(1), 0);
    EXPECT_EQ(hidlScript().imported.size(), 4u);
    width = 7;
    EXPECT_EQ(allocate(0), 0);
    EXPECT_EQ(width, 128u) << "also for no buffers";
    EXPECT_EQ(hidlScript().imported.size(), 4u);
}

TEST_F(HidlAllocatorTest, AFailedImportFreesTheOnesBeforeInOrderAndAnswersItsOwnCode) {
    for (int failing = 0; failing < 3; ++failing) {
        hidlScript() = {.failingImport = failing};
        offerBuffers();
        std::ranges::fill(handles, buffer);
        journal().take();
        EXPECT_EQ(allocate(3), 2);
        EXPECT_EQ(width, 7u);
        Calls expected = {"allocate"};
        for (int i = 0; i <= failing; ++i) {
            expected.insert(expected.end(), {"importBuffer", "importBuffer is over"});
        }
        for (int i = 0; i < failing; ++i) {
            expected.push_back("freeBuffer 0x100" + std::to_string(i));
        }
        expected.emplace_back("allocate is over");
        EXPECT_THAT(journal().take(), ElementsAreArray(expected));
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(handles[i], i < failing ? nullptr : buffer)
                    << "the failed one's is untouched";
        }
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

TEST_F(HidlAllocatorTest, ARefusalImportsNothingAndATransportThatFailsIs5) {
    const struct {
        Transport transport;
        Error error;
        int32_t result;
    } cases[] = {{Transport::kWorks, Error::UNSUPPORTED, 7},
                 {Transport::kFailsOnTheWay, Error::NONE, 5},
                 {Transport::kFailsOnTheWayBack, Error::UNSUPPORTED, 5}};
    for (const auto& c : cases) {
        hidlScript() = {.transport = c.transport, .error = c.error};
        offerBuffers();
        EXPECT_EQ(allocate(2), c.result);
        EXPECT_THAT(journal().take(), ElementsAre("allocate", "allocate is over"));
        EXPECT_EQ(width, 7u);
        EXPECT_THAT(handles, testing::Each(buffer));
    }
    EXPECT_THAT(takeLog(), IsEmpty()) << "the descriptor form says nothing";
}

TEST_F(HidlAllocatorTest, ADescriptionCarriesNeitherTheNameNorTheReservedSize) {
    const struct {
        uint32_t width, height, layers, sentWidth, sentHeight, sentLayers;
    } cases[] = {{640, 480, 2, 640, 480, 2},
                 {640, 0, 0, 1, 1, 1},
                 {0, 480, 1, 1, 1, 1},
                 {UINT32_MAX, 1, UINT32_MAX, UINT32_MAX, 1, UINT32_MAX}};
    for (const auto& c : cases) {
        hidlScript() = {};
        offerBuffers();
        EXPECT_EQ(allocateOne(c.width, c.height, c.layers), 0);
        EXPECT_EQ(handles[0], importOf(0));
        EXPECT_EQ(hidlScript().descriptions.at(0),
                  (Description{"", c.sentWidth, c.sentHeight, c.sentLayers, PixelFormat::YCBCR_P010,
                               0x1'0000'0033, 0}));
        EXPECT_EQ(hidlScript().descriptors.at(0), (Bytes{4, 2}));
        EXPECT_EQ(hidlScript().counts.at(0), 1u);
    }
}

TEST_F(HidlAllocatorTest, TheConvenienceFormTurnsEveryFailureIntoMinus12AndALine) {
    char asked[200];
    snprintf(asked, sizeof(asked),
             "D GrallocAllocator [allocate] allocate: 640x0 format(0x36) layerCount(0) "
             "usage(0x100000033) handle(%p) stride(%p)",
             static_cast<void*>(handles), static_cast<void*>(&width));
    const std::string undescribed = "E GrallocAllocator [allocate] Failed to createDescriptor";
    const struct {
        HidlScript script;
        std::string line;
        bool reached;  // the allocator
    } cases[] = {{{.error = Error::UNSUPPORTED}, undescribed, false},
                 {{.transport = Transport::kFailsOnTheWayBack}, undescribed, false},
                 {{.failingImport = 0},
                  "E GrallocAllocator [allocate] Failed to allocate (1 x 1) layerCount 1 format 54 "
                  "usage 100000033: 2",
                  true}};
    setLog(kDebugLog);
    for (const auto& c : cases) {
        hidlScript() = c.script;
        offerBuffers();
        EXPECT_EQ(allocateOne(640, 0, 0), -12);
        EXPECT_THAT(takeLog(), ElementsAre(asked, c.line));
        EXPECT_EQ(hidlScript().counts.size(), c.reached ? 1u : 0u);
        EXPECT_EQ(width, 7u);
    }
}

TEST_F(HidlAllocatorTest, FreeAnswers0AndTheMapperTellsTheFailure) {
    hidlScript().error = Error::BAD_BUFFER;
    EXPECT_EQ(allocator->free(buffer), 0);
    EXPECT_THAT(journal().take(), ElementsAre("freeBuffer 0x77"));
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocMapper [freeBuffer] freeBuffer(0x77) failed with 2"));
}

// A device without the services.
TEST(HidlStartTest, AnAbsentMapperIsSilentAnAbsentAllocatorEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("ZELKCAM_HOST_SERVICES", "none", 1);
    setLog(kDebugLog);
    if (IMapper::getService("default", false) != nullptr) {
        GTEST_SKIP() << "needs a process of its own: run it with ctest";
    }
    const NSCam::GrallocMapper::Mapper mapper;
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_FATAL(NSCam::GrallocAllocator::Allocator{mapper},
                 AllOf(HasSubstr("testLog ZelkCam/GrallocAllocator 69\nandroid 6 "
                                 "ZelkCam/GrallocAllocator [Fatal] [Allocator] gralloc-alloc is "
                                 "missing  (Allocator){#"),
                       HasSubstr("assert(1) ZelkCam/GrallocAllocator (Allocator){#"),
                       HasSubstr(":utils/gralloc/hidl/allocator/allocator}\r\n")));
}

}  // namespace

}  // namespace zelkcam::test
