// What each format's rule makes of a buffer's attributes, driven through the query by handle.
#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Where the mapper locates the planes of a locked format.
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
    // Each plane's size and row stride, as signed numbers.
    std::string planesOf(const Attributes& attributes, const Located& located = {}) {
        helper->clearMap();
        describeBuffers(attributes);
        locate(located);
        EXPECT_EQ(describe(), 0);
        std::ostringstream text;
        for (const auto& plane : info.planes) {
            text << int64_t(plane.sizeInBytes) << "/" << int64_t(plane.rowStrideInBytes) << " ";
        }
        return text.str();
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
    const struct {
        Attributes attributes;  // format, width, height, stride, vertical stride, allocation, ...
        const char* planes;
        Located located = {};
    } rows[] = {
            {{0x1, 1900, 1080, 1920, 1088, 8400000}, "8400000/7680 "},
            {{0x3, 0, 0, 1920, 0, 7}, "7/5760 "},
            {{0x5, 0, 0, 1920, 0, 7}, "7/7680 "},
            {{0x14, 0, 0, 1920, 0, 7}, "7/3840 "},
            {{0x21, 0, 0, 4096, 0, 7}, "7/4096 "},
            {{0x24, 0, 0, 4096, 0, 7}, "7/4096 "},
            {{0x20203859, 0, 0, 4096, 0, 7}, "7/4096 "},
            // Attributes are read as 32 bits and widened with zeros.
            {{0x1, 0, 0, -1, 0, -1}, "4294967295/17179869180 "},
            // 10 bits packed; the opaque format in units of 64 pixels.
            {{0x22, 0, 0, 4000, 0, 7}, "7/5000 "},
            {{0x111, 0, 0, 4000, 0, 7}, "7/5040 "},
            {{0x111, 0, 0, 4033, 0, 7}, "7/5120 "},
            {{0x111, 0, 0, -1, 0, 7}, "7/5368709120 "},
            // RAW10 counts in 64 bits, by the first reads of height and stride.
            {{0x25, 0, -1, -1}, "-8589934591/4294967295 "},
            {{0x25, 0, 4, 5, 0, 0, 0, 0, 9, 9}, "20/5 "},
            // RAW16 does not look at the stride. Its row wraps at 32 bits, its size does not.
            {{0x20, 4000, 3000, 4096}, "24000000/8000 "},
            {{0x20, 0x40000000, 2}, "-4294967296/-2147483648 "},
            {{0x20, INT32_MAX, 3}, "-6/-2 "},
            // NV12 and P010 go by the second reads; only their chroma wraps.
            {{0x1000, 1900, 1080, 1920}, "2073600/1920 1036800/1920 "},
            {{0x1000, 0, 1080, 1920, 0, 0, 0, 0, 3, 3}, "9/3 4/3 "},
            {{0x1000, 0, 0x8000, 0x10000}, "2147483648/65536 -1073741824/65536 "},
            {{0x36, 0, 1080, 1920}, "4147200/3840 2073600/3840 "},
            {{0x36, 0, 1080, 1920, 0, 0, 0, 0, 3, 5}, "30/3840 15/3840 "},
            {{0x36, 0, 1, -1}, "-2/8589934590 -1/8589934590 "},
            {{0x36, 0, 0x8000, 0x10000}, "4294967296/131072 0/131072 "},
            // The located formats: distances, and the rest of the allocation.
            {{kNv21, 0, 3, 9, 0, 0, kProtected, 0, 5}, "15/5 7/5 "},
            {{kNv21, 64, 32, 99, 0, 4000}, "2176/64 1824/96 ", {64, 2240, 0, 64, 96}},
            {{kNv21, 0, 0, 0, 0, 100}, "-64/8 164/16 ", {64, 0, 0, 8, 16}},
            {{kYv12, 0, 0, 0, 0, 5000}, "1000/32 300/16 3700/16 ", {10, 1010, 1310, 32, 16}},
            {{kYv12, 0, 0, 0, 0, 5000}, "1300/32 -300/16 4000/16 ", {0, 1300, 1000, 32, 16}},
            // The aligned frame: ordinary, of nothing, beyond 32 bits, and with every other flag.
            {{kYv12, 1920, 1080, 0, 0, 1, 0, kAlignedFrame},
             "1000/32 300/16 3132140/16 ",
             {0, 1000, 1300, 32, 16}},
            {{kYv12, 0, 0, 0, 0, 0, 0, kAlignedFrame}, "1/1 1/1 -2/1 ", {0, 1, 2, 1, 1}},
            {{kYv12, 65536, 32768, 0, 0, 0, 0, kAlignedFrame},
             "1/1 1/1 -1073741826/1 ",
             {0, 1, 2, 1, 1}},
            {{kYv12, 0, 0, 0, 0, 9, 0, ~kAlignedFrame}, "1/1 1/1 7/1 ", {0, 1, 2, 1, 1}},
    };
    setLog({.details = 0});
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows);
        EXPECT_EQ(planesOf(row.attributes, row.located), row.planes);
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
        std::vector<std::string> warnings;
        Located located = {};
    } cases[] = {
            {{0x1, 0, 0, 10, 4, 160}, {}},
            {{0x1, 0, 0, 10, 4, 161}, {"[RGBA_8888:0] sizeInBytes:161 != 40 x 4"}},
            // Chroma is checked against half the rows, rounded down.
            {{0x1000, 0, 5, 8, 5}, {"[NV12:1] sizeInBytes:20 != 8 x 2"}},
            {{0x14, 0, 0, 504, 8, 8064},
             {"[YCbCr_422_I] rowStrideInBytes:1008 is not a multiple of 32",
              "[YCbCr_422_I] sizeInBytes:8064<rowStrideInBytes:1008*16"}},
            {{0x14, 0, 0, 512, 16, 16384}, {}},
            {{kYv12, 0, 0, 0, 4, 24}, {}, {0, 16, 20, 4, 2}},
            {{kYv12, 0, 0, 0, 4, 25},
             {"[YV12:0] sizeInBytes:17 != 4 x 4", "[YV12:1] sizeInBytes:5 != 2 x 2",
              "[YV12:2] sizeInBytes:3 != 2 x 2"},
             {0, 17, 22, 4, 2}},
            // Checked before the aligned frame replaces the size, and not again.
            {{kYv12, 32, 32, 0, 4, 25, 0, kAlignedFrame},
             {"[YV12:2] sizeInBytes:5 != 2 x 2"},
             {0, 16, 20, 4, 2}},
    };
    for (const auto& c : cases) {
        planesOf(c.attributes, c.located);
        std::vector<std::string> log = derivationLog();
        for (std::string& line : log) {
            // The format's own warnings are logged in the name of the operation.
            const bool isOwn = line.find("[YCbCr_422_I]") != std::string::npos;
            const std::string start = isOwn ? "W GrallocHelper [queryStaticInfo] "
                                            : "W GrallocHelper [checkPlaneSize] ";
            EXPECT_TRUE(line.starts_with(start)) << line;
            line.erase(0, start.size());
        }
        EXPECT_EQ(log, c.warnings);
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
