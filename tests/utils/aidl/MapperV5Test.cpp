// The stable-C mapper backend: locks, fences, plane layouts.
#include "tests/support/PlaneCases.h"
#include "tests/utils/aidl/BackendTest.h"

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
        if (shape == Shape::kPlain) {
            return mapper->lock(buffer, 3, kRegion, fence, &data);
        }
        if (shape == Shape::kLayout) {
            return mapper->lock(buffer, 3, kRegion, fence, &data, &pixel, &stride);
        }
        return mapper->lock(buffer, 3, kRegion, fence, &ycbcr);
    }

    // Luma alone, then interleaved chroma.
    static std::vector<PlaneLayout> nv12() {
        return {plane(0, 8, 1920, {component(Y, 0)}),
                plane(4096, 16, 2048, {component(CB, 0), component(CR, 8)})};
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
    for (const int32_t result : {0, 3}) {
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
    for (const PixelAndStrideCase& c : pixelAndStrideCases()) {
        SCOPED_TRACE(&c - pixelAndStrideCases().data());
        describePlanes(c.planes);
        EXPECT_EQ(lock(Shape::kLayout), 0);
        EXPECT_EQ(pixel, c.pixel);
        EXPECT_EQ(stride, c.stride);
    }
    void* data = nullptr;
    EXPECT_EQ(mapper->lock(buffer, 3, kRegion, -1, &data, nullptr, nullptr), 0);
    EXPECT_EQ(data, kMapped);
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
    std::vector<YcbcrCase> cases = describableLayouts();
    cases.push_back({"one plane without components counts as luma",
                     {plane(48, 8, 4096, {})},
                     "48 - - 4096 0 0"});
    for (const YcbcrCase& c : cases) {
        SCOPED_TRACE(c.name);
        describePlanes(c.planes);
        memset(&ycbcr, 0xFF, sizeof(ycbcr));
        EXPECT_EQ(lock(Shape::kYcbcr), 0);
        EXPECT_EQ(ycbcrText(ycbcr), c.description);
        EXPECT_THAT(ycbcr.reserved, testing::Each(0u));
        EXPECT_EQ(journal().times("unlock"), 0u) << "stays locked";
    }
}

TEST_F(MapperV5Test, YcbcrRefusesWhatItCannotSayAndUnlocksDroppingTheFenceUnclosed) {
    for (const YcbcrCase& c : indescribableLayouts()) {
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

TEST_F(MapperV5Test, ALayoutIsDumpedOnlyWhenThePropertyAndTheGateAllowIt) {
    describePlanes({plane(0, 8, 1920, {component(Y, 0)}), plane(-1, 0, 0, {{{"", 7}, -1, 0}})});
    const struct {
        int property;
        LogSettings log;
        size_t lines;
    } cases[] = {{-1, kDebugLog, 2}, {0, kDebugLog, 0}, {1, {.details = 4}, 0}};
    for (const auto& c : cases) {
        platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = c.property;
        const NSCam::GrallocMapperAidlV2::MapperV5 logging(scriptedAllocator());
        setLog(c.log);
        takeLog();
        logging.lock(buffer, 3, kRegion, -1, &ycbcr);
        const auto log = takeLog();
        ASSERT_EQ(log.size(), c.lines);
        if (c.lines == 0) {
            continue;
        }
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
