// diff over what formats prints.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::AllOf;
using testing::HasSubstr;

}  // namespace

TEST(Diff, PrintsWhatMovedAndNothingElse) {
    const ScratchFolder folder;
    Json list = runForDocument({"formats", "64x64"});
    writeContents(folder / "a.json", list.dump());
    list["formats"].erase(list["formats"].begin());
    for (Json& row : list["formats"]) {
        if (row["formatName"] == "YV12") {
            row["planes"][1]["rowStrideInBytes"] = 48;
            row["paddingPercent"] = 12.5;  // follows from the others, and is not compared
        }
    }
    writeContents(folder / "b.json", list.dump());
    const Outcome moved = runTool({"diff", folder / "a.json", folder / "b.json", "--exit-code"});
    EXPECT_EQ(moved.status, 1);
    EXPECT_THAT(moved.out, AllOf(HasSubstr("  format  1 -> nothing\n"),
                                 testing::EndsWith("YV12 (0x32315659)\n"
                                                   "  planes/1/rowStrideInBytes  32 -> 48\n")));
    const Json back = runForDocument({"diff", folder / "b.json", folder / "a.json"})["differences"];
    EXPECT_EQ(back.back()["field"], "/planes/1/rowStrideInBytes");
    EXPECT_EQ(back.back()["a"], 48);
    EXPECT_EQ(back.back()["b"], 32);
    const Outcome same = runTool({"diff", folder / "a.json", folder / "a.json", "--exit-code"});
    EXPECT_EQ(same.status, 0);
    EXPECT_EQ(same.out, "no difference in 20 formats\n");
}

TEST(Diff, WhatCannotBeComparedIsRefused) {
    const ScratchFolder folder;
    Json document = runForDocument({"formats", "64x64"});
    writeContents(folder / "a.json", document.dump());
    document["formats"] = {{{"format", "RGBA_8888"}}};
    const std::string nameless = document.dump();
    document["height"] = 65;
    const std::string request = R"("width": 64, "height": 64, "usage": 0)";
    const std::string version = R"(, "schemaVersion": )" + document["schemaVersion"].dump();
    const std::string deep = "{" + request + version + R"(, "formats": [{"format": 1, "planes": )" +
                             std::string(200000, '[') + std::string(200000, ']') + "}]}";
    constexpr char kExpected[] = "expected what 'grallocinfo formats --json' printed";
    const std::pair<std::string, const char*> kFiles[] = {
            {document.dump(), "height 64 and 65"},
            {nameless, "a format without a code"},
            {deep, kExpected},
            {"{" + request + version + "}", kExpected},
            {"{" + request + R"(, "schemaVersion": 99, "formats": []})", kExpected},
            {"[]", kExpected}};
    for (const auto& [contents, expected] : kFiles) {
        writeContents(folder / "b.json", contents);
        const Outcome outcome = runTool({"diff", folder / "a.json", folder / "b.json"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, AllOf(HasSubstr("expected "), HasSubstr(expected)));
    }
}

}  // namespace zelkcam::test
