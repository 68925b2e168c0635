// Arguments, exit status, and what goes to which stream.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kNoServices[] = "ZELKCAM_HOST_SERVICES=none";

size_t linesOf(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

struct UnusableCase {
    Words arguments;
    const char* expected;  // what the line names
};

const UnusableCase kUnusable[] = {
        {{}, "one of query, formats, name, list, info"},
        {{"bogus"}, "'bogus' is not a command: expected a command, one of query, formats"},
        {{"query", "NV12"}, "grallocinfo query FORMAT WIDTHxHEIGHT"},
        {{"query", "NV13", "64x64"}, "did you mean NV12?"},
        {{"query", "RGB8888", "64x64"}, "did you mean RGB_888?"},
        {{"query", "", "64x64"}, "a number from 0 to 0xffffffff"},
        {{"query", std::string(9999, 'A'), "64x64"}, "a number from 0 to 0xffffffff"},
        {{"query", "NV12", "0x0"}, "WIDTHxHEIGHT"},
        {{"query", "NV12", "1x18446744073709551617"}, "WIDTHxHEIGHT"},
        {{"query", "NV12", "64x64x64"}, "WIDTHxHEIGHT"},
        {{"query", "NV12", "64x64", "--usage", "HW_TEXTURE|HW_RENDRE"}, "did you mean HW_RENDER?"},
        {{"query", "NV12", "64x64", "--usage", "SW_READ_OFTEN|"}, "names joined by '|'"},
        {{"query", "NV12", "64x64", "--backend", "gl"}, "aidl or hidl"},
        {{"query", "NV12", "64x64", "--svg", ""}, "grallocinfo query"},
        {{"query", "NV12", "64x64", "--json", "--draw"}, "the document has a picture's numbers"},
        {{"list", "colours"}, "formats, usages or dataspaces"},
        {{"diff", "-", "/nonexistent/b.json"}, "grallocinfo formats --json"},
        {{"name", "--format", "1", "--usage", "1"}, "grallocinfo name"},
        {{"name", "--dataspace", "-2147483649"}, "a number of 32 bits"},
        {{"name", "--dataspace", "STANDARD_BT2021"}, "names joined by '|'"},
        {{"diff", "/nonexistent/a.json", "/nonexistent/b.json"}, "grallocinfo formats --json"},
        {{"watch", "/tmp"}, "a log file"},
        {{"share", "NV12", "64x64"}, "grallocinfo share FORMAT WIDTHxHEIGHT SOCKET-PATH"},
        {{"share", "NV12", "64x64", std::string(200, 's')}, "a path for a new socket"},
        {{"run"}, "grallocinfo run [OPTIONS] -- PROGRAM [ARGUMENT...]"},
        {{"run", "--profile", "/nonexistent/profile", "--", "true"}, "or a file"},
        {{"run", "--profile", "/etc/passwd", "--", "true"}, "expected a profile"},
        {{"profile", "show"}, "grallocinfo profile show PROFILE"},
        {{"profile"}, "one of record, show, list"},
        {{"run", "--", "/nonexistent/program"}, "a program and its arguments"},
        {{"attach", "/nonexistent/socket"}, "one that a buffer is served at"},
        {{"attach", "/nonexistent/socket", "--fill", "plaid"}, "bars|ramp|checker"},
        {{"attach", "s", "--fill", "bars", "--load", "p"}, "grallocinfo attach SOCKET-PATH"},
        {{"attach", "s", "--png", "-", "--raw", "-"}, "files for the others"},
};

}  // namespace

TEST(CommandLine, UnusableArgumentsGetOneLineThatNamesWhatWasExpected) {
    for (const UnusableCase& unusable : kUnusable) {
        SCOPED_TRACE(testing::PrintToString(unusable.arguments));
        Words arguments = unusable.arguments;
        const bool takesJson = arguments.empty() || arguments[0] != "run";
        if (takesJson) {
            arguments.insert(arguments.begin() + (arguments.empty() ? 0 : 1), "--json");
        }
        const Outcome outcome = runTool(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(linesOf(outcome.err), 1u) << outcome.err;
        EXPECT_THAT(outcome.err, AllOf(StartsWith("grallocinfo: "), HasSubstr("expected "),
                                       HasSubstr(unusable.expected)));
        if (takesJson) {
            EXPECT_EQ(outcome.document()["error"]["code"], "UNUSABLE_ARGUMENTS");
        }
    }
    EXPECT_THAT(runTool({"query", "NV12"}).out, IsEmpty());
}

TEST(CommandLine, FailuresOfTheLibraryGiveTheirStatusAndMeaning) {
    const ScratchFolder folder;
    writeContents(folder / "mapper.default.so", "no library");
    const std::string brokenMapper = "ZELKCAM_HOST_SPHAL_PATH=" + folder / "";
    constexpr char kNoAllocator[] = "there is no graphics allocator service";
    const struct {
        Words arguments;
        Words environment;
        const char* code;
        Json status;
        const char* sentence;
    } kCases[] = {
            {{"query", "NV12", "2147483647x2147483647"},
             {},
             "ALLOCATION_REFUSED",
             -12,
             "answered -12: the allocator refused"},
            {{"query", "NV12", "64x64"}, {kNoServices}, "NO_ALLOCATOR_SERVICE", -12, kNoAllocator},
            {{"formats"}, {kNoServices}, "NO_ALLOCATOR_SERVICE", -12, kNoAllocator},
            {{"share", "NV12", "64x64", folder / "s"},
             {kNoServices},
             "NO_ALLOCATOR_SERVICE",
             nullptr,
             kNoAllocator},
            {{"query", "NV12", "64x64"},
             {brokenMapper},
             "LIBRARY_ENDED_PROCESS",
             nullptr,
             "android_load_sphal_library fail"},
    };
    for (const auto& [arguments, environment, code, status, sentence] : kCases) {
        SCOPED_TRACE(testing::PrintToString(arguments) + code);
        const Json error = runForDocument(arguments, environment, 1)["error"];
        EXPECT_EQ(error["code"], code);
        EXPECT_EQ(error["status"], status);
        EXPECT_THAT(error["message"].get<std::string>(), HasSubstr(sentence));
    }
}

// The backend's line, two of the helper's and the tool's sentence.
TEST(CommandLine, AMissingServiceIsReportedOnceAndNotForEveryFormat) {
    const Outcome outcome = runTool({"formats"}, {kNoServices});
    EXPECT_EQ(linesOf(outcome.err), 4u) << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr("ZelkCam/GrallocAllocatorAidlV2 E "));
    EXPECT_THAT(outcome.out, IsEmpty());
}

// Half a chroma row is left over, about which the library warns.
TEST(CommandLine, TheLibrarysWarningsAreKeptBackUnlessVerbose) {
    const Words query{"query", "YV12", "1921x1083"};
    const Words loud{"ZELKCAM_ULOG_MODE=2", "ZELKCAM_ULOG_LEVEL=5"};
    EXPECT_THAT(runTool(query, loud).err, IsEmpty());
    const Outcome verbose = runTool({"query", "YV12", "1921x1083", "--verbose"});
    EXPECT_THAT(verbose.err, HasSubstr("ZelkCam/GrallocHelper W "));
    EXPECT_EQ(verbose.out, runTool(query).out);
}

TEST(CommandLine, OutputThatCannotBeWrittenIsAFailure) {
    const ScratchFolder folder;
    EXPECT_EQ(runTool({"query", "NV12", "64x64", "--svg", folder / "no/such.svg"}).status, 2);
    const Words kCommands[] = {{"query", "NV12", "64x64", "--svg", "/dev/full"},
                               {"query", "YV12", "1921x1083", "--draw"},
                               {"formats", "--json"},
                               {"query", "--help"},
                               {"--version"}};
    for (const Words& command : kCommands) {
        SCOPED_TRACE(testing::PrintToString(command));
        const Outcome full = runInto("/dev/full", command);
        EXPECT_EQ(full.status, 1);
        EXPECT_THAT(full.err, HasSubstr(": No space left on device\n"));
        EXPECT_EQ(linesOf(full.err), 1u);
    }
}

TEST(CommandLine, AFileAppearsWholeOrNotAtAllAndADashIsAStandardStream) {
    const ScratchFolder folder;
    writeContents(folder / "raw", "as it was");
    RunningTool server({"share", "NV12", "64x48", folder / "socket"}, "serving");
    const std::string printed =
            printedBy("trap '' XFSZ; ulimit -f 1; grallocinfo attach socket --raw raw; echo $?; ls",
                      folder / "");
    EXPECT_THAT(printed,
                AllOf(HasSubstr("cannot write"), testing::EndsWith("1\nprinted\nraw\nsocket\n")));
    EXPECT_EQ(contentsOf(folder / "raw"), "as it was");
    EXPECT_THAT(printedBy("grallocinfo query NV12 64x48 --svg -", folder / ""),
                AllOf(StartsWith("<svg "), testing::EndsWith("</svg>\n")));
    EXPECT_EQ(printedBy("touch p.svg; ln -s p.svg link; grallocinfo query NV12 64x48 --svg link "
                        ">text && "
                        "test -L link && head -c 4 p.svg; grallocinfo formats 64x64 --json >a.json;"
                        "grallocinfo formats 64x64 --json | grallocinfo diff - a.json",
                        folder / ""),
              "<svgno difference in 20 formats\n");
}

}  // namespace zelkcam::test
