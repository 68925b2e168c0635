// The stable-C mapper backend: locks, fences, plane layouts.
#include "tests/backends/BackendTest.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr ARect kRegion = {1, 2, 3, 4};
constexpr char kReadOnce[] = "getStandardMetadata 15 512";

class MapperV5Test : public BackendTest {
  protected:
    enum class Shape { kPlain, kLayout, kYcbcr };

    int32_t lock(Shape shape, int fence = -1) {
        void* data = nullptr;
        if (shape == Shape::kPlain)
            return mapper->lock(buffer, 3, kRegion, fence, &data);
        if (shape == Shape::kLayout)
            return mapper->lock(buffer, 3, kRegion, fence, &data, &pixel, &stride);
        return mapper->lock(buffer, 3, kRegion, fence, &ycbcr);
    }

    // Luma alone, then interleaved chroma.
    static std::vector<PlaneLayout> nv12() {
        return {plane(0, 8, 1920, {component(Y, 0)}),
                plane(4096, 16, 2048, {component(CB, 0), component(CR, 8)})};
    }

    // "y cb cr ystride cstride step", addresses from the start of the buffer, "-" for null.
    std::string described() {
        std::string text;
        for (const void* const address : {ycbcr.y, ycbcr.cb, ycbcr.cr})
            text += address == nullptr ? "- "
                                       : std::to_string(static_cast<const char*>(address) -
                                                        mapperScript().base) +
                                                 " ";
        for (const size_t number : {ycbcr.ystride, ycbcr.cstride, ycbcr.chroma_step})
            text += std::to_string(number) + " ";
        return text;
    }

    int pixel = 77, stride = 77;
    android_ycbcr ycbcr = {};
};

TEST_F(MapperV5Test, EveryMapperCallIsFollowedByItsFlushOnFailureToo) {
    describePlanes(nv12());
    for (const int32_t result : {0, 5}) {
        mapperScript().importResults = {result};
        mapperScript().freeResult = result;
        mapperScript().lockResult = result;
        mapperScript().unlockResult = result;
        const native_handle* imported = nullptr;
        EXPECT_EQ(mapper->importBuffer(buffer, &imported), result);
        EXPECT_EQ(mapper->freeBuffer(imported), result);
        EXPECT_EQ(lock(Shape::kPlain), result);
        EXPECT_EQ(lock(Shape::kLayout), result);
        EXPECT_EQ(lock(Shape::kYcbcr), result);
        EXPECT_EQ(mapper->unlock(buffer), -1);
        const char* const kLock = "lock usage=3 rect=1,2,3,4 fence=-1";
        EXPECT_THAT(journal().take(),
                    ElementsAre("importBuffer", "flush", "freeBuffer", "flush", kLock, "flush",
                                kReadOnce, "flush", kLock, "flush", kReadOnce, "flush", kReadOnce,
                                "flush", kLock, "flush", "unlock", "flush"));
    }
}

TEST_F(MapperV5Test, FailuresAreLoggedByTheirOperation) {
    mapperScript().freeResult = mapperScript().lockResult = mapperScript().unlockResult = -2;
    mapperScript().importResults = {2};
    const native_handle* imported = nullptr;
    mapper->importBuffer(buffer, &imported);
    EXPECT_THAT(takeLog(), IsEmpty());
    mapper->freeBuffer(buffer);
    mapper->unlock(buffer);
    lock(Shape::kPlain);
    lock(Shape::kLayout);
    EXPECT_THAT(takeLog(),
                ElementsAre("E GrallocMapperAidlV2 [freeBuffer] freeBuffer(0x77) failed with -2",
                            "E GrallocMapperAidlV2 [unlock] unlock(0x77) failed with -2",
                            "E GrallocMapperAidlV2 [lock] IMapper->lock error happen, "
                            "err=4294967294",
                            "W(android) GrallocMapperAidlV2 lock(0x77, ...) failed: -2"));
    // The last one goes past the gates and the switchboard.
    setLog({.details = 0, .mode = 8});
    lock(Shape::kLayout);
    EXPECT_THAT(takeLog(),
                ElementsAre("W(android) GrallocMapperAidlV2 lock(0x77, ...) failed: -2"));
}

TEST_F(MapperV5Test, AMissingThreadStateIsLogged) {
    platformScript().hasThreadState = false;
    EXPECT_EQ(mapper->freeBuffer(buffer), 0);
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocMapperAidlV2 [ipcFlushCommands] get "
                                       "IPCThreadState singleton failed"));
}

TEST_F(MapperV5Test, EveryLockConsumesItsFenceAfterTheCall) {
    describePlanes(nv12());
    for (const int32_t result : {0, 3})
        for (const Shape shape : {Shape::kPlain, Shape::kLayout, Shape::kYcbcr}) {
            const WatchedFd fence("acquire");
            bool openAtLock = false;
            mapperScript().onLock = [&] { openAtLock = fence.isOpen(); };
            mapperScript().lockResult = result;
            EXPECT_EQ(lock(shape, fence.get()), result);
            EXPECT_TRUE(openAtLock);
            EXPECT_FALSE(fence.isOpen());
            EXPECT_EQ(journal().times("close acquire"), 1u);
            journal().take();
        }
}

TEST_F(MapperV5Test, WhenOutYcbcrIsNullOrTheLayoutsCannotBeReadAcquireFenceStaysOpen) {
    const WatchedFd fence("acquire");
    describePlanes(nv12());
    EXPECT_EQ(mapper->lock(buffer, 3, kRegion, fence.get(), static_cast<android_ycbcr*>(nullptr)),
              3);
    EXPECT_THAT(journal().take(), IsEmpty());
    mapperScript().metadata.clear();
    EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), 3);
    EXPECT_THAT(journal().take(), ElementsAre(kReadOnce, "flush"));
    EXPECT_TRUE(fence.isOpen());
}

TEST_F(MapperV5Test, BytesOfAPixelAndOfARow) {
    constexpr int64_t kFar = int64_t{1} << 32;
    const struct {
        std::vector<std::pair<int64_t, int64_t>> planes;  // increment and stride
        int pixel, stride;
    } cases[] = {
            {{{8, 4096}, {16, 2048}}, -1, -1},
            {{{24, 512}, {24, 512}, {24, 512}}, 3, 512},
            {{{12, 7}}, -1, 7},
            {{{0, 0}}, 0, 0},
            {{{-8, -512}}, -1, -1},
            // Once mixed, always mixed.
            {{{8, 4}, {16, 2}, {8, 4}}, -1, -1},
            {{{8, 4}, {-1, -1}, {8, 4}}, -1, -1},
            // The first plane is cut to 32 bits, and then differs from itself.
            {{{kFar + 8, kFar + 64}}, -1, -1},
            {{{-1, -1}}, -1, -1},
            {{{INT32_MAX - 7, INT32_MAX}}, (INT32_MAX - 7) / 8, INT32_MAX},
    };
    for (const auto& c : cases) {
        std::vector<PlaneLayout> planes;
        for (const auto& [increment, rowStride] : c.planes)
            planes.push_back(plane(0, increment, rowStride, {}));
        describePlanes(planes);
        EXPECT_EQ(lock(Shape::kLayout), 0);
        EXPECT_EQ(pixel, c.pixel);
        EXPECT_EQ(stride, c.stride);
    }
    void* data = nullptr;
    EXPECT_EQ(mapper->lock(buffer, 3, kRegion, -1, &data, nullptr, nullptr), 0);
    EXPECT_EQ(data, mapperScript().base);
}

TEST_F(MapperV5Test, TheTwoOutputsAreWrittenAlsoWhenTheLockFailsAndLeftAloneWithoutLayouts) {
    describePlanes({plane(0, 32, 256, {})});
    mapperScript().lockResult = 3;
    EXPECT_EQ(lock(Shape::kLayout), 3);
    EXPECT_EQ(pixel, 4);
    EXPECT_EQ(stride, 256);
    pixel = stride = 77;
    mapperScript().lockResult = 0;
    describePlanes({});
    EXPECT_EQ(lock(Shape::kLayout), 0);
    mapperScript().metadata.clear();
    EXPECT_EQ(lock(Shape::kLayout), 0);
    EXPECT_EQ(pixel, 77);
    EXPECT_EQ(stride, 77);
}

TEST_F(MapperV5Test, YcbcrDescribesWhereThePlanesLie) {
    const PlaneLayoutComponent foreign = {{"vendor.Type", 1}, 3, 99};
    const PlaneLayout bare = plane(48, 8, 4096, {});
    const std::pair<std::vector<PlaneLayout>, const char*> cases[] = {
            {nv12(), "0 4096 4097 1920 2048 2 "},
            {{plane(64, 8, 32, {component(Y, 0)}), plane(200, 8, 16, {component(CR, 0)}),
              plane(300, 8, 16, {component(CB, 0)})},
             "64 300 200 32 16 1 "},
            // One plane without components counts as luma, several do not.
            {{bare}, "48 - - 4096 0 0 "},
            {{bare, bare}, "- - - 0 0 0 "},
            {{}, "- - - 0 0 0 "},
            {{plane(0, 32, 64, {component(R, 0), component(A, 24)})}, "- - - 0 0 0 "},
            // The given name's length decides: an empty one counts as standard.
            {{plane(0, 8, 64, {{{"", 1}, 8, 8}})}, "1 - - 64 0 0 "},
            // A foreign type is not even looked at; chroma may be of any size.
            {{plane(0, 8, 64, {foreign, component(Y, 8)})}, "1 - - 64 0 0 "},
            {{plane(8, 16, 64, {component(CB, 16, 99)})}, "- 10 - 0 64 2 "},
    };
    for (const auto& [planes, expected] : cases) {
        describePlanes(planes);
        memset(&ycbcr, 0xFF, sizeof(ycbcr));
        EXPECT_EQ(lock(Shape::kYcbcr), 0);
        EXPECT_EQ(described(), expected);
        EXPECT_THAT(ycbcr.reserved, testing::Each(0u));
        EXPECT_EQ(journal().times("unlock"), 0u) << "stays locked";
    }
}

TEST_F(MapperV5Test, YcbcrRefusesWhatItCannotSayAndUnlocksDroppingTheFenceUnclosed) {
    const auto one = [](int64_t increment, int64_t rowStride, PlaneLayoutComponentType type,
                        int64_t offset = 0, int64_t size = 8) {
        return plane(0, increment, rowStride, {component(type, offset, size)});
    };
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        describePlanes(c.planes);
        const WatchedFd fence("acquire");
        const WatchedFd release("release");
        mapperScript().unlockFence = release.get();
        memset(&ycbcr, 0x55, sizeof(ycbcr));
        const android_ycbcr before = ycbcr;
        EXPECT_EQ(lock(Shape::kYcbcr, fence.get()), 3);
        EXPECT_EQ(memcmp(&before, &ycbcr, sizeof(ycbcr)), 0);
        EXPECT_THAT(journal().take(), ElementsAre(kReadOnce, "flush", kReadOnce, "flush",
                                                  "lock usage=3 rect=1,2,3,4 fence=acquire",
                                                  "flush", "close acquire", "unlock", "flush"));
        EXPECT_TRUE(release.isOpen());
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

TEST_F(MapperV5Test, ALayoutIsDumpedOnlyWhenPropertyLevelAndMaskAllowIt) {
    describePlanes({plane(0, 8, 1920, {component(Y, 0)}), plane(-1, 0, 0, {{{"", 7}, -1, 0}})});
    const struct {
        int property;
        LogSettings log;
        size_t lines;
    } cases[] = {{1, kDebugLog, 2},
                 {-1, kDebugLog, 2},
                 {0, kDebugLog, 0},
                 {1, {.details = 4}, 0},
                 {1, {.details = 5, .mask = 0x40000000}, 0}};
    for (const auto& c : cases) {
        platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = c.property;
        const NSCam::GrallocMapperAidlV2::MapperV5 logging(scriptedAllocator());
        setLog(c.log);
        takeLog();
        logging.lock(buffer, 3, kRegion, -1, &ycbcr);
        const auto log = takeLog();
        ASSERT_EQ(log.size(), c.lines);
        if (c.lines == 0)
            continue;
        const std::string kRest =
                ", widthInSamples: 0, heightInSamples: 0, totalSizeInBytes: 0, "
                "horizontalSubsampling: 0, verticalSubsampling: 0}";
        EXPECT_EQ(
                log[0],
                "D GrallocMapperAidlV2 [lock] PlaneLayout{components: [PlaneLayoutComponent{type: "
                "ExtendableType{name: android.hardware.graphics.common.PlaneLayoutComponentType, "
                "value: 1}, offsetInBits: 0, sizeInBits: 8}], offsetInBytes: 0, "
                "sampleIncrementInBits: 8, strideInBytes: 1920" +
                        kRest);
        EXPECT_EQ(
                log[1],
                "D GrallocMapperAidlV2 [lock] PlaneLayout{components: [PlaneLayoutComponent{type: "
                "ExtendableType{name: , value: 7}, offsetInBits: -1, sizeInBits: 0}], "
                "offsetInBytes: -1, sampleIncrementInBits: 0, strideInBytes: 0" +
                        kRest);
    }
}

TEST_F(MapperV5Test, UnlockHandsOutTheFenceAndTheMappersErrorIsLoggedNotReturned) {
    const WatchedFd fence("release");
    mapperScript().unlockFence = fence.get();
    EXPECT_EQ(mapper->unlock(buffer), fence.get());
    mapperScript().unlockResult = 2;
    EXPECT_EQ(mapper->unlock(buffer), fence.get()) << "also when the mapper fails";
    EXPECT_TRUE(fence.isOpen());
    EXPECT_THAT(takeLog(), ElementsAre(HasSubstr("failed with 2")));
}

TEST_F(MapperV5Test, LayoutsAreReadWith512BytesAndASingleRetry) {
    const std::vector<uint8_t> bytes = encoded(nv12());
    const char* const kUnexpected =
            "E GrallocMapperAidlV2 [getStandardMetadata] Received something other than UNSUPPORTED "
            "from valid getStandardMetadata call";
    const auto tooLarge = [](int result) {
        return "E GrallocMapperAidlV2 [getStandardMetadata] Failed to get Gralloc "
               "StandardMetadataType (15) failed with " +
               std::to_string(result);
    };
    const struct {
        const char* name;
        std::vector<int32_t> answers;
        int32_t result;
        std::vector<size_t> sizes;  // of the destinations offered
        std::vector<std::string> log;
    } cases[] = {
            {"fits", {static_cast<int32_t>(bytes.size())}, 0, {512}, {}},
            {"exactly the first guess", {512}, 0, {512}, {}},
            {"one more", {513, 513}, 0, {512, 513}, {}},
            {"shrinks", {600, 100}, 3, {512, 600}, {}},
            {"grows", {600, 700}, 3, {512, 600}, {tooLarge(700)}},
            {"fails late", {600, -2}, 3, {512, 600}, {tooLarge(-2)}},
            {"unsupported late", {600, -7}, 3, {512, 600}, {tooLarge(-7)}},
            {"unsupported", {-7}, 3, {512}, {}},
            {"bad buffer", {-2}, 3, {512}, {kUnexpected}},
            {"nothing", {0}, 3, {512}, {}},
            {"truncated", {static_cast<int32_t>(bytes.size()) - 1}, 3, {512}, {}},
            {"header alone", {69}, 3, {512}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<size_t> sizes;
        bool zeroed = true;
        mapperScript().getMetadata = [&](int64_t, void* destination, size_t size) {
            const auto* const first = static_cast<const char*>(destination);
            zeroed = zeroed && std::all_of(first + (sizes.empty() ? 0 : 512), first + size,
                                           [](char byte) { return byte == 0; });
            memcpy(destination, bytes.data(), std::min(bytes.size(), size));
            sizes.push_back(size);
            return c.answers.at(sizes.size() - 1);
        };
        std::vector<PlaneLayout> layouts(5);
        EXPECT_EQ(mapper->getPlaneLayouts(buffer, &layouts), c.result);
        EXPECT_EQ(layouts.size(), c.result == 0 ? 2u : 5u) << "written only on success";
        EXPECT_EQ(sizes, c.sizes);
        EXPECT_TRUE(zeroed);
        EXPECT_THAT(takeLog(), ElementsAreArray(c.log));
        EXPECT_EQ(journal().take().size(), 2 * sizes.size()) << "each read with its flush";
    }
}

}  // namespace

}  // namespace zelkcam::test
