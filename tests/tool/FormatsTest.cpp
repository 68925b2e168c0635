// formats, and diff over what it prints.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"
#include "tools/grallocinfo/Answers.h"

namespace zelkcam::test {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

// The row of `name` in a formats document.
Json rowOf(const Json& document, const std::string& name) {
    for (const Json& row : document["formats"]) {
        if (row["formatName"] == name) {
            return row;
        }
    }
    ADD_FAILURE() << "no row for " << name;
    return {};
}

}  // namespace

TEST(Formats, TellsWhatABufferCostsAndWhatOfItIsPadding) {
    const Json document = runForDocument({"formats", "1920x1080"}, "formats");
    const Json rgba = rowOf(document, "RGBA_8888");
    EXPECT_EQ(rgba["allocationSizeInBytes"], 1920 * 1080 * 4);
    EXPECT_EQ(rgba["bitsPerPixel"], 32.0);
    EXPECT_EQ(rgba["paddingPercent"], 0.0);
    EXPECT_EQ(rowOf(document, "RAW_OPAQUE")["paddingPercent"], nullptr);  // the vendor's business

    // A picture of 10 x 10 in two hundred bytes, and as many behind the plane.
    grallocinfo::FormatRow row;
    row.answer.layout.format = 0x20203859;
    row.answer.layout.widthInPixels = row.answer.layout.heightInPixels = 10;
    row.answer.layout.planes = {{200, 20}};
    row.geometry = grallocinfo::geometryOf(row.answer.layout, 400);
    EXPECT_EQ(row.paddingPercent(), 75.0);
    EXPECT_EQ(row.bitsPerPixel(), 32.0);
}

TEST(Diff, PrintsWhatMovedAndNothingElse) {
    const ScratchFolder folder;
    Json before = runForDocument({"formats", "64x64"}, "formats");
    writeContents(folder / "a.json", before.dump());
    for (Json& row : before["formats"]) {
        if (row["formatName"] == "YV12") {
            row["planes"][1]["rowStrideInBytes"] = 48;
            row["paddingPercent"] = 12.5;  // follows from the others, and is not compared
        }
        if (row["formatName"] == "Y16") {
            row["status"] = -12;
        }
    }
    writeContents(folder / "b.json", before.dump());
    EXPECT_EQ(runTool({"diff", folder / "a.json", folder / "b.json"}).out,
              "Y16 (0x20363159)\n"
              "  status  -2 -> -12\n"
              "YV12 (0x32315659)\n"
              "  planes/1/rowStrideInBytes  32 -> 48\n");
    const Json document = runForDocument({"diff", folder / "a.json", folder / "b.json"}, "diff");
    ASSERT_EQ(document["differences"].size(), 2u);
    EXPECT_EQ(document["differences"][1]["field"], "/planes/1/rowStrideInBytes");
    EXPECT_EQ(document["differences"][1]["a"], 32);
    EXPECT_EQ(document["differences"][1]["b"], 48);
    EXPECT_EQ(runTool({"diff", folder / "a.json", folder / "a.json"}).out,
              "no difference in 20 formats\n");
}

TEST(Diff, AFormatThatOneSideLacksIsADifference) {
    const ScratchFolder folder;
    Json document = runForDocument({"formats", "64x64"}, "formats");
    writeContents(folder / "a.json", document.dump());
    document["formats"].erase(document["formats"].begin());
    writeContents(folder / "b.json", document.dump());
    const Outcome lost = runTool({"diff", folder / "a.json", folder / "b.json", "--exit-code"});
    EXPECT_EQ(lost.status, 1);
    EXPECT_THAT(lost.out, HasSubstr("  format  1 -> nothing\n"));
    EXPECT_THAT(lost.err, IsEmpty());
    const Outcome gained = runTool({"diff", folder / "b.json", folder / "a.json"});
    EXPECT_EQ(gained.status, 0);
    EXPECT_THAT(gained.out, HasSubstr("  format  nothing -> 1\n"));
    EXPECT_EQ(runTool({"diff", folder / "a.json", folder / "a.json", "--exit-code"}).status, 0);
}

TEST(Diff, WhatCannotBeComparedIsRefused) {
    const ScratchFolder folder;
    Json document = runForDocument({"formats", "64x64"}, "formats");
    writeContents(folder / "a.json", document.dump());
    document["formats"] = {{{"format", "RGBA_8888"}}};
    const std::string nameless = document.dump();
    document["height"] = 65;
    const std::string request = R"("schemaVersion": 1, "width": 64, "height": 64, "usage": 0)";
    const std::string deep = "{" + request + R"(, "formats": [{"format": 1, "planes": )" +
                             std::string(200000, '[') + std::string(200000, ']') + "}]}";
    const std::pair<std::string, const char*> kFiles[] = {
            {document.dump(), "height 64 and 65"},
            {nameless, "a format without a code"},
            {deep, "of schema version 1"},
            {"{" + request + "}", "of schema version 1"},
            {R"({"schemaVersion": 1, "formats": []})", "of schema version 1"},
            {"[]", "of schema version 1"}};
    for (const auto& [contents, expected] : kFiles) {
        writeContents(folder / "b.json", contents);
        const Outcome outcome = runTool({"diff", folder / "a.json", folder / "b.json"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("expected "), HasSubstr(expected)));
    }
}

}  // namespace zelkcam::test
