// What the HIDL pair alone has: transports, wrapped fences, copies of release fences.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Fixtures.h"
#include "tests/utils/hidl/ScriptedHidl.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using android::hardware::graphics::common::V1_2::PixelFormat;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Transport = HidlScript::Transport;

// A handle of descriptors that are all `fence`, which stays the test's.
struct FenceHandle {
    explicit FenceHandle(const WatchedFd& fence, int fds = 1, int ints = 0)
        : handle(fds < 0 ? nullptr : native_handle_create(fds, ints)) {
        std::fill_n(fds < 0 ? nullptr : handle->data, std::max(fds, 0), fence.get());
    }
    ~FenceHandle() { native_handle_delete(handle); }

    native_handle_t* const handle;
};

class HidlPairTest : public ScriptedTest {
  protected:
    HidlPairTest() { forget(); }

    // In its three shapes.
    int32_t lock(int shape, int fence = -1) {
        if (shape == 0) {
            return mapper.lock(buffer, 3, {}, fence, &data);
        }
        return shape == 1 ? mapper.lock(buffer, 3, {}, fence, &data, &pixel, &stride)
                          : mapper.lock(buffer, 3, {}, fence, &ycbcr);
    }

    const NSCam::GrallocMapper::Mapper mapper = [] {
        registerScriptedHidl();
        return NSCam::GrallocMapper::Mapper();
    }();
    const NSCam::GrallocAllocator::Allocator allocator{mapper};
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);
    void* data = nullptr;
    int pixel = 77, stride = 77;
    android_ycbcr ycbcr = {};
};

TEST_F(HidlPairTest, TheCallbacksCodeIsTheResultUnlessTheTransportFailedWhichIs5) {
    Bytes descriptor;
    const native_handle* imported = nullptr;
    std::vector<PlaneLayout> layouts;
    uint32_t width = 7;
    const std::pair<const char*, std::function<int32_t()>> calls[] = {
            {"createDescriptor", [&] { return mapper.createDescriptor({}, &descriptor); }},
            {"importBuffer", [&] { return mapper.importBuffer(hidl_handle(), &imported); }},
            {"freeBuffer", [&] { return mapper.freeBuffer(buffer); }},
            {"lock", [&] { return lock(0); }},
            {"lock with outputs", [&] { return lock(1); }},
            {"YCbCr lock", [&] { return lock(2); }},
            {"getPlaneLayouts", [&] { return mapper.getPlaneLayouts(buffer, &layouts); }},
            {"allocate", [&] { return allocator.allocate({9}, 0, &width, &imported); }},
    };
    for (const auto& [name, call] : calls) {
        for (const int32_t error : {0, 2, 7}) {
            for (const Transport transport :
                 {Transport::kWorks, Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack}) {
                SCOPED_TRACE(name);
                hidlScript() = {.transport = transport, .describeResult = error};
                describePlanes({});
                mapperScript().getMetadata = nullptr;
                if (error != 0) {
                    mapperScript().getMetadata = [=](auto...) { return -error; };
                }
                mapperScript().importResults = {error};
                mapperScript().failedImport = buffer + 1;
                mapperScript().freeResult = mapperScript().lockResult = error;
                allocatorScript().allocateResult = error;
                descriptor = {};
                imported = buffer;
                data = &pixel;
                width = 7;
                EXPECT_EQ(call(), transport == Transport::kWorks ? error : 5);
                for (const native_handle* const left : std::exchange(mapperScript().imports, {})) {
                    native_handle_delete(const_cast<native_handle*>(left));
                }
                if (error == 0) {
                    continue;
                }
                EXPECT_EQ(descriptor.size(), 0u) << "outputs are written on success only";
                EXPECT_EQ(imported, buffer);
                EXPECT_EQ(data, &pixel);
                EXPECT_EQ(width, 7u);
            }
        }
    }
}

TEST_F(HidlPairTest, AFailedTransportClosesTheFenceToo) {
    for (const Transport transport : {Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack}) {
        for (const int shape : {0, 1}) {
            const WatchedFd fence("acquire");
            hidlScript().transport = transport;
            EXPECT_EQ(lock(shape, fence.get()), 5);
            EXPECT_FALSE(fence.isOpen());
        }
    }
}

TEST_F(HidlPairTest, AFenceThatCannotBeWrappedStaysOpenAndHasOneLine) {
    describePlanes({plane(0, 16, 64, {})});
    hidlScript().wrapFails = true;
    for (const int shape : {0, 1, 2}) {
        const WatchedFd fence("acquire");
        data = nullptr;
        journal().take();
        EXPECT_EQ(lock(shape, fence.get()), 5);
        EXPECT_TRUE(fence.isOpen());
        EXPECT_EQ(journal().take().size(), shape == 0 ? 0u : shape == 1 ? 1u : 2u) << "no lock";
        EXPECT_EQ(data, nullptr);
        EXPECT_THAT(takeLog(),
                    ElementsAre("E GrallocMapper [lock] native_handle_init return null, err=5"));
        EXPECT_EQ(lock(shape), 0) << "without a fence there is nothing to wrap";
    }
    EXPECT_EQ(pixel, 2) << "told before the fence is looked at";
}

TEST_F(HidlPairTest, LayoutsAreAppendedWhereThereIsAPlaceForThem) {
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, nullptr), -22);
    EXPECT_THAT(journal().take(), IsEmpty());
    std::vector<PlaneLayout> layouts;
    const PlaneLayout layout = plane(1, 8, 64, {component(Y, 3, 5)});
    describePlanes({layout});
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), 0);
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), 0);
    EXPECT_THAT(layouts, ElementsAre(layout, layout));
    mapperScript().metadata[15] = {1, 2, 3};
    EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), android::BAD_VALUE);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HidlPairTest, UnlockAnswersACopyOfAFenceThatIsTheOnlyDescriptor) {
    const WatchedFd fence("release");
    const struct {
        int fds, ints;  // of the handle that the mapper gives; fewer than 0: none
        int32_t error = 0;
        Transport transport = Transport::kWorks;
        bool copied = false;
        const char* log = nullptr;
    } cases[] = {
            {-1, 0},
            {0, 1},
            {1, 0, 0, Transport::kWorks, true},
            {1, 2, 0, Transport::kWorks, true},
            {2, 0},
            {1, 0, 2, Transport::kWorks, false, "failed with 2"},
            {1, 0, 0, Transport::kFailsOnTheWay, false, "failed with 5"},
            {1, 0, 0, Transport::kFailsOnTheWayBack, true, "failed with 5"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const FenceHandle handle(fence, c.fds, c.ints);
        hidlScript() = {.transport = c.transport, .releaseFence = handle.handle};
        mapperScript().unlockResult = c.error;
        const int copy = mapper.unlock(buffer);
        EXPECT_TRUE(fence.isOpen()) << "the mapper's own";
        EXPECT_NE(copy, fence.get());
        struct stat expected = {}, actual = {};
        fstat(fence.get(), &expected);
        EXPECT_EQ(fstat(copy, &actual), c.copied ? 0 : -1);
        EXPECT_EQ(actual.st_ino, c.copied ? expected.st_ino : 0);
        EXPECT_TRUE(c.copied ? close(copy) == 0 : copy == -1);
        const auto log = takeLog();
        EXPECT_TRUE(c.log == nullptr ? log.empty() : log.at(0).ends_with(c.log));
        EXPECT_EQ(journal().times("sync_wait release"), 0u);
    }
}

TEST_F(HidlPairTest, AFenceThatCannotBeCopiedIsWaitedForWithoutLimit) {
    const WatchedFd fence("release");
    const FenceHandle handle(fence);
    hidlScript() = {.releaseFence = handle.handle, .dupFails = true};
    setLog(kDebugLog);
    EXPECT_EQ(mapper.unlock(buffer), -1);
    EXPECT_THAT(journal().take(), ElementsAre("unlock", "sync_wait release"));
    EXPECT_THAT(takeLog(), ElementsAre("D GrallocMapper [operator()] failed to dup unlock release "
                                       "fence"));
    EXPECT_TRUE(fence.isOpen());
}

TEST_F(HidlPairTest, TheLineOfAFailedReadBypassesTheSwitchboard) {
    setLog({.details = 0, .mask = 0, .mode = 8});
    mapperScript().getMetadata = [](auto...) { return -2; };
    lock(1);
    EXPECT_THAT(takeLog(),
                ElementsAre("E(android) GrallocMapper "
                            "get(android.hardware.graphics.common.StandardMetadataType, 15, ...) "
                            "failed with 2 without its location"));
}

TEST_F(HidlPairTest, ADescriptorThatCannotBeMadeEndsTheAllocation) {
    const native_handle* made = nullptr;
    uint32_t width = 7;
    const auto allocate = [&] {
        return allocator.allocate(4, 4, PixelFormat::BLOB, 1, 3, &made, &width, 0, "");
    };
    EXPECT_EQ(allocate(), 0);
    EXPECT_THAT(hidlScript().descriptors, ElementsAre(Bytes{4, 2}));
    EXPECT_EQ(allocator.free(made), 0);
    for (const auto& script : {HidlScript{.transport = Transport::kFailsOnTheWayBack},
                               HidlScript{.describeResult = 7}}) {
        hidlScript() = script;
        EXPECT_EQ(allocate(), -12);
        EXPECT_THAT(takeLog(),
                    ElementsAre("E GrallocAllocator [allocate] Failed to createDescriptor"));
        EXPECT_THAT(hidlScript().descriptors, IsEmpty());
    }
}

TEST_F(HidlPairTest, AMapperOfAnotherProcessEndsTheProcess) {
    EXPECT_FATAL(
            {
                hidlScript().remote = true;
                NSCam::GrallocMapper::Mapper();
            },
            AllOf(HasSubstr("testLog ZelkCam/GrallocMapper 69\nandroid 6 ZelkCam/GrallocMapper "
                            "[Fatal] [Mapper] gralloc-mapper must be in passthrough mode "
                            "(Mapper){#"),
                  HasSubstr("assert(1) ZelkCam/GrallocMapper (Mapper){#"),
                  HasSubstr(":utils/gralloc/hidl/mapper/mapper}\r\n")));
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
