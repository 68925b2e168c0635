#include <cstdlib>
#include <sstream>

#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/ulog.h"

namespace {

using NSCam::Utils::ULog::ULogger;

// The fields are read before main, so ctest runs this several times, each with an environment of
// its own and with what is to be expected of it: level, mask and mode.
TEST(Switchboard, StartsFromTheEnvironment) {
    const char* const expected = std::getenv("EXPECTED_SWITCHBOARD");
    std::ostringstream fields;
    fields << std::hex << ULogger::sDetailsLevel << ' ' << ULogger::sNormalDetailsMask << ' '
           << ULogger::sMode;
    EXPECT_EQ(fields.str(), expected != nullptr ? expected : "2 40007000 1");
    // liblog must not drop what the level lets through.
    EXPECT_EQ(__android_log_get_minimum_priority(),
              ULogger::sDetailsLevel >= 5 ? ANDROID_LOG_VERBOSE : ANDROID_LOG_DEFAULT);
}

TEST(Switchboard, WritesItsOwnLinesToStandardError) {
    ASSERT_NE(ULogger::sULogger, nullptr);
    testing::internal::CaptureStderr();
    // The length is the one from before the text was cut.
    ULogger::sULogger->write(0x40007001, "Tag", 2, "cut", 4000);
    ULogger::sULogger->write(0x40007001, "Tag", 99, "%s", 2);
    ULogger::sULogger->flush(1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ulog 40007001 W Tag: cut\nulog 40007001 ? Tag: %s\n");
}

TEST(Switchboard, AlwaysWantsErrors) {
    ULogger::sDetailsLevel = 0;
    EXPECT_NE(zelkcam_testLog("Tag", 69), 0);
    EXPECT_EQ(zelkcam_testLog("Tag", 'W'), 0);
}

}  // namespace
