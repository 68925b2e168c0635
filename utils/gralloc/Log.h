// The one logging pattern of the library.
//
// A source file that logs defines, before the first statement and in an anonymous namespace,
//     constexpr char kLogTag[] = "ZelkCam/...";           // fixed: modules filter by it
//     constexpr char kSourcePath[] = "utils/gralloc/..."; // ends every error line
// and uses LOGD, LOGI, LOGW, LOGE and LOGF with a literal format. Each message begins with "[%s] ",
// the name of the logging function; the _AS forms take that name for code that logs on behalf of a
// named operation.
//
// A statement goes to two outputs, chosen by ULogger::sMode: the Android log and the switchboard.
// Its arguments are evaluated once per chosen output, that is 0, 1 or 2 times: they must have no
// side effects.
#pragma once

#include "platform/log.h"
#include "platform/ulog.h"

namespace NSCam::gralloc::log {

using NSCam::Utils::ULog::ULogger;

// How the switchboard numbers the levels.
enum Level : int32_t { kError = 1, kWarning = 2, kInfo = 3, kDebug = 5 };

// The module that the switchboard files our lines under.
constexpr uint32_t kModule = 0x40007001;
constexpr uint32_t kModuleEnabled = 1u << 30;
constexpr uint32_t kModuleBits = 0x7000;
constexpr uint32_t kToAndroid = 0x1;
constexpr uint32_t kToSwitchboard = 0xA;
// The level given to zelkcam_testLog: errors, by logcat's letter.
constexpr int kErrorLetter = 'E';

inline bool moduleWanted() {
    const uint32_t mask = ULogger::sNormalDetailsMask;
    return (mask & kModuleEnabled) != 0 && (mask & kModuleBits) != 0;
}

inline bool debugWanted() {
    return ULogger::sDetailsLevel >= 5 && moduleWanted();
}
inline bool infoWanted() {
    return ULogger::sDetailsLevel >= 3 && moduleWanted();
}
inline bool warningWanted() {
    return ULogger::sDetailsLevel >= 2;
}

inline bool androidWanted() {
    return (ULogger::sMode & kToAndroid) != 0;
}
inline bool switchboardWanted() {
    return (ULogger::sMode & kToSwitchboard) != 0;
}

// Formats one line and hands it to the switchboard; without a switchboard object, nothing.
//
// Contract: a line is cut to 1023 characters, but the length passed on is the uncut one.
__attribute__((cold, noinline, format(printf, 3, 4))) void writeToSwitchboard(const char* tag,
                                                                              Level level,
                                                                              const char* format,
                                                                              ...);

}  // namespace NSCam::gralloc::log

#define ZELKCAM_LOG_PREFIX "[%s] "
#define ZELKCAM_LOG_SUFFIX " (%s){#%d:%s}"

#define ZELKCAM_LOG_TO_SWITCHBOARD(level, name, format, ...)                                 \
    do {                                                                                     \
        if (::NSCam::gralloc::log::switchboardWanted()) {                                    \
            ::NSCam::gralloc::log::writeToSwitchboard(kLogTag, ::NSCam::gralloc::log::level, \
                                                      ZELKCAM_LOG_PREFIX format,             \
                                                      name __VA_OPT__(, ) __VA_ARGS__);      \
        }                                                                                    \
    } while (0)

#define ZELKCAM_LOG_GATED(gate, level, priority, name, format, ...)                     \
    do {                                                                                \
        if (::NSCam::gralloc::log::gate()) [[unlikely]] {                               \
            if (::NSCam::gralloc::log::androidWanted()) {                               \
                __android_log_print(priority, kLogTag, ZELKCAM_LOG_PREFIX format,       \
                                    name __VA_OPT__(, ) __VA_ARGS__);                   \
            }                                                                           \
            ZELKCAM_LOG_TO_SWITCHBOARD(level, name, format __VA_OPT__(, ) __VA_ARGS__); \
        }                                                                               \
    } while (0)

#define LOGD_AS(name, format, ...)                                  \
    ZELKCAM_LOG_GATED(debugWanted, kDebug, ANDROID_LOG_DEBUG, name, \
                      format __VA_OPT__(, ) __VA_ARGS__)
#define LOGI_AS(name, format, ...) \
    ZELKCAM_LOG_GATED(infoWanted, kInfo, ANDROID_LOG_INFO, name, format __VA_OPT__(, ) __VA_ARGS__)
#define LOGW_AS(name, format, ...)                                     \
    ZELKCAM_LOG_GATED(warningWanted, kWarning, ANDROID_LOG_WARN, name, \
                      format __VA_OPT__(, ) __VA_ARGS__)

// Errors have no gate, and only their Android line carries the place that logged them.
#define LOGE_AS(name, format, ...)                                                             \
    do {                                                                                       \
        if (::NSCam::gralloc::log::androidWanted()) {                                          \
            __android_log_print(ANDROID_LOG_ERROR, kLogTag,                                    \
                                ZELKCAM_LOG_PREFIX format ZELKCAM_LOG_SUFFIX,                  \
                                name __VA_OPT__(, ) __VA_ARGS__, name, __LINE__, kSourcePath); \
        }                                                                                      \
        ZELKCAM_LOG_TO_SWITCHBOARD(kError, name, format __VA_OPT__(, ) __VA_ARGS__);           \
    } while (0)

// Ends the process. The line is printed only where error output is wanted, and never goes to the
// switchboard; the arguments are evaluated only for the line.
#define LOGF_AS(name, format, ...)                                                             \
    do {                                                                                       \
        if (zelkcam_testLog(kLogTag, ::NSCam::gralloc::log::kErrorLetter) != 0) {              \
            __android_log_print(ANDROID_LOG_ERROR, kLogTag,                                    \
                                "[Fatal] " ZELKCAM_LOG_PREFIX format ZELKCAM_LOG_SUFFIX,       \
                                name __VA_OPT__(, ) __VA_ARGS__, name, __LINE__, kSourcePath); \
        }                                                                                      \
        __android_log_assert("1", kLogTag, "(%s){#%d:%s}\r\n", name, __LINE__, kSourcePath);   \
    } while (0)

#define LOGD(format, ...) LOGD_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
#define LOGI(format, ...) LOGI_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
#define LOGW(format, ...) LOGW_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
#define LOGE(format, ...) LOGE_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
#define LOGF(format, ...) LOGF_AS(__func__, format __VA_OPT__(, ) __VA_ARGS__)
