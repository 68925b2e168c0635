// The Android log and the switchboard as the library writes them, line by line. Installed, this
// takes the place of __android_log_print, __android_log_assert and zelkcam_testLog.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace zelkcam::test {

struct LogLine {
    bool switchboard = false;  // else the Android log
    int level = 0;             // the switchboard's number, or an android_LogPriority
    std::string tag;
    std::string text;
    uint32_t module = 0;  // of the switchboard only, as is the length passed with the text
    int32_t length = 0;
};

// How the switchboard's fields stand: warnings and errors to both outputs, unless said otherwise.
struct LogSettings {
    uint32_t details = 2;
    uint32_t mask = 0x40007000;
    uint32_t mode = 0x9;
    bool object = true;  // whether there is a switchboard object
};
inline constexpr LogSettings kDebugLog = {.details = 5};

void setLog(const LogSettings& settings);

// What zelkcam_testLog answers from now on.
void setErrorOutputWanted(bool wanted);

// The library's own lines since the last take, as they came.
std::vector<LogLine> takeRawLog();

// The same as statements: "E GrallocHelper [query] NULL pRequest" for one that reached both outputs
// as it should: the same text, matching levels, the module's number, the true length, and for an
// error its location on the Android line and only there. What reached one output only, or is not as
// it should be, reads "E(android) ..." or "E(switchboard) ...".
std::vector<std::string> takeLog();

// From now on every line also goes to standard error, as "android 6 <tag> <text>" or "switchboard 1
// <tag> <text>": for statements that end the process.
void echoLog();

// Runs a statement that must end the process by an assertion. `matcher` sees the echoed lines,
// "testLog <tag> <level>", "flush <mode>", and last "assert(<condition>) <tag> <text>".
#define EXPECT_FATAL(statement, matcher)  \
    EXPECT_EXIT(                          \
            {                             \
                zelkcam::test::echoLog(); \
                statement;                \
            },                            \
            testing::KilledBySignal(SIGABRT), matcher)

}  // namespace zelkcam::test
