// The doubles and matchers themselves: a check that cannot fail is worse than none.
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <unistd.h>

#include "platform/hwbinder.h"
#include "platform/log.h"
#include "platform/ulog.h"
#include "tests/support/DoublesTest.h"
#include "tests/support/PlexaDouble.h"
#include "tests/support/ScriptedGralloc.h"

namespace zelkcam::test {

namespace {

using NSCam::Utils::ULog::ULogger;
using testing::ContainsRegex;
using testing::ElementsAre;

constexpr char kTag[] = "ZelkCam/GrallocHelper";
constexpr char kLocated[] = "[query] NULL (query){#7:utils/gralloc/GrallocHelper}";

class SupportTest : public DoublesTest {};

struct Statement {
    int priority;
    const char* android;  // null: nothing there
    int level;
    const char* switchboard;  // null: nothing there
    uint32_t module;
    int32_t lengthError;
    const char* expected;
};

TEST_F(SupportTest, TakeLogJoinsTheTwoOutputsAndTellsWhatIsWrongWithThem) {
    const Statement statements[] = {
            {6, kLocated, 1, "[query] NULL", 0x40007001, 0, "E GrallocHelper [query] NULL"},
            {3, "[dump] x", 5, "[dump] x", 0x40007001, 0, "D GrallocHelper [dump] x"},
            {6, "[query] NULL", 1, "[query] NULL", 0x40007001, 0,
             "E GrallocHelper [query] NULL !location"},
            {6, "[query] a (query){#7:utils/other}", 1, "[query] a", 0x40007001, 0,
             "E GrallocHelper [query] a (query){#7:utils/other} !location !length"},
            {5, "[query] x", 2, "[query] x", 0x40007000, 0, "W GrallocHelper [query] x !module"},
            {5, "[query] x", 2, "[query] x", 0x40007001, 1, "W GrallocHelper [query] x !length"},
            {4, "[clearMap] x", 3, nullptr, 0, 0, "I(android) GrallocHelper [clearMap] x"},
            {6, kLocated, 1, nullptr, 0, 0, "E(located) GrallocHelper [query] NULL"},
            {0, nullptr, 2, "[query] x", 0x40007001, 0, "W(switchboard) GrallocHelper [query] x"},
    };
    for (const Statement& s : statements) {
        if (s.android != nullptr)
            __android_log_print(s.priority, kTag, "%s", s.android);
        if (s.switchboard != nullptr)
            ULogger::sULogger->write(s.module, kTag, s.level, s.switchboard,
                                     static_cast<int32_t>(strlen(s.switchboard)) + s.lengthError);
        EXPECT_THAT(takeLog(), ElementsAre(s.expected));
    }
    __android_log_print(ANDROID_LOG_ERROR, "somebody else", "not ours");
    EXPECT_THAT(takeLog(), ElementsAre());
}

TEST_F(SupportTest, AWatchedDescriptorKnowsWhenItIsClosedAlsoWhenItsNumberIsTakenAgain) {
    const WatchedFd fence("release");
    EXPECT_TRUE(fence.isOpen());
    close(fence.get());
    EXPECT_FALSE(fence.isOpen());
    const int other = dup2(STDERR_FILENO, fence.get());
    EXPECT_FALSE(fence.isOpen());
    EXPECT_EQ(fcntl(other, F_GETFD), 0);
    close(-1);
    EXPECT_THAT(journal().take(), ElementsAre("close release", "close -1"));
}

TEST_F(SupportTest, TheTablesOfTheProcessAreCounted) {
    const size_t before = openDescriptors();
    const WatchedFd fence("fence");
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_GT(mappings(), 10u);
}

TEST_F(SupportTest, AFatalStatementIsSeenWithItsTextAndASurvivedOneFails) {
    EXPECT_FATAL(__android_log_assert("1", kTag, "(%s)", "lock"),
                 ContainsRegex("assert\\(1\\) ZelkCam/GrallocHelper \\(lock\\)"));
    EXPECT_NONFATAL_FAILURE(EXPECT_FATAL(exit(0), ContainsRegex("")), "Exited with exit status 0");
}

TEST_F(SupportTest, ADoubleThatWasNeverReachedFailsTheFixture) {
    EXPECT_NONFATAL_FAILURE(expectConnected({"sync_wait"}), "sync_wait is not connected");
    plexa_query(nullptr, PLEXA_GET_FORMAT, std::vector<int32_t>(1).data());
    expectConnected({"plexa_query"});
}

TEST_F(SupportTest, TheExtensionDoubleAnswersInTurnAndSeesAWrongPreset) {
    describeBuffers({.height = 10, .height32 = 20});
    int32_t slots[] = {0, 0, 7};
    for (int32_t& slot : slots)
        plexa_query(nullptr, PLEXA_GET_HEIGHT, &slot);
    EXPECT_THAT(slots, ElementsAre(10, 20, 10));
    EXPECT_EQ(plexaScript().wrongPresets, 1);
}

}  // namespace

}  // namespace zelkcam::test
