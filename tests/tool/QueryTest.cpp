// query and formats: the program's answers against the library's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Answers.h"
#include "utils/gralloc/IGrallocHelper.h"
#include "utils/gralloc/NameTables.h"

namespace zelkcam::test {

namespace {

Json planesOf(const zcam::GrallocStaticInfo& layout) {
    Json planes = Json::array();
    for (const auto& plane : layout.planes) {
        planes.push_back(
                {{"sizeInBytes", plane.sizeInBytes}, {"rowStrideInBytes", plane.rowStrideInBytes}});
    }
    return planes;
}

}  // namespace

TEST(Query, ListsWhatTheLibraryAnswersForEveryNamedFormat) {
    const NSCam::IGrallocHelper& helper = *NSCam::IGrallocHelper::singleton();
    const Json list = runForDocument({"formats", "1921x1083"})["formats"];
    ASSERT_EQ(list.size(), NSCam::gralloc::kPixelFormatNames.size());
    for (size_t i = 0; i < list.size(); ++i) {
        const auto& [code, name] = NSCam::gralloc::kPixelFormatNames[i];
        SCOPED_TRACE(name);
        const zcam::GrallocRequest request{0, code, 1921, 1083};
        zcam::GrallocStaticInfo layout;
        EXPECT_EQ(list[i]["format"], code);
        EXPECT_EQ(list[i]["formatName"], name);
        EXPECT_EQ(list[i]["status"], helper.query(&request, &layout));
        if (list[i]["status"] == 0) {
            EXPECT_EQ(list[i]["resolvedFormat"], layout.format);
            EXPECT_EQ(list[i]["planes"], planesOf(layout));
        }
    }
}

TEST(Query, AsksForTheUsageAndProbesAgainWhenForced) {
    const Words query{"query", "34", "640x480", "--usage", "HW_VIDEO_ENCODER", "--force"};
    const Json answer = runForDocument(query);
    EXPECT_EQ(answer["formatName"], "NV12");
    EXPECT_EQ(answer["request"]["usageName"], "0|HW_VIDEO_ENCODER");
    EXPECT_EQ(answer["request"]["formatName"], "IMPLEMENTATION_DEFINED");
}

TEST(Query, PutsTheHidlMappersPlanesBesideTheHelpers) {
    const Json document = runForDocument({"query", "NV12", "64x48", "--backend", "hidl"});
    const Json& mapper = document["mapper"]["planes"];
    ASSERT_EQ(mapper.size(), document["planes"].size());
    for (size_t i = 0; i < mapper.size(); ++i) {
        EXPECT_EQ(mapper[i]["sizeInBytes"], document["planes"][i]["sizeInBytes"]);
        EXPECT_EQ(mapper[i]["rowStrideInBytes"], document["planes"][i]["rowStrideInBytes"]);
    }
    EXPECT_EQ(mapper[1]["offsetInBytes"], mapper[0]["sizeInBytes"]);
    // The stable-C mapper describes the same buffer, and more of it.
    const Json& allocation = document["allocation"];
    EXPECT_EQ(allocation["planes"], mapper);
    EXPECT_EQ(allocation["sizeInBytes"], 64 * 48 * 3 / 2);
    EXPECT_EQ(allocation["fourccName"], "NV12");
    EXPECT_EQ(allocation["modifier"], 0);
    EXPECT_EQ(mapper[1]["components"][1],
              Json({{"name", "Cr"}, {"offsetInBits", 8}, {"sizeInBits", 8}}));
}

TEST(Query, AListOfRefusalsOnlyIsAFailure) {
    const Outcome refused = runTool({"formats", "2147483647x2147483647"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.out, testing::HasSubstr("status -12"));
}

// A picture of 10 x 10 in two hundred bytes, and as many behind the plane.
TEST(Query, WhatABufferCostsCountsItsTail) {
    grallocinfo::FormatRow row;
    row.answer.layout.format = 0x20203859;
    row.answer.layout.widthInPixels = row.answer.layout.heightInPixels = 10;
    row.answer.layout.planes = {{200, 20}};
    row.geometry = grallocinfo::geometryOf(row.answer.layout, 400);
    EXPECT_EQ(row.paddingPercent(), 75.0);
    EXPECT_EQ(row.bitsPerPixel(), 32.0);
}

}  // namespace zelkcam::test
