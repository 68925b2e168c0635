#include "tests/support/LogCapture.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <regex>

#include "platform/log.h"
#include "platform/ulog.h"
#include "tests/support/Journal.h"

namespace zelkcam::test {

namespace {

using NSCam::Utils::ULog::ULogger;

struct State {
    std::mutex lock;
    std::vector<LogLine> lines;
    bool echo = false;
    bool errorsWanted = true;
};

State& state() {
    static State& instance = *new State;
    return instance;
}

void addLine(LogLine line) {
    const std::lock_guard guard(state().lock);
    if (state().echo)
        fprintf(stderr, "%s %d %s %s\n", line.switchboard ? "switchboard" : "android", line.level,
                line.tag.c_str(), line.text.c_str());
    if (line.tag.starts_with("ZelkCam/"))
        state().lines.push_back(std::move(line));
}

class CapturingULogger final : public ULogger {
  public:
    void write(uint32_t module, const char* tag, int32_t level, const char* text,
               int32_t length) override {
        journal().count("ULogger::write");
        addLine({true, level, tag, text, module, length, strlen(text)});
    }
    void flush(int mode) override {
        journal().add("ULogger::flush " + std::to_string(mode));
        if (state().echo)
            fprintf(stderr, "flush %d\n", mode);
    }
};

CapturingULogger& switchboard() {
    static CapturingULogger& instance = *new CapturingULogger;
    return instance;
}

const std::map<std::string, std::string> kPaths = {
        {"GrallocHelper", "utils/gralloc/GrallocHelper"},
        {"GrallocMapperAidlV2", "utils/gralloc/aidl/v2/mapper/mapper"},
        {"GrallocAllocatorAidlV2", "utils/gralloc/aidl/v2/allocator/allocator"},
        {"GrallocMapper", "utils/gralloc/hidl/mapper/mapper"},
        {"GrallocAllocator", "utils/gralloc/hidl/allocator/allocator"},
};

std::string shortTag(const LogLine& line) {
    return line.tag.substr(strlen("ZelkCam/"));
}

char letterOf(const LogLine& line) {
    static const std::map<int, char> switchboardLevels = {{1, 'E'}, {2, 'W'}, {3, 'I'}, {5, 'D'}};
    static const std::map<int, char> priorities = {{ANDROID_LOG_DEBUG, 'D'},
                                                   {ANDROID_LOG_INFO, 'I'},
                                                   {ANDROID_LOG_WARN, 'W'},
                                                   {ANDROID_LOG_ERROR, 'E'}};
    const auto& letters = line.switchboard ? switchboardLevels : priorities;
    const auto found = letters.find(line.level);
    return found == letters.end() ? '?' : found->second;
}

// Takes " (name){#12:path}" off an error line when it is the right one for its tag.
bool takeLocation(std::string& text, const std::string& path) {
    static const std::regex pattern(
            R"(^(?:\[Fatal\] )?\[([^\]]*)\] [^]*( \(([^)]*)\)\{#\d+:([^}]*)\})$)");
    std::smatch match;
    if (!std::regex_match(text, match, pattern) || match[1] != match[3] || match[4] != path)
        return false;
    text.resize(match.position(2));
    return true;
}

std::string faultOf(const LogLine& android, const LogLine& board) {
    if (board.module != 0x40007001)
        return " !module";
    if (board.length != static_cast<int32_t>(android.text.size()))
        return " !length";
    return board.copied == std::min<size_t>(android.text.size(), 1023) ? "" : " !cut";
}

}  // namespace

void setLog(const LogSettings& settings) {
    ULogger::sDetailsLevel = settings.details;
    ULogger::sNormalDetailsMask = settings.mask;
    ULogger::sMode = settings.mode;
    ULogger::sULogger = settings.object ? &switchboard() : nullptr;
}

void setErrorOutputWanted(bool wanted) {
    state().errorsWanted = wanted;
}

std::vector<LogLine> takeRawLog() {
    const std::lock_guard guard(state().lock);
    return std::exchange(state().lines, {});
}

std::vector<std::string> takeLog() {
    std::vector<std::string> statements;
    std::vector<LogLine> lines = takeRawLog();
    for (size_t i = 0; i < lines.size(); ++i) {
        LogLine& line = lines[i];
        const std::string tag = shortTag(line);
        const bool located = !line.switchboard && takeLocation(line.text, kPaths.at(tag));
        const bool paired = i + 1 < lines.size() && !line.switchboard && lines[i + 1].switchboard &&
                            lines[i + 1].tag == line.tag &&
                            letterOf(lines[i + 1]) == letterOf(line) &&
                            line.text.starts_with(lines[i + 1].text);
        std::string statement(1, letterOf(line));
        if (!paired)
            statement += line.switchboard ? "(switchboard)" : located ? "(located)" : "(android)";
        statement += " " + tag + " " + line.text;
        if (paired && located != (letterOf(line) == 'E'))
            statement += " !location";
        if (paired)
            statement += faultOf(line, lines[++i]);
        statements.push_back(statement);
    }
    return statements;
}

void echoLog() {
    state().echo = true;
}

}  // namespace zelkcam::test

namespace {

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    std::string text(vsnprintf(nullptr, 0, format, arguments), '\0');
    vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int __android_log_print(int priority, const char* tag,
                                                               const char* format, ...) {
    zelkcam::test::journal().count("__android_log_print");
    va_list arguments;
    va_start(arguments, format);
    zelkcam::test::addLine({.level = priority, .tag = tag, .text = formatted(format, arguments)});
    va_end(arguments);
    return 1;
}

__attribute__((visibility("default"))) void __android_log_assert(const char* condition,
                                                                 const char* tag,
                                                                 const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fprintf(stderr, "assert(%s) %s %s\n", condition ? condition : "null", tag,
            formatted(format, arguments).c_str());
    va_end(arguments);
    abort();
}

__attribute__((visibility("default"))) int zelkcam_testLog(const char* tag, int level) {
    fprintf(stderr, "testLog %s %d\n", tag, level);
    return zelkcam::test::state().errorsWanted ? 1 : 0;
}

}  // extern "C"
