// watch: the cache of a program, read from its log.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

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

// The log is a pipe that stays open, as that of a program that runs on.
TEST(Watch, ATerminatedWatchPrintsWhatItHasGot) {
    const ScratchFolder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    RunningTool watch({"watch", pipe, "--json"}, "");
    const int log = open(pipe.c_str(), O_WRONLY | O_CLOEXEC);
    constexpr char kEntry[] = "[dump] 64x48 usage:0x0(0) format:0x1000(NV12) -->\n";
    ASSERT_EQ(write(log, kEntry, sizeof(kEntry) - 1), ssize_t(sizeof(kEntry) - 1));
    for (int unread = 1; unread > 0; usleep(1000)) {
        ASSERT_EQ(ioctl(log, FIONREAD, &unread), 0);
    }
    const Outcome outcome = watch.end();
    close(log);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.document()["entries"].size(), 1u);
}

TEST(Watch, ALogThatCannotBeReadIsRefusedAndOneWithoutEntriesExplained) {
    const ScratchFolder folder;
    EXPECT_THAT(printedBy("grallocinfo watch <&- || echo $?", folder / ""),
                HasSubstr("cannot read standard input (Bad file descriptor)"));
    EXPECT_THAT(runTool({"watch"}).err, HasSubstr("ZELKCAM_ULOG_LEVEL=5"));
    // Without line ends, and larger than the memory that the program may take; a sanitizer's own
    // memory fits into no such limit.
    EXPECT_THAT(printedBy("limit='ulimit -v 300000'; ($limit; grallocinfo --version) >/dev/null "
                          "2>&1 && $limit; head -c 300000000 /dev/zero | grallocinfo watch; "
                          "echo status $?",
                          folder / ""),
                testing::EndsWith("status 0\n"));
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
