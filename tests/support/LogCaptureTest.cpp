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
    static void write(int priority, int level, const char* android, const char* board,
                      uint32_t module = 0x40007001, int extraLength = 0) {
        constexpr char kTag[] = "ZelkCam/GrallocHelper";
        if (android != nullptr) {
            __android_log_print(priority, kTag, "%s", android);
        }
        if (board != nullptr) {
            ULogger::sULogger->write(module, kTag, level, board,
                                     static_cast<int>(strlen(board)) + extraLength);
        }
    }
};

TEST_F(LogCaptureTest, TakeLogJoinsTheTwoOutputsAndTellsWhatIsWrongWithThem) {
    constexpr char kLocated[] = "[query] x (query){#7:utils/gralloc/GrallocHelper}";
    write(6, 1, kLocated, "[query] x");
    write(3, 5, "[dump] x", "[dump] x");
    EXPECT_THAT(takeLog(), ElementsAre("E GrallocHelper [query] x", "D GrallocHelper [dump] x"));

    write(6, 1, kLocated, nullptr);
    write(4, 3, nullptr, "[query] x");
    EXPECT_THAT(takeLog(), ElementsAre("E(android) GrallocHelper [query] x",
                                       "I(switchboard) GrallocHelper [query] x"));
    const auto isJoined = [] { return takeLog().size() == 1; };
    write(6, 1, "[query] x", "[query] x");
    EXPECT_FALSE(isJoined()) << "no location";
    write(6, 1, "[query] x (query){#7:utils/other}", "[query] x");
    EXPECT_FALSE(isJoined()) << "a wrong location";
    write(6, 2, kLocated, "[query] x");
    EXPECT_FALSE(isJoined()) << "another level";
    write(3, 5, "[dump] x", "[dump] x", 0x40007000);
    EXPECT_FALSE(isJoined()) << "another module";
    write(3, 5, "[dump] x", "[dump] x", 0x40007001, 1);
    EXPECT_FALSE(isJoined()) << "another length";
    __android_log_print(ANDROID_LOG_ERROR, "somebody else", "not ours");
    EXPECT_THAT(takeLog(), ElementsAre());
}

}  // namespace

}  // namespace zelkcam::test
