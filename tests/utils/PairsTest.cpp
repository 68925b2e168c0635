// The rules that both backend pairs keep, each pair over the same scripted gralloc.
#include "tests/support/Fixtures.h"
#include "tests/utils/hidl/ScriptedHidl.h"
#include "utils/gralloc/aidl/v2/allocator/allocator.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

struct Aidl {
    using Mapper = NSCam::GrallocMapperAidlV2::MapperV5;
    using Allocator = NSCam::GrallocAllocatorAidlV2::AllocatorAidl;
    using Format = NSCam::GrallocAllocatorAidlV2::PixelFormat;
    using Region = ARect;
    static constexpr char kMapper[] = "GrallocMapperAidlV2",
                          kAllocator[] = "GrallocAllocatorAidlV2";
    static constexpr char kLock[] = "lock";
    static constexpr char kRead[] = "getStandardMetadata 15 512";
    static constexpr int kIndescribable = 3, kUnread = 3;
    static constexpr int kImportFailed = 2, kRefused = 5;  // whatever the code was
    static constexpr bool kFailedImportIsWritten = true;
    static constexpr char kBarePlane[] = "48 - - 4096 0 0";  // all luma

    static Mapper mapper() {
        mapperScript().version = 4;  // nobody looks at it
        return Mapper(scriptedAllocator());
    }
    static Allocator allocator(const Mapper& mapper) { return {scriptedAllocator(), mapper}; }
    static auto descriptor() {
        return aidl::android::hardware::graphics::allocator::BufferDescriptorInfo();
    }
};

struct Hidl {
    using Mapper = NSCam::GrallocMapper::Mapper;
    using Allocator = NSCam::GrallocAllocator::Allocator;
    using Format = NSCam::GrallocAllocator::PixelFormat;
    using Region = IMapper::Rect;
    static constexpr char kMapper[] = "GrallocMapper", kAllocator[] = "GrallocAllocator";
    static constexpr char kLock[] = "operator()";
    static constexpr char kRead[] = "getStandardMetadata 15 4096";  // as the double asks
    static constexpr int kIndescribable = -22, kUnread = 7;
    static constexpr int kImportFailed = 3, kRefused = 7;  // the call's own
    static constexpr bool kFailedImportIsWritten = false;
    static constexpr char kBarePlane[] = "- - - 0 0 0";

    static Mapper mapper() {
        registerScriptedHidl();
        return {};
    }
    static Allocator allocator(const Mapper& mapper) { return Allocator(mapper); }
    static Bytes descriptor() { return {9, 8, 7}; }
};

enum class Shape { kPlain, kLayout, kYcbcr };
constexpr Shape kShapes[] = {Shape::kPlain, Shape::kLayout, Shape::kYcbcr};
constexpr char kLockCall[] = "lock usage=100000003 rect=1,2,3,4 fence=";

PlaneLayout one(int64_t increment, int64_t stride, PlaneLayoutComponentType type,
                int64_t offsetInBits = 0, int64_t sizeInBits = 8) {
    return plane(0, increment, stride, {component(type, offsetInBits, sizeInBits)});
}

PlaneLayout bare(int64_t increment, int64_t stride) {
    return plane(48, increment, stride, {});
}

// "y cb cr ystride cstride step", the addresses from the start of the buffer, "-" for null.
std::string ycbcrText(const android_ycbcr& ycbcr) {
    std::string text;
    for (const void* const address : {ycbcr.y, ycbcr.cb, ycbcr.cr}) {
        text += address == nullptr
                        ? "- "
                        : std::to_string(static_cast<const char*>(address) - kMapped) + " ";
    }
    return text + std::to_string(ycbcr.ystride) + " " + std::to_string(ycbcr.cstride) + " " +
           std::to_string(ycbcr.chroma_step);
}

template <typename Pair>
class PairsTest : public ScriptedTest {
  protected:
    PairsTest() { forget(); }

    int32_t lock(Shape shape, int fence = -1) {
        constexpr typename Pair::Region kRegion = {1, 2, 3, 4};
        constexpr uint64_t kUsage = 0x1'0000'0003;
        if (shape == Shape::kPlain) {
            return mapper.lock(buffer, kUsage, kRegion, fence, &data);
        }
        if (shape == Shape::kLayout) {
            return mapper.lock(buffer, kUsage, kRegion, fence, &data, &pixel, &stride);
        }
        return mapper.lock(buffer, kUsage, kRegion, fence, &ycbcr);
    }
    int32_t allocate(uint32_t count) {
        return allocator.allocate(Pair::descriptor(), count, &width, handles);
    }
    int32_t allocateOne(uint32_t w, uint32_t h, uint32_t layers) {
        return allocator.allocate(w, h, typename Pair::Format(0x36), layers, 0x8000000000000033,
                                  handles, &width, 99, "a name");
    }

    // Without the flushes, which the AIDL pair alone makes.
    static Calls calls() {
        Calls all = journal().take();
        std::erase(all, "flush");
        return all;
    }
    static std::string line(const char* tag, const std::string& text) {
        return std::string("E ") + tag + " " + text;
    }

    const typename Pair::Mapper mapper = Pair::mapper();
    const typename Pair::Allocator allocator = Pair::allocator(mapper);
    // Nobody looks behind it.
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);
    void* data = nullptr;
    int pixel = 77, stride = 77;
    android_ycbcr ycbcr = {};
    uint32_t width = 7;  // the stride, of pixels
    const native_handle* handles[3] = {buffer, buffer, buffer};
};

using Pairs = testing::Types<Aidl, Hidl>;
TYPED_TEST_SUITE(PairsTest, Pairs);

TYPED_TEST(PairsTest, FailuresAreLoggedByTheirOperation) {
    mapperScript().freeResult = mapperScript().lockResult = mapperScript().unlockResult = -2;
    const std::string kUngated =
            std::string("W(android) ") + TypeParam::kMapper + " lock(0x77, ...) failed: -2";
    describePlanes({});
    EXPECT_EQ(this->mapper.freeBuffer(this->buffer), -2);
    EXPECT_EQ(this->mapper.unlock(this->buffer), -1);
    EXPECT_EQ(this->lock(Shape::kPlain), -2);
    EXPECT_EQ(this->lock(Shape::kLayout), -2);
    EXPECT_THAT(takeLog(),
                ElementsAre(this->line(TypeParam::kMapper,
                                       "[freeBuffer] freeBuffer(0x77) failed with -2"),
                            this->line(TypeParam::kMapper, "[unlock] unlock(0x77) failed with -2"),
                            this->line(TypeParam::kMapper,
                                       std::string("[") + TypeParam::kLock +
                                               "] IMapper->lock error happen, err=4294967294"),
                            kUngated));
    // The last one bypasses the gates and the switchboard.
    setLog({.details = 0, .mode = 8});
    this->lock(Shape::kLayout);
    EXPECT_THAT(takeLog(), ElementsAre(kUngated));
}

TYPED_TEST(PairsTest, ALockPassesItsArgumentsOnAndClosesTheFenceAfterTheCall) {
    describePlanes({bare(8, 64)});
    for (const Shape shape : kShapes) {
        for (const int32_t result : {0, 3}) {
            const WatchedFd fence("acquire");
            bool openAtLock = false;
            mapperScript().onLock = [&] { openAtLock = fence.isOpen(); };
            mapperScript().lockResult = result;
            EXPECT_EQ(this->lock(shape, fence.get()), result);
            EXPECT_TRUE(openAtLock);
            const Calls calls = this->calls();
            EXPECT_THAT(Calls(calls.end() - 2, calls.end()),
                        ElementsAre(std::string(kLockCall) + "acquire", "close acquire"));
            EXPECT_EQ(this->lock(shape), result);
            EXPECT_EQ(this->calls().back(), std::string(kLockCall) + "-1") << "nothing to close";
        }
    }
}

TYPED_TEST(PairsTest, ThePathsBeforeTheLockLeaveTheFenceOpen) {
    const WatchedFd fence("acquire");
    android_ycbcr* const nowhere = nullptr;
    EXPECT_EQ(this->mapper.lock(this->buffer, 3, {}, fence.get(), nowhere),
              TypeParam::kIndescribable);
    EXPECT_THAT(this->calls(), IsEmpty());
    memset(&this->ycbcr, 0x55, sizeof(this->ycbcr));
    const android_ycbcr before = this->ycbcr;
    EXPECT_EQ(this->lock(Shape::kYcbcr, fence.get()), TypeParam::kUnread);
    EXPECT_EQ(memcmp(&this->ycbcr, &before, sizeof(before)), 0);
    EXPECT_THAT(this->calls(), ElementsAre(TypeParam::kRead));
    EXPECT_TRUE(fence.isOpen());
}

TYPED_TEST(PairsTest, PixelAndStrideAreWrittenWhetherOrNotTheLockSucceeds) {
    constexpr int64_t kFar = int64_t{1} << 32;
    const struct {
        std::vector<PlaneLayout> planes;
        int pixel, stride;
    } cases[] = {
            {{bare(8, 4096), bare(16, 2048)}, -1, -1},
            {{bare(24, 512), bare(24, 512)}, 3, 512},
            {{bare(12, 7)}, -1, 7},
            {{bare(-8, -512)}, -1, -1},
            // Once mixed, always mixed.
            {{bare(8, 4), bare(-1, -1), bare(8, 4)}, -1, -1},
            // The first plane is cut to 32 bits, and then differs from itself.
            {{bare(kFar + 8, kFar + 64)}, -1, -1},
            {{bare(INT32_MAX - 7, INT32_MAX)}, (INT32_MAX - 7) / 8, INT32_MAX},
            {{}, 77, 77},
    };
    for (const auto& c : cases) {
        describePlanes(c.planes);
        for (const int32_t result : {0, 5}) {
            SCOPED_TRACE(&c - cases);
            mapperScript().lockResult = result;
            this->pixel = this->stride = 77;
            EXPECT_EQ(this->lock(Shape::kLayout), result);
            EXPECT_EQ(this->pixel, c.pixel);
            EXPECT_EQ(this->stride, c.stride);
        }
    }
    mapperScript() = {};
    EXPECT_EQ(this->lock(Shape::kLayout), 0) << "goes ahead without layouts";
    EXPECT_EQ(this->pixel, 77);
    describePlanes({bare(8, 64)});
    EXPECT_EQ(this->mapper.lock(this->buffer, 3, {}, -1, &this->data, nullptr, nullptr), 0);
    EXPECT_EQ(this->data, kMapped);
}

TYPED_TEST(PairsTest, YcbcrDescribesWhereThePlanesLie) {
    const struct {
        const char* name;
        std::vector<PlaneLayout> planes;
        const char* description;
    } cases[] = {
            {"NV12",
             {one(8, 1920, Y), plane(4096, 16, 2048, {component(CB, 0), component(CR, 8)})},
             "0 4096 4097 1920 2048 2"},
            {"three planes",
             {plane(64, 8, 32, {component(Y, 0)}), plane(200, 8, 16, {component(CR, 0)}),
              plane(300, 8, 16, {component(CB, 0)})},
             "64 300 200 32 16 1"},
            {"no planes", {}, "- - - 0 0 0"},
            {"one without components", {bare(8, 4096)}, TypeParam::kBarePlane},
            {"several without components", {bare(8, 64), bare(8, 64)}, "- - - 0 0 0"},
            {"colours", {plane(0, 32, 64, {component(R, 0), component(A, 24)})}, "- - - 0 0 0"},
            // The published test goes by the given name's length: an empty one is standard.
            {"a type without a name", {plane(0, 8, 64, {{{"", 1}, 8, 8}})}, "1 - - 64 0 0"},
            {"a type that is not standard",
             {plane(0, 8, 64, {{{"vendor.Type", 1}, 3, 99}, component(Y, 8)})},
             "1 - - 64 0 0"},
            {"chroma of any size", {plane(8, 16, 64, {component(CB, 16, 99)})}, "- 10 - 0 64 2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        describePlanes(c.planes);
        memset(&this->ycbcr, 0xFF, sizeof(this->ycbcr));
        EXPECT_EQ(this->lock(Shape::kYcbcr), 0);
        EXPECT_EQ(ycbcrText(this->ycbcr), c.description);
        EXPECT_THAT(this->ycbcr.reserved, Each(0u));
        EXPECT_EQ(journal().times("unlock"), 0u) << "stays locked";
    }
}

TYPED_TEST(PairsTest, YcbcrRefusesTheRestAndUnlocksDroppingTheReleaseFenceUnclosed) {
    const struct {
        const char* name;
        std::vector<PlaneLayout> planes;
    } cases[] = {
            {"a component between bytes", {one(8, 8, Y, 4)}},
            {"a negative one between bytes", {one(8, 8, Y, -1)}},
            {"of any standard type", {one(32, 8, A, 4)}},
            {"luma twice", {one(8, 8, Y), one(8, 8, Y)}},
            {"luma of 10 bits", {one(8, 8, Y, 0, 10)}},
            {"luma that is not packed", {one(16, 8, Y)}},
            {"chroma step 24", {one(24, 8, CB)}},
            {"chroma step 12", {one(12, 8, CR)}},
            {"chroma step 0", {one(0, 8, CR)}},
            {"chroma step -8", {one(-8, 8, CB)}},
            {"chroma of two strides", {one(8, 64, CB), one(8, 32, CR)}},
            {"chroma of two steps", {one(8, 64, CB), one(16, 64, CR)}},
            {"Cb twice", {one(8, 64, CB), one(8, 64, CB)}},
            {"Cr twice", {one(8, 64, CR), one(8, 64, CR)}},
    };
    const WatchedFd release("release");
    mapperScript().unlockFence = release.get();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        describePlanes(c.planes);
        const WatchedFd fence("acquire");
        memset(&this->ycbcr, 0x55, sizeof(this->ycbcr));
        const android_ycbcr before = this->ycbcr;
        EXPECT_EQ(this->lock(Shape::kYcbcr, fence.get()), TypeParam::kIndescribable);
        EXPECT_EQ(memcmp(&this->ycbcr, &before, sizeof(before)), 0);
        EXPECT_THAT(this->calls(),
                    ElementsAre(TypeParam::kRead, TypeParam::kRead,
                                std::string(kLockCall) + "acquire", "close acquire", "unlock"));
    }
    EXPECT_TRUE(release.isOpen());
    EXPECT_THAT(takeLog(), IsEmpty());
}

TYPED_TEST(PairsTest, AsManyBuffersAsWereAskedForAreImportedWhileTheServicesOwnAreOpen) {
    allocatorScript().stride = 128;
    allocatorScript().surplus = 1;  // nobody looks at the length of the list
    EXPECT_EQ(this->allocate(2), 0);
    EXPECT_EQ(this->width, 128u);
    EXPECT_THAT(allocatorScript().counts, ElementsAre(2));
    EXPECT_THAT(this->calls(), ElementsAre("allocate2", "importBuffer", "importBuffer"));
    EXPECT_EQ(this->handles[2], this->buffer);
    for (const native_handle* const handle : {this->handles[0], this->handles[1]}) {
        EXPECT_EQ(this->allocator.free(handle), 0);
    }
    this->width = 7;
    EXPECT_EQ(this->allocate(0), 0);
    EXPECT_EQ(this->width, 128u) << "also of no buffers";
}

TYPED_TEST(PairsTest, AFailedImportFreesTheOnesBefore) {
    const auto* const leftByMapper = reinterpret_cast<const native_handle*>(0x99);
    mapperScript().failedImport = leftByMapper;
    for (size_t failing = 0; failing < 3; ++failing) {
        std::ranges::fill(this->handles, this->buffer);
        mapperScript().importResults.assign(failing, 0);
        mapperScript().importResults.push_back(3);
        EXPECT_EQ(this->allocate(3), TypeParam::kImportFailed);
        EXPECT_EQ(this->width, 7u);
        for (size_t i = 0; i < 3; ++i) {
            const bool isWritten = i == failing && TypeParam::kFailedImportIsWritten;
            EXPECT_EQ(this->handles[i], i < failing ? nullptr
                                        : isWritten ? leftByMapper
                                                    : this->buffer);
        }
        EXPECT_EQ(journal().times("freeBuffer"), failing);
        journal().take();
    }
    EXPECT_THAT(takeLog(), IsEmpty());
    EXPECT_EQ(allocatorScript().descriptors.size(), 9u) << "the fixture checks them closed";
}

TYPED_TEST(PairsTest, ADescriptionIsFilledInAndCarriesNeitherNameNorReservedSize) {
    const struct {
        uint32_t width, height, layers;
        int32_t sentWidth, sentHeight, sentLayers;
    } cases[] = {{640, 480, 3, 640, 480, 3},
                 {0, 480, 0, 1, 1, 1},
                 {640, 0, 1, 1, 1, 1},
                 {UINT32_MAX, 1, UINT32_MAX, -1, 1, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(this->allocateOne(c.width, c.height, c.layers), 0);
        EXPECT_EQ(this->allocator.free(this->handles[0]), 0);
        const auto& sent = allocatorScript().requests.back();
        EXPECT_EQ(sent.width, c.sentWidth);
        EXPECT_EQ(sent.height, c.sentHeight);
        EXPECT_EQ(sent.layerCount, c.sentLayers);
        EXPECT_EQ(static_cast<int>(sent.format), 0x36);
        EXPECT_EQ(static_cast<uint64_t>(sent.usage), 0x8000000000000033);
        EXPECT_EQ(sent.reservedSize, 0);
        EXPECT_THAT(sent.name, Each(0));
        EXPECT_THAT(sent.additionalOptions, IsEmpty());
        EXPECT_EQ(allocatorScript().counts.back(), 1);
    }
}

TYPED_TEST(PairsTest, TheConvenienceFormTurnsAFailureIntoMinus12AndALine) {
    setLog(kDebugLog);
    mapperScript().importResults = {3};
    EXPECT_EQ(this->allocateOne(640, 0, 0), -12);
    const auto log = takeLog();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_THAT(log[0], HasSubstr(std::string("D ") + TypeParam::kAllocator +
                                  " [allocate] allocate: 640x0 format(0x36) layerCount(0) "
                                  "usage(0x8000000000000033) handle(0x"));
    EXPECT_EQ(log[1], this->line(TypeParam::kAllocator,
                                 "[allocate] Failed to allocate (1 x 1) layerCount 1 format 54 "
                                 "usage 8000000000000033: " +
                                         std::to_string(TypeParam::kImportFailed)));
    EXPECT_EQ(this->width, 7u);
}

}  // namespace

}  // namespace zelkcam::test
