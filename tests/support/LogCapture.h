// The Android log and the switchboard as the library writes them, line by line.
//
// Installed, this takes the place of __android_log_print, __android_log_assert and zelkcam_testLog.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zelkcam::test {

struct LogLine {
    bool switchboard = false;  // else the Android log
    int level = 0;             // an android_LogPriority, or the switchboard's number
    std::string tag;
    std::string text;
    // Of the switchboard only.
    uint32_t module = 0;
    int32_t length = 0;
    size_t copied = 0;  // characters that were there to read
};

// How the switchboard's fields stand.
struct LogSettings {
    uint32_t details = 2;
    uint32_t mask = 0x40007000;
    uint32_t mode = 0x9;  // both outputs
    bool object = true;   // whether there is a switchboard object
};
inline constexpr LogSettings kDebugLog = {.details = 5};

void setLog(const LogSettings& settings);

// What zelkcam_testLog answers from now on.
void setErrorOutputWanted(bool wanted);

// The library's own lines since the last take, as they came.
std::vector<LogLine> takeRawLog();

// The library's own statements since the last take, "E GrallocHelper [query] NULL pRequest" for one
// that reached both outputs as it should: same text, matching levels, the module's number, the true
// length, and for an error the location on the Android line and only there. One that reached a
// single output carries its name, "E(android) ..." or "E(switchboard) ...", and one that is not as
// it should be carries "!" and what is wrong. Needs LogSettings::mode to choose both outputs.
std::vector<std::string> takeLog();

// From now on every line also goes to standard error, in the form of takeRawLog's fields: for
// statements that end the process.
void echoLog();

// Runs a statement that must end the process by an assertion, after the lines that `matcher` finds
// on standard error: "android 6 <tag> <text>", "switchboard 1 <tag> <text>", "flush 1", and last
// "assert <tag> <text>".
#define EXPECT_FATAL(statement, matcher)  \
    EXPECT_EXIT(                          \
            {                             \
                zelkcam::test::echoLog(); \
                statement;                \
            },                            \
            testing::KilledBySignal(SIGABRT), matcher)

}  // namespace zelkcam::test
