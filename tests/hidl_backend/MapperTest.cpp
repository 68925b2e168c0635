// The HIDL mapper backend over scripted services.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/hidl_backend/ScriptedHidl.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using testing::AllOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kGetLine[] =
        "get(android.hardware.graphics.common.StandardMetadataType, 15, ...) failed with ";

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
    for (const auto& [name, call] : calls)
        for (const Error error : {Error::NONE, Error::BAD_BUFFER, Error::UNSUPPORTED})
            for (const Transport transport :
                 {Transport::kWorks, Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack}) {
                SCOPED_TRACE(name);
                hidlScript() = {.transport = transport, .error = error, .lockError = error};
                descriptor = {};
                imported = buffer;
                data = &pixel;
                const bool works = transport == Transport::kWorks;
                EXPECT_EQ(call(), works ? static_cast<int32_t>(error) : 5);
                if (error == Error::NONE)
                    continue;
                EXPECT_EQ(descriptor.size(), 0u) << "outputs are written on NONE only";
                EXPECT_EQ(imported, buffer);
                EXPECT_EQ(data, &pixel);
            }
}

TEST_F(HidlMapperTest, ALockPassesItsArgumentsOnAndClosesTheFenceAfterTheCall) {
    hidlScript().planes = {plane(0, 8, 64, {})};
    for (const Shape shape : kShapes)
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
            EXPECT_FALSE(fence.isOpen());
            Calls calls = journal().take();
            EXPECT_THAT(Calls(calls.end() - 3, calls.end()),
                        ElementsAre("lock", "lock is over", "close acquire"));

            EXPECT_EQ(lock(shape), static_cast<int32_t>(error));
            EXPECT_EQ(hidlScript().lock.fence, "none");
            EXPECT_EQ(journal().times("close -1"), 0u);
        }
    for (const Transport transport : {Transport::kFailsOnTheWay, Transport::kFailsOnTheWayBack})
        for (const Shape shape : {Shape::kPlain, Shape::kLayout}) {
            const WatchedFd fence("acquire");
            hidlScript().transport = transport;
            EXPECT_EQ(lock(shape, fence.get()), 5);
            EXPECT_FALSE(fence.isOpen());
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
    EXPECT_THAT(takeLog(), IsEmpty());
    std::vector<PlaneLayout> layouts;
    const std::vector<PlaneLayout> planes = {plane(1, 8, 64, {component(Y, 3, 5)}),
                                             plane(2, 16, 32, {})};
    hidlScript().planes = planes;
    EXPECT_EQ(mapper->getPlaneLayouts(buffer, &layouts), 0);
    EXPECT_EQ(layouts, planes);
    Bytes tooLong = encoded(planes);
    tooLong.resize(tooLong.size() + 1);
    hidlScript().metadata = tooLong;
    EXPECT_EQ(mapper->getPlaneLayouts(buffer, &layouts), android::BAD_VALUE);
    EXPECT_THAT(takeLog(), IsEmpty());
}

TEST_F(HidlMapperTest, PixelAndStrideAreToldWhetherOrNotTheLockSucceeds) {
    const struct {
        std::vector<std::pair<int64_t, int64_t>> planes;  // increment and stride
        int pixel, stride;
    } cases[] = {
            {{{24, 64}, {24, 64}}, 3, 64}, {{{8, 4096}, {16, 2048}}, -1, -1}, {{{12, 0}}, -1, 0},
            {{{-8, -1}}, -1, -1},          {{{0x1'0000'0008, 64}}, -1, 64},   {{}, 77, 77},
    };
    for (const auto& c : cases)
        for (const Error error : {Error::NONE, Error::NO_RESOURCES}) {
            hidlScript() = {.lockError = error};
            for (const auto& [increment, rowStride] : c.planes)
                hidlScript().planes.push_back(plane(0, increment, rowStride, {}));
            pixel = stride = 77;
            EXPECT_EQ(lock(Shape::kLayout), static_cast<int32_t>(error));
            EXPECT_EQ(pixel, c.pixel);
            EXPECT_EQ(stride, c.stride);
        }
    hidlScript() = {.error = Error::BAD_BUFFER};
    EXPECT_EQ(lock(Shape::kLayout), 0) << "the lock goes ahead without layouts";
    EXPECT_EQ(pixel, 77);
    hidlScript() = {.planes = {plane(0, 8, 64, {})}};
    EXPECT_EQ(mapper->lock(buffer, 3, {}, -1, &data, nullptr, &stride), 0);
    EXPECT_EQ(mapper->lock(buffer, 3, {}, -1, &data, &pixel, nullptr), 0);
    EXPECT_EQ(std::pair(pixel, stride), std::pair(1, 64));
}

// What a YCbCr lock makes of layouts. The pointers are offsets, -1 for null.
struct Ycbcr {
    const char* name;
    std::vector<PlaneLayout> planes;
    struct {
        ptrdiff_t y = -1, cb = -1, cr = -1;
        size_t ystride = 0, cstride = 0, step = 0;
        bool operator==(const auto& other) const {
            return std::tie(y, cb, cr, ystride, cstride, step) ==
                   std::tie(other.y, other.cb, other.cr, other.ystride, other.cstride, other.step);
        }
    } expected = {};

    static ptrdiff_t offset(const void* pointer) {
        return pointer == nullptr ? -1 : static_cast<const char*>(pointer) - kMapped;
    }
};

PlaneLayout one(int64_t increment, int64_t stride, PlaneLayoutComponentType type,
                int64_t offsetInBits = 0, int64_t sizeInBits = 8) {
    return plane(0, increment, stride, {component(type, offsetInBits, sizeInBits)});
}

TEST_F(HidlMapperTest, YcbcrIsSaidOfLayoutsThatItCanSay) {
    const PlaneLayoutComponent foreign = {{"vendor.Type", 1}, 3, 99};
    const Ycbcr cases[] = {
            {"NV12",
             {one(8, 64, Y), plane(640, 16, 64, {component(CB, 0), component(CR, 8)})},
             {0, 640, 641, 64, 64, 2}},
            {"three planes",
             {plane(9, 8, 64, {component(Y, 0)}), plane(90, 8, 32, {component(CR, 0)}),
              plane(99, 8, 32, {component(CB, 0)})},
             {9, 99, 90, 64, 32, 1}},
            {"no planes", {}},
            {"one plane without components", {plane(48, 8, 4096, {})}},
            {"colours", {plane(0, 32, 64, {component(R, 0), component(A, 24)})}},
            {"a component that is not standard",
             {plane(0, 8, 64, {foreign, component(Y, 8)})},
             {1, -1, -1, 64, 0, 0}},
            {"chroma of any size", {one(16, 64, CB, 16, 99)}, {-1, 2, -1, 0, 64, 2}},
    };
    for (const Ycbcr& c : cases) {
        SCOPED_TRACE(c.name);
        hidlScript().planes = c.planes;
        memset(&ycbcr, 0xFF, sizeof(ycbcr));
        EXPECT_EQ(lock(Shape::kYcbcr), 0);
        const decltype(c.expected) actual = {Ycbcr::offset(ycbcr.y),  Ycbcr::offset(ycbcr.cb),
                                             Ycbcr::offset(ycbcr.cr), ycbcr.ystride,
                                             ycbcr.cstride,           ycbcr.chroma_step};
        EXPECT_TRUE(actual == c.expected);
        EXPECT_THAT(ycbcr.reserved, testing::Each(0u));
        EXPECT_THAT(journal().take(),
                    ElementsAre("get", "get is over", "get", "get is over", "lock", "lock is over"))
                << "stays locked";
    }
}

TEST_F(HidlMapperTest, YcbcrRefusesTheRestWithMinus22AndUnlocksDroppingTheFence) {
    const Ycbcr cases[] = {
            {"luma between bytes", {one(8, 8, Y, 4)}},
            {"alpha between bytes", {one(32, 8, A, 4)}},
            {"luma twice", {one(8, 8, Y), one(8, 8, Y)}},
            {"luma of 10 bits", {one(8, 8, Y, 0, 10)}},
            {"luma that is not packed", {one(16, 8, Y)}},
            {"chroma step 24", {one(24, 8, CB)}},
            {"chroma step 12", {one(12, 8, CR)}},
            {"chroma step 0", {one(0, 8, CR)}},
            {"chroma of two strides", {one(8, 64, CB), one(8, 32, CR)}},
            {"chroma of two steps", {one(8, 64, CB), one(16, 64, CR)}},
            {"Cb twice", {one(8, 64, CB), one(8, 64, CB)}},
            {"Cr twice", {one(8, 64, CR), one(8, 64, CR)}},
    };
    const WatchedFd release("release");
    native_handle_t* const handle = native_handle_create(1, 0);
    handle->data[0] = release.get();
    for (const Ycbcr& c : cases) {
        SCOPED_TRACE(c.name);
        hidlScript().planes = c.planes;
        hidlScript().releaseFence = handle;
        const WatchedFd fence("acquire");
        memset(&ycbcr, 0x55, sizeof(ycbcr));
        const android_ycbcr before = ycbcr;
        const size_t descriptors = openDescriptors();
        EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), -22);
        EXPECT_EQ(memcmp(&before, &ycbcr, sizeof(ycbcr)), 0);
        EXPECT_EQ(openDescriptors(), descriptors) << "one closed, one dropped unclosed";
        EXPECT_FALSE(fence.isOpen());
        EXPECT_THAT(journal().take(),
                    ElementsAre("get", "get is over", "get", "get is over", "lock", "lock is over",
                                "close acquire", "unlock", "unlock is over"));
        EXPECT_THAT(takeLog(), IsEmpty());
    }
    native_handle_delete(handle);
}

TEST_F(HidlMapperTest, UnlockAnswersACopyOfAFenceThatIsTheOnlyDescriptor) {
    const WatchedFd first("first"), second("second");
    const struct {
        int fds, ints;  // -1 fds: an empty handle
        Error error = Error::NONE;
        Transport transport = Transport::kWorks;
        bool copied = false;
        const char* log = nullptr;
    } cases[] = {
            {-1, 0},
            {0, 0},
            {0, 1},
            {1, 0, Error::NONE, Transport::kWorks, true},
            {1, 2, Error::NONE, Transport::kWorks, true},
            {2, 0},
            {1, 0, Error::BAD_BUFFER, Transport::kWorks, false, "2"},
            {1, 0, Error::NONE, Transport::kFailsOnTheWay, false, "5"},
            {1, 0, Error::NONE, Transport::kFailsOnTheWayBack, true, "5"},
    };
    for (const auto& c : cases) {
        native_handle_t* const handle = c.fds < 0 ? nullptr : native_handle_create(c.fds, c.ints);
        for (int i = 0; i < c.fds; ++i)
            handle->data[i] = i == 0 ? first.get() : second.get();
        hidlScript() = {.transport = c.transport, .error = c.error, .releaseFence = handle};
        const int copy = mapper->unlock(buffer);
        struct stat expected = {}, actual = {};
        EXPECT_EQ(fstat(first.get(), &expected), 0) << "the mapper's own stays open";
        EXPECT_EQ(fstat(copy, &actual), c.copied ? 0 : -1);
        EXPECT_EQ(actual.st_ino, c.copied ? expected.st_ino : 0);
        EXPECT_NE(copy, first.get());
        EXPECT_TRUE(c.copied || copy == -1);
        if (c.copied)
            close(copy);
        const auto log = takeLog();
        EXPECT_EQ(log.size(), c.log ? 1u : 0u);
        if (c.log != nullptr) {
            EXPECT_EQ(log.at(0),
                      std::string("E GrallocMapper [unlock] unlock(0x77) failed with ") + c.log);
        }
        EXPECT_THAT(journal().take(), Not(testing::Contains(HasSubstr("sync_wait"))));
        native_handle_delete(handle);
    }
}

TEST_F(HidlMapperTest, AFenceThatCannotBeCopiedIsWaitedForWithoutLimit) {
    const WatchedFd fence("release");
    native_handle_t* const handle = native_handle_create(1, 0);
    handle->data[0] = fence.get();
    hidlScript() = {.releaseFence = handle, .dupFails = true};
    const std::vector<std::string> line = {
            "D GrallocMapper [operator()] failed to dup unlock release fence"};
    const struct {
        LogSettings log;
        std::vector<std::string> lines;
        int waitResult;
    } cases[] = {{kDebugLog, line, 0},
                 {kDebugLog, line, -1},
                 {{.details = 4}, {}, 0},
                 {{.details = 5, .mask = 0x7000}, {}, 0}};
    for (const auto& c : cases) {
        setLog(c.log);
        platformScript().syncWaitResult = c.waitResult;
        EXPECT_EQ(mapper->unlock(buffer), -1);
        EXPECT_THAT(journal().take(), ElementsAre("unlock", "sync_wait release", "unlock is over"));
        EXPECT_THAT(takeLog(), ElementsAreArray(c.lines));
        EXPECT_TRUE(fence.isOpen());
    }
    native_handle_delete(handle);
}

TEST_F(HidlMapperTest, TwoLinesPassByTheGatesAndTheSwitchboardTheOthersDoNot) {
    const std::string direct[] = {
            std::string("E(android) GrallocMapper ") + kGetLine + "2 without its location",
            "W(android) GrallocMapper lock(0x77, ...) failed: 3"};
    const char* const lines[] = {"GrallocMapper [freeBuffer] freeBuffer(0x77) failed with 2",
                                 "GrallocMapper [unlock] unlock(0x77) failed with 2",
                                 "GrallocMapper [operator()] IMapper->lock error happen, err=3"};
    const struct {
        LogSettings log;
        const char* output;  // of the other lines; null: none
    } cases[] = {{{}, "E "},
                 {{.details = 0, .mask = 0, .mode = 1}, "E(android) "},
                 {{.mode = 8}, "E(switchboard) "},
                 {{.mode = 4}, nullptr}};
    hidlScript() = {.error = Error::BAD_BUFFER, .lockError = Error::BAD_VALUE};
    for (const auto& c : cases) {
        setLog(c.log);
        lock(Shape::kLayout);
        EXPECT_THAT(takeLog(), ElementsAreArray(direct));
        mapper->freeBuffer(buffer);
        mapper->unlock(buffer);
        lock(Shape::kPlain);
        std::vector<std::string> expected;
        for (const char* const line : lines)
            if (c.output != nullptr)
                expected.push_back(c.output + std::string(line));
        EXPECT_THAT(takeLog(), ElementsAreArray(expected));
    }
    setLog({});
    hidlScript() = {.transport = Transport::kFailsOnTheWay};
    lock(Shape::kPlain);
    EXPECT_THAT(takeLog(), IsEmpty()) << "the callback never ran";
    lock(Shape::kLayout);
    EXPECT_THAT(takeLog(), ElementsAre(std::string("E(android) GrallocMapper ") + kGetLine +
                                               "5 without its location",
                                       "W(android) GrallocMapper lock(0x77, ...) failed: 5"));
}

TEST_F(HidlMapperTest, AMapperOfAnotherProcessEndsTheProcess) {
    for (const bool wanted : {true, false}) {
        setErrorOutputWanted(wanted);
        const auto line = HasSubstr(
                "android 6 ZelkCam/GrallocMapper [Fatal] [Mapper] gralloc-mapper must be in "
                "passthrough mode (Mapper){#");
        const testing::Matcher<const std::string&> printed =
                wanted ? testing::Matcher<const std::string&>(line) : Not(HasSubstr("[Fatal]"));
        EXPECT_FATAL(
                {
                    makeMapperRemote();
                    NSCam::GrallocMapper::Mapper();
                },
                AllOf(HasSubstr("testLog ZelkCam/GrallocMapper 69\n"), printed,
                      HasSubstr("assert(1) ZelkCam/GrallocMapper (Mapper){#"),
                      HasSubstr(":utils/gralloc/hidl/mapper/mapper}\r\n")));
    }
}

}  // namespace

}  // namespace zelkcam::test
