// What each format's rule makes of a buffer's attributes, driven through the query by handle.
#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;

using Plane = std::pair<uint64_t, uint64_t>;  // its size and its row stride

// Where the mapper says the planes of a locked format lie.
struct Located {
    int64_t y = 0, cr = 0, cb = 0, ystride = 0, cstride = 0;
};

constexpr int32_t kNv21 = 0x11;
constexpr int32_t kYv12 = 0x32315659;
constexpr int32_t kProtected = 0x4000;
constexpr int32_t kAlignedFrame = 0x20000000;

void locate(const Located& at) {
    using enum PlaneLayoutComponentType;
    if (platformScript().attributes[PLEXA_GET_FORMAT].at(0) == kYv12) {
        describePlanes({plane(at.y, 8, at.ystride, {component(Y, 0)}),
                        plane(at.cr, 8, at.cstride, {component(CR, 0)}),
                        plane(at.cb, 8, at.cstride, {component(CB, 0)})});
    } else {
        describePlanes({plane(at.y, 8, at.ystride, {component(Y, 0)}),
                        plane(at.cr, 16, at.cstride, {component(CR, 0), component(CB, 8)})});
    }
}

class DerivationTest : public HelperTest {
  protected:
    std::vector<Plane> planesOf(const Attributes& attributes, const Located& located = {}) {
        helper->clearMap();
        describeBuffers(attributes);
        locate(located);
        EXPECT_EQ(describe(), 0);
        std::vector<Plane> planes;
        for (const auto& plane : info.planes) {
            planes.emplace_back(plane.sizeInBytes, plane.rowStrideInBytes);
        }
        return planes;
    }

    // The derivation's own lines.
    static std::vector<std::string> derivationLog() {
        std::vector<std::string> lines = takeLog();
        std::erase_if(lines, [](const std::string& line) {
            return line.find("[dump]") != std::string::npos ||
                   line.find("Not found:") != std::string::npos ||
                   line.find("[clearMap]") != std::string::npos;
        });
        return lines;
    }
};

TEST_F(DerivationTest, EveryFormatHasItsRule) {
    struct Row {
        Attributes attributes;  // format, width, height, stride, vertical stride, allocation, ...
        std::vector<Plane> planes;
        Located located = {};
    };
    constexpr uint64_t kMinus1 = -1, kMinus2 = -2, kMinus6 = -6;
    constexpr uint64_t kWrapped = 0xFFFFFFFFC0000000;  // INT32_MIN / 2
    const Row rows[] = {
            {{0x1, 1900, 1080, 1920, 1088, 8400000}, {{8400000, 7680}}},
            {{0x3, 0, 0, 1920, 0, 7}, {{7, 5760}}},
            {{0x5, 0, 0, 1920, 0, 7}, {{7, 7680}}},
            {{0x14, 0, 0, 1920, 0, 7}, {{7, 3840}}},
            {{0x21, 0, 0, 4096, 0, 7}, {{7, 4096}}},
            {{0x24, 0, 0, 4096, 0, 7}, {{7, 4096}}},
            {{0x20203859, 0, 0, 4096, 0, 7}, {{7, 4096}}},
            // Attributes are read as 32 bits and widened with zeros.
            {{0x1, 0, 0, -1, 0, -1}, {{0xFFFFFFFF, 0x3FFFFFFFC}}},
            // 10 bits packed; the opaque format in units of 64 pixels.
            {{0x22, 0, 0, 4000, 0, 7}, {{7, 5000}}},
            {{0x111, 0, 0, 4000, 0, 7}, {{7, 5040}}},
            {{0x111, 0, 0, 4033, 0, 7}, {{7, 5120}}},
            {{0x111, 0, 0, -1, 0, 7}, {{7, 0x140000000}}},
            // RAW10 counts in 64 bits, by the first reads of height and stride.
            {{0x25, 0, -1, -1}, {{0xFFFFFFFE00000001, 0xFFFFFFFF}}},
            {{0x25, 0, 4, 5, 0, 0, 0, 0, 9, 9}, {{20, 5}}},
            // RAW16 does not look at the stride. Its row wraps at 32 bits, its size does not.
            {{0x20, 4000, 3000, 4096}, {{24000000, 8000}}},
            {{0x20, 0x40000000, 2}, {{0xFFFFFFFF00000000, 0xFFFFFFFF80000000}}},
            {{0x20, INT32_MAX, 3}, {{kMinus6, kMinus2}}},
            // NV12 and P010 go by the second reads; only their chroma wraps.
            {{0x1000, 1900, 1080, 1920}, {{2073600, 1920}, {1036800, 1920}}},
            {{0x1000, 0, 1080, 1920, 0, 0, 0, 0, 3, 3}, {{9, 3}, {4, 3}}},
            {{0x1000, 0, 0x8000, 0x10000}, {{0x80000000, 0x10000}, {kWrapped, 0x10000}}},
            {{0x36, 0, 1080, 1920}, {{4147200, 3840}, {2073600, 3840}}},
            {{0x36, 0, 1080, 1920, 0, 0, 0, 0, 3, 5}, {{30, 3840}, {15, 3840}}},
            {{0x36, 0, 1, -1}, {{kMinus2, 0x1FFFFFFFE}, {kMinus1, 0x1FFFFFFFE}}},
            {{0x36, 0, 0x8000, 0x10000}, {{0x100000000, 0x20000}, {0, 0x20000}}},
            // The located formats: distances, and the rest of the allocation.
            {{kNv21, 0, 3, 9, 0, 0, kProtected, 0, 5}, {{15, 5}, {7, 5}}},
            {{kNv21, 1920, 1080, 99, 0, 4000000},
             {{2088960, 1920}, {1911040, 2048}},
             {.y = 64, .cr = 2089024, .ystride = 1920, .cstride = 2048}},
            {{kNv21, 0, 0, 0, 0, 100}, {{uint64_t(-64), 8}, {164, 16}}, {64, 0, 0, 8, 16}},
            {{kYv12, 0, 0, 0, 0, 5000},
             {{1000, 32}, {300, 16}, {3700, 16}},
             {10, 1010, 1310, 32, 16}},
            {{kYv12, 0, 0, 0, 0, 5000},
             {{1300, 32}, {uint64_t(-300), 16}, {4000, 16}},
             {0, 1300, 1000, 32, 16}},
            // The aligned frame: ordinary, of nothing, beyond 32 bits, and with every other flag.
            {{kYv12, 1920, 1080, 0, 0, 1, 0, kAlignedFrame},
             {{1000, 32}, {300, 16}, {3132140, 16}},
             {0, 1000, 1300, 32, 16}},
            {{kYv12, 0, 0, 0, 0, 0, 0, kAlignedFrame},
             {{1, 1}, {1, 1}, {kMinus2, 1}},
             {0, 1, 2, 1, 1}},
            {{kYv12, 65536, 32768, 0, 0, 0, 0, kAlignedFrame},
             {{1, 1}, {1, 1}, {kWrapped - 2, 1}},
             {0, 1, 2, 1, 1}},
            {{kYv12, 0, 0, 0, 0, 9, 0, ~kAlignedFrame}, {{1, 1}, {1, 1}, {7, 1}}, {0, 1, 2, 1, 1}},
    };
    setLog({.details = 0});
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        EXPECT_THAT(planesOf(row.attributes, row.located), ElementsAreArray(row.planes));
        EXPECT_EQ(info.format, row.attributes.format);
        EXPECT_EQ(info.widthInPixels, row.attributes.width);
        EXPECT_EQ(info.heightInPixels, row.attributes.height);
        EXPECT_THAT(takeLog(), IsEmpty());
    }
}

TEST_F(DerivationTest, OnlyTheTwoFormatsThatNeedItAreLockedAndAProtectedOneIsNot) {
    for (const auto& [format, usage, locks] : {std::tuple(kNv21, ~kProtected, 1u),
                                               {kNv21, kProtected, 0u},
                                               {kYv12, kProtected, 1u},
                                               {0x1000, 0, 0u}}) {
        planesOf({.format = format, .width = 8, .height = 6, .usage = usage});
        EXPECT_EQ(journal().times("lock usage=3 rect=0,0,8,6 fence=-1"), locks) << format;
        journal().take();
    }
}

TEST_F(DerivationTest, APlaneWhoseSizeIsNotThatOfItsRowsIsReportedAndKept) {
    const struct {
        Attributes attributes;
        Located located;
        std::vector<std::string> warnings;
    } cases[] = {
            {{0x1, 0, 0, 10, 4, 160}, {}, {}},
            {{0x1, 0, 0, 10, 4, 161},
             {},
             {"checkPlaneSize] [RGBA_8888:0] sizeInBytes:161 != 40 x 4"}},
            // Chroma is held against half the rows, rounded down.
            {{0x1000, 0, 5, 8, 5}, {}, {"checkPlaneSize] [NV12:1] sizeInBytes:20 != 8 x 2"}},
            {{0x1000, 0, 4, 8, 4}, {}, {}},
            {{0x14, 0, 0, 504, 8, 8064},
             {},
             {"queryStaticInfo] [YCbCr_422_I] rowStrideInBytes:1008 is not a multiple of 32",
              "queryStaticInfo] [YCbCr_422_I] sizeInBytes:8064<rowStrideInBytes:1008*16"}},
            {{0x14, 0, 0, 512, 16, 16384}, {}, {}},
            {{0x14, 0, 0, 512, 16, 16383},
             {},
             {"checkPlaneSize] [YCbCr_422_I:0] sizeInBytes:16383 != 1024 x 16",
              "queryStaticInfo] [YCbCr_422_I] sizeInBytes:16383<rowStrideInBytes:1024*16"}},
            {{kYv12, 0, 0, 0, 4, 24}, {0, 16, 20, 4, 2}, {}},
            {{kYv12, 0, 0, 0, 4, 25},
             {0, 17, 22, 4, 2},
             {"checkPlaneSize] [YV12:0] sizeInBytes:17 != 4 x 4",
              "checkPlaneSize] [YV12:1] sizeInBytes:5 != 2 x 2",
              "checkPlaneSize] [YV12:2] sizeInBytes:3 != 2 x 2"}},
            // Checked before the aligned frame replaces the size, and not again.
            {{kYv12, 32, 32, 0, 4, 25, 0, kAlignedFrame},
             {0, 16, 20, 4, 2},
             {"checkPlaneSize] [YV12:2] sizeInBytes:5 != 2 x 2"}},
    };
    for (const auto& c : cases) {
        planesOf(c.attributes, c.located);
        std::vector<std::string> expected;
        for (const std::string& warning : c.warnings) {
            expected.push_back("W GrallocHelper [" + warning);
        }
        EXPECT_THAT(derivationLog(), ElementsAreArray(expected));
    }
}

TEST_F(DerivationTest, RulesLogInTheNameOfTheOperation) {
    setLog(kDebugLog);
    planesOf({0x20, 4, 3, 0, 3});
    EXPECT_THAT(derivationLog(), ElementsAre("D GrallocHelper [queryStaticInfo] set RAW16 stride: "
                                             "8, size: 24, row: 3"));
    planesOf({kNv21, 0, 0, 0, 2, 24}, {0, 16, 0, 8, 8});
    EXPECT_THAT(derivationLog(),
                ElementsAre("D GrallocHelper [gQueryYCbCr] 4.0: cr-y:16 cb-cr:1 y:0x70000000 "
                            "cb:0x70000011 cr:0x70000010 ystride:8 cstride:8 chroma_step:2 "
                            "status:0"));
}

TEST_F(DerivationTest, AFormatWithoutARuleAnswersMinus2AndAnUnresolvedOneTheUnknownError) {
    const std::tuple<int32_t, int, std::string> cases[] = {
            {0x2, -2, "Not support format: 0x2(RGBX_8888)"},
            {0x20363159, -2, "Not support format: 0x20363159(Y16)"},
            {-1, -2, "Not support format: 0xffffffff()"},
            {0x23, kUnknownError, "format from plexa_query should not be: 0x23(YCbCr_420_888)"},
    };
    for (const auto& [format, result, line] : cases) {
        describeBuffers({.format = format, .width = 1, .height = 1});
        info.format = 77;
        EXPECT_EQ(describe(), result);
        EXPECT_THAT(derivationLog(), ElementsAre("E GrallocHelper [queryStaticInfo] " + line));
        EXPECT_EQ(info.format, 77) << "the answer is written on success only";
    }
}

TEST_F(DerivationTest, EveryAttributeIsReadAlsoAfterAFailureAndTheResultsAreJoined) {
    describeBuffers({.format = 1});
    platformScript().queryResults = {{PLEXA_GET_FORMAT, 0x4}, {PLEXA_GET_BUFFER_FLAGS, 0x30}};
    EXPECT_EQ(describe(), kUnknownError);
    EXPECT_THAT(journal().take(),
                ElementsAre("plexa_query 15", "plexa_query 17", "plexa_query 10", "plexa_query 11",
                            "plexa_query 12", "plexa_query 13", "plexa_query 14", "plexa_query 52",
                            "plexa_query 12", "plexa_query 11"));
    EXPECT_THAT(takeLog(), ElementsAre(testing::MatchesRegex(
                                   "E GrallocHelper .gQueryExtra. Given buffer_handle_t:0x.*, "
                                   "plexa_query returns 52")));
}

TEST_F(DerivationTest, ABufferThatCannotBeLockedIsUnlockedAndEndsTheProcess) {
    describeBuffers({.format = kNv21, .width = 8, .height = 6});
    locate({});
    mapperScript().lockResult = 5;
    mapperScript().unlockResult = 2;  // so that the unlock is told
    const std::string location = R"( \(gQueryYCbCr\)\{#[0-9]+:utils/gralloc/GrallocHelper\})";
    EXPECT_FATAL(
            {
                setLog({.details = 5, .mode = 1});
                describe();
            },
            testing::ContainsRegex(
                    R"(\[unlock\] unlock\(0x[0-9a-f]+\) failed with 2 .*)"
                    "chroma_step:0 status:5\ntestLog ZelkCam/GrallocHelper 69\n"
                    R"(android 6 ZelkCam/GrallocHelper \[Fatal\] \[gQueryYCbCr\] status:-5\()"
                    R"(Unknown error -5\))" +
                    location + "\nassert\\(1\\) ZelkCam/GrallocHelper" + location + "\r\n"));
}

}  // namespace

}  // namespace zelkcam::test
