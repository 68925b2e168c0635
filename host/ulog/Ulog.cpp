// The log switchboard on the host: its settings come from ZELKCAM_ULOG_LEVEL, ZELKCAM_ULOG_MASK and
// ZELKCAM_ULOG_MODE, its own lines go to standard error.
#include "platform/ulog.h"

#include <stdio.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <optional>

#include <android/log.h>

#include "host/properties/Environment.h"

namespace NSCam::Utils::ULog {
namespace {

class StandardErrorSwitchboard : public ULogger {
  public:
    void write(uint32_t module, const char* tag, int32_t level, const char* text,
               int32_t length) override;
};

// From this level on the switchboard lets debug lines through.
constexpr uint32_t kDebugLevel = 5;

// How the levels are written, by their number.
char letterOf(int32_t level) {
    constexpr char kLetters[] = "?EWI?D";
    return level >= 0 && level < static_cast<int32_t>(sizeof(kLetters) - 1) ? kLetters[level] : '?';
}

// The text ends where its zero is: the length is the one from before it was cut.
void StandardErrorSwitchboard::write(uint32_t module, const char* tag, int32_t level,
                                     const char* text, int32_t /*length*/) {
    dprintf(STDERR_FILENO, "ulog %08x %c %s: %s\n", module, letterOf(level), tag, text);
}

// Made before the program runs and never destroyed: lines are written from other libraries'
// constructors and exit handlers.
union Permanent {
    constexpr Permanent() : switchboard() {}
    ~Permanent() {}
    StandardErrorSwitchboard switchboard;
};
constinit Permanent gPermanent;

// No value for anything but an unsigned number of 32 bits, decimal, octal or hexadecimal.
std::optional<uint32_t> parse(const char* text) {
    char* end = nullptr;
    errno = 0;
    const unsigned long number = std::strtoul(text, &end, 0);
    const bool isNumber = std::isdigit(static_cast<unsigned char>(*text)) != 0 && *end == '\0';
    return isNumber && errno == 0 && number <= UINT32_MAX
                   ? std::optional(static_cast<uint32_t>(number))
                   : std::nullopt;
}

// Nothing is as good as unset.
uint32_t numberOf(const char* variable, uint32_t defaultValue) {
    const char* text = std::getenv(variable);
    if (text == nullptr || *text == '\0') {
        return defaultValue;
    }
    const std::optional<uint32_t> number = parse(text);
    if (!number) {
        zelkcam::host::reportVariable(variable, text,
                                      "is no number of 32 bits; the default is taken");
    }
    return number.value_or(defaultValue);
}

}  // namespace

constinit uint32_t ULogger::sDetailsLevel = 2;
constinit uint32_t ULogger::sNormalDetailsMask = 0x40007000;
constinit uint32_t ULogger::sMode = 1;
constinit ULogger* ULogger::sULogger = &gPermanent.switchboard;

namespace {

// Before every other constructor of this library, and so before those of its users.
__attribute__((constructor(101))) void readEnvironment() {
    ULogger::sDetailsLevel = numberOf("ZELKCAM_ULOG_LEVEL", ULogger::sDetailsLevel);
    ULogger::sNormalDetailsMask = numberOf("ZELKCAM_ULOG_MASK", ULogger::sNormalDetailsMask);
    ULogger::sMode = numberOf("ZELKCAM_ULOG_MODE", ULogger::sMode);
    // Off a device liblog drops debug lines unless told otherwise, and would hide what was asked
    // for.
    if (ULogger::sDetailsLevel >= kDebugLevel) {
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    }
}

}  // namespace

ULogger::~ULogger() = default;
void ULogger::reserved2() {}
void ULogger::write(uint32_t /*module*/, const char* /*tag*/, int32_t /*level*/,
                    const char* /*text*/, int32_t /*length*/) {}
void ULogger::reserved4() {}
void ULogger::reserved5() {}
void ULogger::reserved6() {}
void ULogger::reserved7() {}
void ULogger::reserved8() {}
void ULogger::reserved9() {}
void ULogger::flush(int /*mode*/) {}

}  // namespace NSCam::Utils::ULog

int zelkcam_testLog(const char* /*tag*/, int level) {
    using NSCam::Utils::ULog::ULogger;
    switch (level) {
        case 'E':
        case 'F':
            return 1;
        case 'W':
            return ULogger::sDetailsLevel >= 2;
        case 'I':
            return ULogger::sDetailsLevel >= 3;
        case 'D':
            return ULogger::sDetailsLevel >= NSCam::Utils::ULog::kDebugLevel;
        default:
            return 0;
    }
}
