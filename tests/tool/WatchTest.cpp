// watch: the cache of a program, read from its log.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;

const Words kProgram{"query", "0x23", "1921x1083", "--usage", "0x20003", "--verbose"};

}  // namespace

TEST(Watch, ShowsTheEntriesOfAProgramWhicheverLogItWrites) {
    const ScratchFolder folder;
    const Json answer = runForDocument({"query", "0x23", "1921x1083", "--usage", "0x20003"});
    for (const char* const output : {"ZELKCAM_ULOG_MODE=1", "ZELKCAM_ULOG_MODE=2"}) {
        SCOPED_TRACE(output);
        writeContents(folder / "log", runTool(kProgram, {"ZELKCAM_ULOG_LEVEL=5", output}).err);
        const Json document = runForDocument({"watch", folder / "log"});
        // The request's own entry, and the one that serves the format it was resolved to.
        ASSERT_EQ(document["entries"].size(), 2u);
        const Json& entry = document["entries"][0];
        EXPECT_EQ(entry["request"], answer["request"]);
        EXPECT_EQ(entry["answer"]["formatName"], answer["formatName"]);
        EXPECT_EQ(entry["planes"], answer["planes"]);
        EXPECT_EQ(document["entries"][1]["request"]["formatName"], "YCrCb_420_SP");
        EXPECT_EQ(document["entries"][1]["request"]["usage"], 0);
    }
}

TEST(Watch, PrintsAnEntryForPeople) {
    const ScratchFolder folder;
    constexpr char kLed[] = "11-21 08:00:00.000  1 2 D ZelkCam/GrallocHelper: [dump] ";
    std::string log = "11-21 08:00:00.000  1 2 I Other: line\n";
    for (const char* const line :
         {"****", "!!!gralloc time: 57 us", "64x48 usage:0x00000000(0) format:0x00001000(NV12) -->",
          "64x48 usage:0x00000000(0) format:0x00001000(NV12)",
          "  [0] sizeInBytes:3072 rowStrideInBytes:64"}) {
        log += std::string(kLed) + line + "\n";
    }
    writeContents(folder / "log", log);
    EXPECT_EQ(runTool({"watch", folder / "log"}).out,
              "64x48 NV12 (0x1000)  usage 0 (0x0)\n"
              "  -> 64x48 NV12 (0x1000)  allocated in 57 us\n"
              "     plane 0  row stride 64  size 3072\n");
}

TEST(Watch, LinesThatBeginOrLookLikeADumpWithoutBeingOneAreLeftOut) {
    const ScratchFolder folder;
    writeContents(folder / "log",
                  "[dump]   [0] sizeInBytes:1 rowStrideInBytes:1\n"
                  "[dump] 1x1 usage:0x1(a) format:0x1(b)\n"
                  "[dump] 1x1 usage: format:\n[dump] \n[dump]" +
                          std::string(100000, '[') + "\n");
    EXPECT_TRUE(runForDocument({"watch", folder / "log"})["entries"].empty());
    EXPECT_TRUE(runForDocument({"watch"})["entries"].empty());
}

}  // namespace zelkcam::test
