// Programs run under device profiles.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/Tool.h"

namespace zelkcam::test {

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr char kPrintProfile[] = "echo \"<$ZELKCAM_HOST_PROFILE>\"";

}  // namespace

TEST(Run, GivesTheProgramItsProfileAndPrintsHowEachRunEnded) {
    const ScratchFolder folder;
    writeContents(folder / "phone.json", contentsOf(PROFILES_FOLDER "/aligned-64.json"));
    const std::string phone = folder / "phone.json";
    const Outcome both = runTool(
            {"run", "--profile", "default", "--profile", phone, "--", "sh", "-c", kPrintProfile});
    EXPECT_EQ(both.status, 0) << both.err;
    EXPECT_THAT(both.out, StartsWith("<default>\n<" + phone + ">\nprofile "));
    EXPECT_THAT(both.out, HasSubstr("\n" + phone + "  exit 0"));
    const Outcome inherited =
            runTool({"run", "--", "sh", "-c", kPrintProfile}, {"ZELKCAM_HOST_PROFILE=strict"});
    EXPECT_THAT(inherited.out, StartsWith("<strict>\n"));
}

TEST(Run, FailsWhenOneRunDoes) {
    const ScratchFolder folder;
    writeContents(folder / "last", contentsOf(PROFILES_FOLDER "/aligned-64.json"));
    const Outcome first = runTool({"run", "--profile", "default", "--profile", folder / "last",
                                   "--", "sh", "-c", "test $ZELKCAM_HOST_PROFILE != default"});
    EXPECT_EQ(first.status, 1);
    EXPECT_THAT(first.out, MatchesRegex("profile.*\ndefault +exit 1 .*\n.*/last +exit 0 .*\n"));
    const Outcome killed = runTool({"run", "--", "sh", "-c", "kill -SEGV $$"});
    EXPECT_EQ(killed.status, 1);
    EXPECT_THAT(killed.out, HasSubstr("signal 11 (Segmentation fault)"));
}

// The example of docs/profiles.md: right everywhere, and with its bug where rows are not padded.
TEST(Run, OfTheExampleTearsThePictureWhereItsBugShows) {
    const ScratchFolder folder;
    const auto picture = [&](const std::string& profile, const Words& bug) {
        Words words{"run", "--profile", profile, "--", CAMERA_CLIENT_FILE, folder / "picture.png"};
        words.insert(words.end(), bug.begin(), bug.end());
        EXPECT_EQ(runTool(words).status, 0) << profile;
        return contentsOf(folder / "picture.png");
    };
    const std::string right = picture("default", {});
    for (const char* const profile : {"aligned-64", "aligned-128", "compressing", "strict"}) {
        EXPECT_EQ(picture(profile, {}), right) << profile;
    }
    EXPECT_EQ(picture("default", {"--width-as-stride"}), right);
    EXPECT_NE(picture("aligned-128", {"--width-as-stride"}), right);
}

TEST(Run, ThatIsToldToEndTakesTheProgramAlongAndRunsNoOther) {
    for (const char* const program :
         {"echo on; exec sleep 60", "trap 'exit 0' TERM; echo on; while :; do sleep 0.1; done"}) {
        RunningTool tool({"run", "--profile", "all", "--", "sh", "-c", program}, "on\n");
        const Outcome ended = tool.end();  // when nobody has its output open
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.out, MatchesRegex("profile .*\ndefault +(signal 15|exit 0).*\n"));
        EXPECT_THAT(ended.out, testing::Not(HasSubstr("aligned-64")));
    }
}

TEST(Run, HandsTheArgumentsOverAsTheyAre) {
    const Words given{"", "[a,b]", "-5", " -5", "--json", "--", "--help", "a b", "%%"};
    Words words{"run", "--profile", "default", "--", "printf", "<%s>"};
    words.insert(words.end(), given.begin(), given.end());
    std::string expected;
    for (const std::string& word : given) {
        expected += "<" + word + ">";
    }
    EXPECT_THAT(runTool(words).out, StartsWith(expected + "profile"));
}

}  // namespace zelkcam::test
