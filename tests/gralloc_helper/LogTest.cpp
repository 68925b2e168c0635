// The logging pattern, statement by statement; tests of the rooms check what they log with it.
#include "utils/gralloc/Log.h"

#include "tests/support/DoublesTest.h"

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

class LogTest : public DoublesTest {};

void logAtEveryLevel() {
    LOGD_AS("f", "d");
    LOGI_AS("f", "i");
    LOGW_AS("f", "w");
    LOGE_AS("f", "e");
}

// The levels that got through, "DIWE" for all.
std::string letters(const std::vector<LogLine>& lines, bool switchboard) {
    std::string found;
    for (const LogLine& line : lines)
        if (line.switchboard == switchboard)
            found += static_cast<char>(toupper(line.text[strlen("[f] ")]));
    return found;
}

TEST_F(LogTest, LevelsAndTheMaskGateWhatIsLogged) {
    constexpr uint32_t kOn = 0x40000000;
    const struct {
        uint32_t details, mask;
        const char* expected;
    } cases[] = {
            {0, 0x40007000, "E"},
            {1, 0x40007000, "E"},
            {2, 0x40007000, "WE"},
            {3, 0x40007000, "IWE"},
            {4, 0x40007000, "IWE"},
            {5, 0x40007000, "DIWE"},
            {0xFFFFFFFF, 0x40007000, "DIWE"},  // compared unsigned
            {5, 0x00007000, "WE"},
            {5, kOn, "WE"},
            {5, kOn | 0x1000, "DIWE"},
            {5, kOn | 0x2000, "DIWE"},
            {5, kOn | 0x4000, "DIWE"},
            {5, ~uint32_t{0x7000}, "WE"},
            {5, ~kOn, "WE"},
            {5, 0x80007000, "WE"},
            {0, 0, "E"},
    };
    for (const auto& c : cases) {
        setLog({.details = c.details, .mask = c.mask});
        logAtEveryLevel();
        const std::vector<LogLine> lines = takeRawLog();
        EXPECT_EQ(letters(lines, false), c.expected) << c.details << " " << std::hex << c.mask;
        EXPECT_EQ(letters(lines, true), c.expected) << c.details << " " << std::hex << c.mask;
    }
}

TEST_F(LogTest, TheModeChoosesTheOutputsIndependently) {
    for (uint32_t mode = 0; mode < 32; ++mode) {
        setLog({.details = 5, .mode = mode});
        logAtEveryLevel();
        const std::vector<LogLine> lines = takeRawLog();
        EXPECT_EQ(letters(lines, false), mode & 1 ? "DIWE" : "") << mode;
        EXPECT_EQ(letters(lines, true), mode & 0xA ? "DIWE" : "") << mode;
    }
}

TEST_F(LogTest, BothOutputsCarryLevelModuleAndTextAndOnlyAnAndroidErrorItsLocation) {
    setLog(kDebugLog);
    logAtEveryLevel();
    EXPECT_THAT(takeLog(), ElementsAre("D GrallocHelper [f] d", "I GrallocHelper [f] i",
                                       "W GrallocHelper [f] w", "E GrallocHelper [f] e"));

    LOGE("%d of %s", 3, "x");
    const int line = __LINE__ - 1;
    const std::vector<LogLine> lines = takeRawLog();
    EXPECT_EQ(lines.at(0).text, "[TestBody] 3 of x (TestBody){#" + std::to_string(line) +
                                        ":utils/gralloc/GrallocHelper}");
    EXPECT_EQ(lines.at(1).text, "[TestBody] 3 of x");
}

TEST_F(LogTest, ALineIsCutTo1023CharactersButTheLengthPassedOnIsTheUncutOne) {
    for (const size_t length : {1022, 1023, 1024, 5000}) {
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
    EXPECT_THAT(takeLog(), ElementsAre("E(located) GrallocHelper [f] e"));
}

TEST_F(LogTest, ArgumentsAreEvaluatedOnceForEachChosenOutput) {
    int evaluated = 0;
    const auto argument = [&] { return ++evaluated; };
    const struct {
        LogSettings settings;
        int error, debug;
    } cases[] = {
            {{.details = 5, .mode = 0x9}, 2, 2}, {{.details = 5, .mode = 0x1}, 1, 1},
            {{.details = 5, .mode = 0x2}, 1, 1}, {{.details = 5, .mode = 0x4}, 0, 0},
            {{.details = 4, .mode = 0x9}, 2, 0},
    };
    for (const auto& c : cases) {
        setLog(c.settings);
        evaluated = 0;
        LOGE_AS("f", "%d", argument());
        EXPECT_EQ(evaluated, c.error);
        evaluated = 0;
        LOGD_AS("f", "%d", argument());
        EXPECT_EQ(evaluated, c.debug);
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
}

TEST_F(LogTest, AFatalStatementThatNobodyWantsToSeeEndsTheProcessWithoutItsLine) {
    setErrorOutputWanted(false);
    EXPECT_FATAL(LOGF_AS("f", "gone"), AllOf(HasSubstr("assert(1)"), Not(HasSubstr("[Fatal]"))));
}

}  // namespace

}  // namespace zelkcam::test
