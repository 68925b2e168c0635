// query: the program's answer against the library's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/NameTables.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;

Json planesOf(const zcam::GrallocStaticInfo& layout) {
    Json planes = Json::array();
    for (const auto& plane : layout.planes) {
        planes.push_back(
                {{"sizeInBytes", plane.sizeInBytes}, {"rowStrideInBytes", plane.rowStrideInBytes}});
    }
    return planes;
}

std::string hexOf(int32_t code) {
    char text[20];
    snprintf(text, sizeof(text), "0x%x", static_cast<uint32_t>(code));
    return text;
}

void expectLayout(const Json& document, const zcam::GrallocStaticInfo& layout) {
    EXPECT_EQ(document["format"], layout.format);
    EXPECT_EQ(document["formatHex"], hexOf(layout.format));
    EXPECT_EQ(document["width"], layout.widthInPixels);
    EXPECT_EQ(document["height"], layout.heightInPixels);
    EXPECT_EQ(document["planes"], planesOf(layout));
}

}  // namespace

TEST(Query, AnswersAndListsWhatTheLibraryAnswersForEveryNamedFormat) {
    const NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    const Json list = runForDocument({"formats", "1921x1083"}, "formats")["formats"];
    ASSERT_EQ(list.size(), NSCam::gralloc::kPixelFormatNames.size());
    for (size_t i = 0; i < list.size(); ++i) {
        const auto& [code, name] = NSCam::gralloc::kPixelFormatNames[i];
        const Json& row = list[i];
        SCOPED_TRACE(name);
        const zcam::GrallocRequest request{0, code, 1921, 1083};
        zcam::GrallocStaticInfo layout;
        const int status = helper.query(&request, &layout);
        const Json document = runForDocument({"query", std::string(name), "1921x1083"},
                                             status == 0 ? "query" : "failure");
        EXPECT_EQ(row["format"], code);
        EXPECT_EQ(row["formatName"], name);
        EXPECT_EQ(row["status"], status);
        if (status == 0) {
            expectLayout(document, layout);
            EXPECT_EQ(row["resolvedFormat"], layout.format);
            EXPECT_EQ(row["planes"], planesOf(layout));
        } else {
            EXPECT_EQ(document["error"]["status"], status);
            EXPECT_EQ(row["error"]["code"], document["error"]["code"]);
        }
    }
}

TEST(Query, TakesFormatsAndUsagesAsNumbersAndAsNames) {
    const Json byName = runForDocument(
            {"query", "IMPLEMENTATION_DEFINED", "640x480", "--usage", "HW_VIDEO_ENCODER"}, "query");
    EXPECT_EQ(byName["formatName"], "NV12");
    EXPECT_EQ(byName["request"]["usageHex"], "0x10000");
    EXPECT_EQ(byName["request"]["usageName"], "0|HW_VIDEO_ENCODER");
    for (const Words& same :
         {Words{"query", "0x22", "640x480", "--usage", "0x10000"},
          Words{"query", "34", "640x480", "--usage", "65536"},
          Words{"query", "34", "640x480", "--usage", "0|HW_VIDEO_ENCODER", "--force"}}) {
        EXPECT_EQ(runForDocument(same, "query"), byName);
    }
}

TEST(Query, HoldsTheHidlMappersPlanesAgainstTheHelpers) {
    const Json document = runForDocument({"query", "NV12", "64x48", "--backend", "hidl"}, "query");
    ASSERT_TRUE(document.contains("mapper"));
    const Json& mapper = document["mapper"]["planes"];
    ASSERT_EQ(mapper.size(), document["planes"].size());
    uint64_t offset = 0;
    for (size_t i = 0; i < mapper.size(); ++i) {
        const Json& plane = document["planes"][i];
        EXPECT_EQ(mapper[i]["sizeInBytes"], plane["sizeInBytes"]);
        EXPECT_EQ(mapper[i]["rowStrideInBytes"], plane["rowStrideInBytes"]);
        EXPECT_EQ(mapper[i]["offsetInBytes"], offset);
        offset += plane["sizeInBytes"].get<uint64_t>();
    }
    EXPECT_EQ(mapper[1]["components"], "Cb@0:8 Cr@8:8");
    const std::string text = runTool({"query", "NV12", "64x48", "--backend", "hidl"}).out;
    EXPECT_THAT(text, HasSubstr("Cb@0:8 Cr@8:8  same"));
}

}  // namespace zelkcam::test
