// The HIDL mapper backend over scripted services.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/Holdings.h"
#include "tests/support/PlaneCases.h"
#include "tests/utils/hidl/ScriptedHidl.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

// A handle of descriptors that are all `fence`, which stays the test's.
class FenceHandle {
  public:
    explicit FenceHandle(const WatchedFd& fence, int fds = 1, int ints = 0)
        : mHandle(fds < 0 ? nullptr : native_handle_create(fds, ints)) {
        for (int i = 0; i < fds; ++i) {
            mHandle->data[i] = fence.get();
        }
    }
    ~FenceHandle() { native_handle_delete(mHandle); }
    FenceHandle(const FenceHandle&) = delete;
    FenceHandle& operator=(const FenceHandle&) = delete;

    const native_handle_t* get() const { return mHandle; }

  private:
    native_handle_t* const mHandle;
};

std::string unlockLine(int error) {
    return "E GrallocMapper [unlock] unlock(0x77) failed with " + std::to_string(error);
}

class HidlMapperTest : public HidlBackendTest {};

TEST_F(HidlMapperTest, TheCallbacksCodeIsTheResultUnlessTheTransportFailedWhichIs5) {
    Bytes descriptor;
    const native_handle* imported = nullptr;
    std::vector<PlaneLayout> layouts;
    const std::pair<const char*, std::function<int32_t()>> calls[] = {
            {"createDescriptor", [&] { return mapper->createDescriptor({}, &descriptor); }},
            {"importBuffer", [&] { return mapper->importBuffer(hidl_handle(), &imported); }},
            {"freeBuffer", [&] { return mapper->freeBuffer(buffer); }},
            {"lock", [&] { return lock(Shape::kPlain); }},
            {"lock with outputs", [&] { return lock(Shape::kLayout); }},
            {"YCbCr lock", [&] { return lock(Shape::kYcbcr); }},
            {"getPlaneLayouts", [&] { return mapper->getPlaneLayouts(buffer, &layouts); }},
    };
    for (const auto& [name, call] : calls) {
        for (const Error error : {Error::NONE, Error::BAD_BUFFER, Error::UNSUPPORTED}) {
            for (const Transport transport :
                 {Transport::kWorks, Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack}) {
                SCOPED_TRACE(name);
                hidlScript() = {.transport = transport, .error = error, .lockError = error};
                descriptor = {};
                imported = buffer;
                data = &pixel;
                const bool works = transport == Transport::kWorks;
                EXPECT_EQ(call(), works ? static_cast<int32_t>(error) : 5);
                if (error == Error::NONE) {
                    continue;
                }
                EXPECT_EQ(descriptor.size(), 0u) << "outputs are written on NONE only";
                EXPECT_EQ(imported, buffer);
                EXPECT_EQ(data, &pixel);
            }
        }
    }
}

TEST_F(HidlMapperTest, ALockPassesItsArgumentsOnAndClosesTheFenceAfterTheCall) {
    hidlScript().planes = {plane(0, 8, 64, {})};
    for (const Shape shape : kShapes) {
        for (const Error error : {Error::NONE, Error::BAD_VALUE}) {
            hidlScript().lockError = error;
            const WatchedFd fence("acquire");
            EXPECT_EQ(lock(shape, fence.get()), static_cast<int32_t>(error));
            const auto& asked = hidlScript().lock;
            EXPECT_EQ(asked.buffer, buffer);
            EXPECT_EQ(asked.usage, 0x1'0000'0003u);
            EXPECT_EQ(asked.region, (IMapper::Rect{1, 2, 3, 4}));
            EXPECT_EQ(asked.fence, "acquire");
            EXPECT_TRUE(asked.fenceIsOpen);
            const Calls calls = journal().take();
            EXPECT_THAT(Calls(calls.end() - 3, calls.end()),
                        ElementsAre("lock", "lock is over", "close acquire"));

            EXPECT_EQ(lock(shape), static_cast<int32_t>(error));
            EXPECT_EQ(hidlScript().lock.fence, "none");
            EXPECT_EQ(journal().take().back(), "lock is over") << "nothing to close";
        }
    }
    for (const Transport transport : {Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack}) {
        for (const Shape shape : {Shape::kPlain, Shape::kLayout}) {
            const WatchedFd fence("acquire");
            hidlScript().transport = transport;
            EXPECT_EQ(lock(shape, fence.get()), 5);
            EXPECT_FALSE(fence.isOpen());
        }
    }
}

TEST_F(HidlMapperTest, AFenceThatCannotBeWrappedStaysOpenAndHasOneLine) {
    hidlScript().planes = {plane(0, 16, 64, {})};
    hidlScript().wrapFails = true;
    for (const Shape shape : kShapes) {
        const WatchedFd fence("acquire");
        data = nullptr;
        EXPECT_EQ(lock(shape, fence.get()), 5);
        EXPECT_TRUE(fence.isOpen());
        EXPECT_EQ(journal().times("lock"), 0u);
        EXPECT_EQ(data, nullptr);
        EXPECT_THAT(takeLog(),
                    ElementsAre("E GrallocMapper [lock] native_handle_init return null, err=5"));
        EXPECT_EQ(lock(shape), 0) << "without a fence there is nothing to wrap";
        journal().take();
    }
    EXPECT_EQ(pixel, 2) << "told before the fence is looked at";
}

TEST_F(HidlMapperTest, ThePathsBeforeTheLockLeaveTheFenceOpen) {
    const WatchedFd fence("acquire");
    EXPECT_EQ(mapper->lock(buffer, 3, {}, fence.get(), static_cast<android_ycbcr*>(nullptr)), -22);
    EXPECT_THAT(journal().take(), IsEmpty());
    const auto isRefused = [&](int32_t code) {
        memset(&ycbcr, 0x55, sizeof(ycbcr));
        const android_ycbcr before = ycbcr;
        EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), code);
        EXPECT_EQ(memcmp(&before, &ycbcr, sizeof(ycbcr)), 0);
        EXPECT_THAT(journal().take(), ElementsAre("get", "get is over"));
    };
    hidlScript() = {.error = Error::BAD_BUFFER};
    isRefused(2);
    takeLog();
    hidlScript() = {.metadata = Bytes{1, 2, 3}};
    isRefused(android::BAD_VALUE);
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_TRUE(fence.isOpen());
}

TEST_F(HidlMapperTest, LayoutsAreAskedForOnlyWithAPlaceForThem) {
    EXPECT_EQ(mapper->getPlaneLayouts(buffer, nullptr), -22);
    EXPECT_THAT(journal().take(), IsEmpty());
    std::vector<PlaneLayout> layouts;
    const std::vector<PlaneLayout> planes = {plane(1, 8, 64, {component(Y, 3, 5)}),
                                             plane(2, 16, 32, {})};
    hidlScript().planes = planes;
    EXPECT_EQ(mapper->getPlaneLayouts(buffer, &layouts), 0);
    EXPECT_EQ(layouts, planes);
    EXPECT_EQ(mapper->getPlaneLayouts(buffer, &layouts), 0);
    EXPECT_EQ(layouts.size(), 4u) << "appended";
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HidlMapperTest, PixelAndStrideAreToldWhetherOrNotTheLockSucceeds) {
    std::vector<PixelAndStrideCase> cases = pixelAndStrideCases();
    cases.push_back({{}, 77, 77});
    for (const PixelAndStrideCase& c : cases) {
        for (const Error error : {Error::NONE, Error::NO_RESOURCES}) {
            SCOPED_TRACE(&c - cases.data());
            hidlScript() = {.lockError = error, .planes = c.planes};
            pixel = stride = 77;
            EXPECT_EQ(lock(Shape::kLayout), static_cast<int32_t>(error));
            EXPECT_EQ(pixel, c.pixel);
            EXPECT_EQ(stride, c.stride);
        }
    }
    hidlScript() = {.error = Error::BAD_BUFFER};
    EXPECT_EQ(lock(Shape::kLayout), 0) << "the lock goes ahead without layouts";
    EXPECT_EQ(pixel, 77);
}

TEST_F(HidlMapperTest, YcbcrIsSaidOfLayoutsThatItCanSay) {
    std::vector<YcbcrCase> cases = describableLayouts();
    cases.push_back({"one plane without components", {plane(48, 8, 4096, {})}, "- - - 0 0 0"});
    for (const YcbcrCase& c : cases) {
        SCOPED_TRACE(c.name);
        hidlScript().planes = c.planes;
        memset(&ycbcr, 0xFF, sizeof(ycbcr));
        EXPECT_EQ(lock(Shape::kYcbcr), 0);
        EXPECT_EQ(ycbcrText(ycbcr), c.description);
        EXPECT_THAT(ycbcr.reserved, testing::Each(0u));
        EXPECT_THAT(journal().take(),
                    ElementsAre("get", "get is over", "get", "get is over", "lock", "lock is over"))
                << "stays locked";
    }
}

TEST_F(HidlMapperTest, YcbcrRefusesTheRestWithMinus22AndUnlocksDroppingTheFence) {
    const WatchedFd release("release");
    const FenceHandle handle(release);
    for (const YcbcrCase& c : indescribableLayouts()) {
        SCOPED_TRACE(c.name);
        hidlScript() = {.planes = c.planes, .releaseFence = handle.get()};
        const WatchedFd fence("acquire");
        memset(&ycbcr, 0x55, sizeof(ycbcr));
        const android_ycbcr before = ycbcr;
        const Holdings held = holdings();
        EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), -22);
        EXPECT_EQ(memcmp(&before, &ycbcr, sizeof(ycbcr)), 0);
        EXPECT_EQ(holdings(), held) << "one closed, one dropped unclosed";
        EXPECT_THAT(journal().take(),
                    ElementsAre("get", "get is over", "get", "get is over", "lock", "lock is over",
                                "close acquire", "unlock", "unlock is over"));
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

TEST_F(HidlMapperTest, UnlockAnswersACopyOfAFenceThatIsTheOnlyDescriptor) {
    const WatchedFd fence("release");
    const struct {
        int fds, ints;  // of the handle that the mapper gives; fewer than 0: none
        Error error = Error::NONE;
        Transport transport = Transport::kWorks;
        bool copied = false;
        std::vector<std::string> log = {};
    } cases[] = {
            {-1, 0},
            {0, 1},
            {1, 0, Error::NONE, Transport::kWorks, true},
            {1, 2, Error::NONE, Transport::kWorks, true},
            {2, 0},
            {1, 0, Error::BAD_BUFFER, Transport::kWorks, false, {unlockLine(2)}},
            {1, 0, Error::NONE, Transport::kFailsOnTheWay, false, {unlockLine(5)}},
            {1, 0, Error::NONE, Transport::kFailsOnTheWayBack, true, {unlockLine(5)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        const FenceHandle handle(fence, c.fds, c.ints);
        hidlScript() = {.transport = c.transport, .error = c.error, .releaseFence = handle.get()};
        const int copy = mapper->unlock(buffer);
        EXPECT_TRUE(fence.isOpen()) << "the mapper's own";
        EXPECT_NE(copy, fence.get());
        struct stat expected = {}, actual = {};
        EXPECT_EQ(fstat(fence.get(), &expected), 0);
        EXPECT_EQ(fstat(copy, &actual), c.copied ? 0 : -1);
        EXPECT_EQ(actual.st_ino, c.copied ? expected.st_ino : 0);
        EXPECT_TRUE(c.copied ? close(copy) == 0 : copy == -1);
        EXPECT_THAT(takeLog(), ElementsAreArray(c.log));
        EXPECT_THAT(journal().take(), ElementsAre("unlock", "unlock is over")) << "without a wait";
    }
}

TEST_F(HidlMapperTest, AFenceThatCannotBeCopiedIsWaitedForWithoutLimit) {
    const WatchedFd fence("release");
    const FenceHandle handle(fence);
    hidlScript() = {.releaseFence = handle.get(), .dupFails = true};
    for (const bool told : {true, false}) {
        setLog(told ? kDebugLog : LogSettings{.details = 4});
        platformScript().syncWaitResult = told ? 0 : -1;
        EXPECT_EQ(mapper->unlock(buffer), -1);
        EXPECT_THAT(journal().take(), ElementsAre("unlock", "sync_wait release", "unlock is over"));
        EXPECT_THAT(takeLog(), ElementsAreArray(std::vector<std::string>(
                                       told,
                                       "D GrallocMapper [operator()] failed to dup unlock release "
                                       "fence")));
        EXPECT_TRUE(fence.isOpen());
    }
}

TEST_F(HidlMapperTest, TwoLinesPassByTheGatesAndTheSwitchboardTheOthersDoNot) {
    const std::string get =
            "E(android) GrallocMapper get(android.hardware.graphics.common.StandardMetadataType, "
            "15, ...) failed with # without its location";
    const std::string lockLine = "W(android) GrallocMapper lock(0x77, ...) failed: ";
    const auto getLine = [&](char code) {
        return std::string(get).replace(get.find('#'), 1, 1, code);
    };
    for (const uint32_t mode : {0x9, 0x8}) {
        setLog({.details = 0, .mask = 0, .mode = mode});
        hidlScript() = {.error = Error::BAD_BUFFER, .lockError = Error::BAD_VALUE};
        lock(Shape::kLayout);
        EXPECT_THAT(takeLog(), ElementsAre(getLine('2'), lockLine + "3"));
        mapper->freeBuffer(buffer);
        mapper->unlock(buffer);
        lock(Shape::kPlain);
        const std::string output = mode == 0x9 ? "E " : "E(switchboard) ";
        EXPECT_THAT(
                takeLog(),
                ElementsAre(output + "GrallocMapper [freeBuffer] freeBuffer(0x77) failed with 2",
                            output + "GrallocMapper [unlock] unlock(0x77) failed with 2",
                            output + "GrallocMapper [operator()] IMapper->lock error happen, "
                                     "err=3"));
    }
    hidlScript() = {.transport = Transport::kFailsOnTheWay};
    lock(Shape::kPlain);
    EXPECT_THAT(takeLog(), IsEmpty()) << "the callback never ran";
    lock(Shape::kLayout);
    EXPECT_THAT(takeLog(), ElementsAre(getLine('5'), lockLine + "5"));
}

TEST_F(HidlMapperTest, AMapperOfAnotherProcessEndsTheProcess) {
    EXPECT_FATAL(
            {
                makeMapperRemote();
                NSCam::GrallocMapper::Mapper();
            },
            AllOf(HasSubstr("testLog ZelkCam/GrallocMapper 69\nandroid 6 ZelkCam/GrallocMapper "
                            "[Fatal] [Mapper] gralloc-mapper must be in passthrough mode "
                            "(Mapper){#"),
                  HasSubstr("assert(1) ZelkCam/GrallocMapper (Mapper){#"),
                  HasSubstr(":utils/gralloc/hidl/mapper/mapper}\r\n")));
}

}  // namespace

}  // namespace zelkcam::test
