#include "tests/support/LogCapture.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "platform/log.h"
#include "platform/ulog.h"

namespace zelkcam::test {

namespace {

using NSCam::Utils::ULog::ULogger;

struct Captured {
    std::mutex lock;
    std::vector<LogLine> lines;
    bool echo = false;
    bool errorsWanted = true;
};

Captured& captured() {
    static Captured& instance = *new Captured;
    return instance;
}

void addLine(const LogLine& line) {
    const std::lock_guard guard(captured().lock);
    const char* const output = line.switchboard ? "switchboard" : "android";
    if (captured().echo) {
        fprintf(stderr, "%s %d %s %s\n", output, line.level, line.tag.c_str(), line.text.c_str());
    }
    if (line.tag.starts_with("ZelkCam/")) {
        captured().lines.push_back(line);
    }
}

class CapturingULogger final : public ULogger {
  public:
    void write(uint32_t module, const char* tag, int32_t level, const char* text,
               int32_t length) override {
        addLine({true, level, tag, text, module, length});
    }
    void flush(int mode) override { fprintf(stderr, "flush %d\n", mode); }
};

const std::map<std::string, std::string> kPaths = {
        {"GrallocHelper", "utils/gralloc/GrallocHelper"},
        {"GrallocMapperAidlV2", "utils/gralloc/aidl/v2/mapper/mapper"},
        {"GrallocAllocatorAidlV2", "utils/gralloc/aidl/v2/allocator/allocator"},
        {"GrallocMapper", "utils/gralloc/hidl/mapper/mapper"},
        {"GrallocAllocator", "utils/gralloc/hidl/allocator/allocator"},
};

// Takes " (name){#12:path}" off an error line that has the right one for its tag.
std::string withoutLocation(const std::string& text, const std::string& path) {
    const std::string name = text.substr(1, text.find("] ") - 1);
    const std::string start = " (" + name + "){#";
    const size_t location = text.rfind(start);
    const size_t line = location + start.size();
    const size_t end = text.find_first_not_of("0123456789", line);
    const bool right = text.starts_with('[') && location != std::string::npos && end > line &&
                       end != std::string::npos && text.substr(end) == ":" + path + "}";
    return right ? text.substr(0, location) : text + " without its location";
}

std::string statement(const LogLine& line, const char* output) {
    const std::string tag = line.tag.substr(strlen("ZelkCam/"));
    const char letter = line.switchboard ? "?EWI?D"[line.level] : "???DIWE?"[line.level];
    std::string text = line.text;
    if (!line.switchboard && letter == 'E') {
        text = withoutLocation(text, kPaths.at(tag));
    }
    if (line.switchboard && line.module != 0x40007001) {
        text += " as module " + std::to_string(line.module);
    }
    if (line.switchboard && static_cast<size_t>(line.length) != line.text.size()) {
        text += " of length " + std::to_string(line.length);
    }
    return letter + std::string(output) + " " + tag + " " + text;
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments) {
    char* text = nullptr;
    if (vasprintf(&text, format, arguments) < 0) {
        abort();
    }
    const std::string copy = text;
    free(text);
    return copy;
}

}  // namespace

void setLog(const LogSettings& settings) {
    static ULogger& switchboard = *new CapturingULogger;
    ULogger::sDetailsLevel = settings.details;
    ULogger::sNormalDetailsMask = settings.mask;
    ULogger::sMode = settings.mode;
    ULogger::sULogger = settings.object ? &switchboard : nullptr;
}

void setErrorOutputWanted(bool wanted) {
    captured().errorsWanted = wanted;
}

std::vector<LogLine> takeRawLog() {
    const std::lock_guard guard(captured().lock);
    return std::exchange(captured().lines, {});
}

std::vector<std::string> takeLog() {
    std::vector<std::string> statements;
    const std::vector<LogLine> lines = takeRawLog();
    for (size_t i = 0; i < lines.size(); ++i) {
        const bool paired = i + 1 < lines.size() && !lines[i].switchboard &&
                            lines[i + 1].switchboard &&
                            statement(lines[i], "") == statement(lines[i + 1], "");
        statements.push_back(statement(lines[i], paired                 ? ""
                                                 : lines[i].switchboard ? "(switchboard)"
                                                                        : "(android)"));
        i += paired;
    }
    return statements;
}

void echoLog() {
    captured().echo = true;
}

}  // namespace zelkcam::test

extern "C" {

int __android_log_print(int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    zelkcam::test::addLine(
            {.level = priority, .tag = tag, .text = zelkcam::test::formatted(format, arguments)});
    va_end(arguments);
    return 1;
}

void __android_log_assert(const char* condition, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fprintf(stderr, "assert(%s) %s %s\n", condition ? condition : "null", tag,
            zelkcam::test::formatted(format, arguments).c_str());
    va_end(arguments);
    abort();
}

int zelkcam_testLog(const char* tag, int level) {
    fprintf(stderr, "testLog %s %d\n", tag, level);
    return zelkcam::test::captured().errorsWanted ? 1 : 0;
}

}  // extern "C"
