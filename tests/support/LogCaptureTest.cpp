// The joining of log lines: a check that cannot fail is worse than none.
#include "platform/log.h"
#include "platform/ulog.h"
#include "tests/support/Fixtures.h"

namespace zelkcam::test {

namespace {

using NSCam::Utils::ULog::ULogger;
using testing::ElementsAre;

class LogCaptureTest : public ScriptedTest {
  protected:
    // What is made of a line and its twin on the switchboard.
    static std::vector<std::string> joined(const char* android, int level = 1,
                                           uint32_t module = 0x40007001, int length = 9) {
        constexpr char kTag[] = "ZelkCam/GrallocHelper";
        __android_log_print(ANDROID_LOG_ERROR, kTag, "%s", android);
        ULogger::sULogger->write(module, kTag, level, "[query] x", length);
        return takeLog();
    }
};

TEST_F(LogCaptureTest, TakeLogJoinsTheTwoOutputsUnlessSomethingIsWrongWithThem) {
    constexpr char kLocated[] = "[query] x (query){#7:utils/gralloc/GrallocHelper}";
    EXPECT_THAT(joined(kLocated), ElementsAre("E GrallocHelper [query] x"));
    EXPECT_EQ(joined("[query] x").size(), 2u) << "no location";
    EXPECT_EQ(joined("[query] x (query){#7:utils/other}").size(), 2u) << "a wrong location";
    EXPECT_EQ(joined(kLocated, 2).size(), 2u) << "another level";
    EXPECT_EQ(joined(kLocated, 1, 0x40007000).size(), 2u) << "another module";
    EXPECT_EQ(joined(kLocated, 1, 0x40007001, 8).size(), 2u) << "another length";
    __android_log_print(ANDROID_LOG_ERROR, "somebody else", "not ours");
    EXPECT_THAT(takeLog(), ElementsAre());
}

}  // namespace

}  // namespace zelkcam::test
