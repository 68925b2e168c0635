// The logging pattern, statement by statement; tests of the rooms check what they log with it.
#include "tests/support/Fixtures.h"
#include "utils/gralloc/Log.h"

namespace zelkcam::test {

namespace {

using NSCam::Utils::ULog::ULogger;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr char kLogTag[] = "ZelkCam/GrallocHelper";
constexpr char kSourcePath[] = "utils/gralloc/GrallocHelper";

class LogTest : public ScriptedTest {};

void logAtEveryLevel() {
    LOGD_AS("f", "D");
    LOGI_AS("f", "I");
    LOGW_AS("f", "W");
    LOGE_AS("f", "E");
}

// What gets through to the two outputs under these settings: "DIWE/DIWE" for all.
std::string through(const LogSettings& settings) {
    setLog(settings);
    logAtEveryLevel();
    std::string android, switchboard;
    for (const LogLine& line : takeRawLog()) {
        (line.switchboard ? switchboard : android) += line.text[strlen("[f] ")];
    }
    return android + "/" + switchboard;
}

TEST_F(LogTest, LevelsAndTheMaskGateWhatIsLogged) {
    const char* const byLevel[] = {"E/E", "E/E", "WE/WE", "IWE/IWE", "IWE/IWE", "DIWE/DIWE"};
    for (uint32_t level = 0; level < 6; ++level) {
        EXPECT_EQ(through({.details = level}), byLevel[level]) << level;
    }
    EXPECT_EQ(through({.details = ~0u}), "DIWE/DIWE") << "compared unsigned";
    for (const uint32_t open : {0x40001000u, 0x40002000u, 0x40004000u, ~0u}) {
        EXPECT_EQ(through({.details = 5, .mask = open}), "DIWE/DIWE") << std::hex << open;
    }
    for (const uint32_t shut : {0u, 0x7000u, 0x40000000u, 0x80007000u, ~0x7000u, ~0x40000000u}) {
        EXPECT_EQ(through({.details = 5, .mask = shut}), "WE/WE") << std::hex << shut;
    }
}

TEST_F(LogTest, TheModeChoosesTheOutputsIndependently) {
    for (uint32_t mode = 0; mode < 32; ++mode) {
        EXPECT_EQ(through({.details = 5, .mode = mode}),
                  std::string(mode & 1 ? "DIWE" : "") + "/" + (mode & 0xA ? "DIWE" : ""));
    }
}

TEST_F(LogTest, BothOutputsCarryLevelModuleAndTextAndOnlyAnAndroidErrorItsLocation) {
    setLog(kDebugLog);
    logAtEveryLevel();
    EXPECT_THAT(takeLog(), ElementsAre("D GrallocHelper [f] D", "I GrallocHelper [f] I",
                                       "W GrallocHelper [f] W", "E GrallocHelper [f] E"));

    LOGE("%d of %s", 3, "x");
    const int line = __LINE__ - 1;
    const std::vector<LogLine> lines = takeRawLog();
    EXPECT_EQ(lines.at(0).text, "[TestBody] 3 of x (TestBody){#" + std::to_string(line) +
                                        ":utils/gralloc/GrallocHelper}");
    EXPECT_EQ(lines.at(1).text, "[TestBody] 3 of x");
}

TEST_F(LogTest, ALineIsCutTo1023CharactersButTheLengthPassedOnIsTheUncutOne) {
    for (const size_t length : {1023, 1024, 5000}) {
        const std::string text(length - strlen("[f] "), 'x');
        LOGE_AS("f", "%s", text.c_str());
        const std::vector<LogLine> lines = takeRawLog();
        EXPECT_EQ(lines.at(1).length, static_cast<int32_t>(length));
        EXPECT_EQ(lines.at(1).text, ("[f] " + text).substr(0, 1023));
        EXPECT_GT(lines.at(0).text.size(), length) << "the Android line is not cut";
    }
}

TEST_F(LogTest, WithoutASwitchboardObjectTheSwitchboardGetsNothing) {
    setLog({.mode = 0x9, .object = false});
    LOGE_AS("f", "e");
    EXPECT_THAT(takeLog(), ElementsAre("E(android) GrallocHelper [f] e"));
}

TEST_F(LogTest, ArgumentsAreEvaluatedOnceForEachChosenOutput) {
    const std::pair<LogSettings, int> cases[] = {{kDebugLog, 2},
                                                 {{.details = 5, .mode = 0x1}, 1},
                                                 {{.details = 5, .mode = 0x4}, 0},
                                                 {{.details = 4}, 0}};
    for (const auto& [settings, times] : cases) {
        setLog(settings);
        int evaluated = 0;
        LOGD_AS("f", "%d", ++evaluated);
        EXPECT_EQ(evaluated, times);
    }
}

TEST_F(LogTest, AFatalStatementAsksPrintsAndAsserts) {
    setLog({.mode = 0x9});
    const auto location = R"(\(f\)\{#[0-9]+:utils/gralloc/GrallocHelper\})";
    EXPECT_FATAL(LOGF_AS("f", "gone %d", 4),
                 AllOf(ContainsRegex(std::string("testLog ZelkCam/GrallocHelper 69\n"
                                                 "android 6 ZelkCam/GrallocHelper "
                                                 "\\[Fatal\\] \\[f\\] gone 4 ") +
                                     location + "\nassert\\(1\\) ZelkCam/GrallocHelper " +
                                     location + "\r\n"),
                       Not(HasSubstr("switchboard"))));
    setErrorOutputWanted(false);
    EXPECT_FATAL(LOGF_AS("f", "gone"), AllOf(HasSubstr("assert(1)"), Not(HasSubstr("[Fatal]"))));
}

}  // namespace

}  // namespace zelkcam::test
