// What the stable-C mapper backend alone has: flushes, dumps, and the way plane layouts are read.
#include "tests/support/Fixtures.h"
#include "utils/gralloc/aidl/v2/mapper/mapper.h"

namespace zelkcam::test {

namespace {

using enum PlaneLayoutComponentType;
using NSCam::GrallocMapperAidlV2::MapperV5;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr ARect kRegion = {1, 2, 3, 4};

class MapperV5Test : public ScriptedTest {
  protected:
    MapperV5Test() { forget(); }

    const MapperV5 mapper{scriptedAllocator()};
    const native_handle* const buffer = reinterpret_cast<const native_handle*>(0x77);
    void* data = nullptr;
    android_ycbcr ycbcr = {};
};

TEST_F(MapperV5Test, EveryMapperCallIsFollowedByItsFlushOnFailureToo) {
    const char* const kLock = "lock usage=3 rect=1,2,3,4 fence=-1";
    const char* const kRead = "getStandardMetadata 15 512";
    describePlanes({plane(0, 8, 64, {})});
    for (const int32_t result : {0, 5}) {
        mapperScript().importResults = {result};
        mapperScript().freeResult = result;
        mapperScript().lockResult = result;
        const native_handle* imported = nullptr;
        EXPECT_EQ(mapper.importBuffer(nullptr, &imported), result);
        EXPECT_EQ(mapper.freeBuffer(imported), result);
        EXPECT_EQ(mapper.lock(buffer, 3, kRegion, -1, &data), result);
        EXPECT_EQ(mapper.lock(buffer, 3, kRegion, -1, &data, nullptr, nullptr), result);
        EXPECT_EQ(mapper.lock(buffer, 3, kRegion, -1, &ycbcr), result);
        EXPECT_EQ(mapper.unlock(buffer), -1);
        EXPECT_THAT(journal().take(),
                    ElementsAre("importBuffer", "flush", "freeBuffer", "flush", kLock, "flush",
                                kRead, "flush", kLock, "flush", kRead, "flush", kRead, "flush",
                                kLock, "flush", "unlock", "flush"));
    }
}

TEST_F(MapperV5Test, ALayoutIsDumpedOnlyWhenThePropertyAndTheGateAllowIt) {
    const std::vector<PlaneLayout> planes = {plane(0, 8, 1920, {component(Y, 0)}),
                                             plane(-1, 0, 0, {{{"", 7}, -8, 0}})};
    describePlanes(planes);
    const struct {
        int property;
        LogSettings log;
        size_t lines;
    } cases[] = {{-1, kDebugLog, 2}, {0, kDebugLog, 0}, {1, {.details = 4}, 0}};
    for (const auto& c : cases) {
        platformScript().properties["debug.zelkcam.utils.gralloc.loglevel"] = c.property;
        const MapperV5 logging(scriptedAllocator());
        setLog(c.log);
        takeLog();
        logging.lock(buffer, 3, kRegion, -1, &ycbcr);
        const auto log = takeLog();
        ASSERT_EQ(log.size(), c.lines);
        for (size_t i = 0; i < c.lines; ++i) {
            EXPECT_EQ(log[i], "D GrallocMapperAidlV2 [lock] " + planes[i].toString());
        }
    }
}

TEST_F(MapperV5Test, UnlockHandsOutTheFenceAlsoWhenTheMapperFails) {
    const WatchedFd fence("release");
    mapperScript().unlockFence = fence.get();
    for (const int32_t result : {0, 2}) {
        mapperScript().unlockResult = result;
        EXPECT_EQ(mapper.unlock(buffer), fence.get());
    }
    EXPECT_TRUE(fence.isOpen());
}

TEST_F(MapperV5Test, LayoutsAreReadWith512BytesAndASingleRetry) {
    const PlaneLayout one = plane(0, 8, 1920, {component(Y, 0)});
    const std::vector<uint8_t> bytes = encoded({one, one});
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
            {"unsupported", {-7}, 3, {512}, {}},
            {"bad buffer", {-2}, 3, {512}, {kUnexpected}},
            {"nothing", {0}, 3, {512}, {}},
            {"truncated", {static_cast<int32_t>(bytes.size()) - 1}, 3, {512}, {}},
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
        EXPECT_EQ(mapper.getPlaneLayouts(buffer, &layouts), c.result);
        EXPECT_EQ(layouts.size(), c.result == 0 ? 2u : 5u) << "written only on success";
        EXPECT_EQ(sizes, c.sizes);
        EXPECT_TRUE(zeroed);
        EXPECT_THAT(takeLog(), ElementsAreArray(c.log));
        EXPECT_EQ(journal().take().size(), 2 * sizes.size()) << "each read with its flush";
    }
}

}  // namespace

}  // namespace zelkcam::test
