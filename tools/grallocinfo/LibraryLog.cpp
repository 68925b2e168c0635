// The one file that takes liblog's records apart. There are two forms of them: up to API 29, and in
// Debian's liblog, a logger gets the record and the text beside it; from API 30 on the text is in
// the record, whose type has another name. The header's own function types choose between the two
// templates below, so that neither record is named here.
#include "tools/grallocinfo/LibraryLog.h"

#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/log.h"
#include "platform/ulog.h"

namespace grallocinfo {

namespace {

constexpr uint32_t kSwitchboardToAndroidLog = 1;

enum class Lines { kShown, kErrorsHeld, kDropped };

struct HeldError {
    std::string tag;
    std::string text;
};

std::mutex gLock;
Lines gLines = Lines::kShown;
std::vector<HeldError> gHeldErrors;
FatalHandler gFatalHandler = nullptr;

// Whether the line has been dealt with. A fatal line liblog prints by itself.
bool keepBack(int priority, const char* tag, const char* text) {
    const std::lock_guard lock(gLock);
    // Whoever reads an answer has to know that it is an estimate.
    if (gLines == Lines::kErrorsHeld && priority == ANDROID_LOG_WARN &&
        strstr(text, "is a guess") != nullptr) {
        return false;
    }
    if (gLines == Lines::kErrorsHeld && priority == ANDROID_LOG_ERROR) {
        gHeldErrors.push_back({tag ? tag : "", text});
    }
    return gLines != Lines::kShown;
}

template <typename Record>
void takeLine(const Record* record, const char* text) {
    if (!keepBack(record->priority, record->tag, text)) {
        __android_log_stderr_logger(record, text);
    }
}

template <typename Record>
void takeLine(const Record* record) {
    if (!keepBack(record->priority, record->tag, record->message)) {
        __android_log_stderr_logger(record);
    }
}

std::vector<HeldError> takeHeldErrors() {
    const std::lock_guard lock(gLock);
    gLines = Lines::kShown;
    return std::exchange(gHeldErrors, {});
}

}  // namespace

void openLibraryLog(bool verbose) {
    if (verbose) {
        // liblog's own default, off a device, drops what the camera log was told to let through.
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        return;
    }
    NSCam::Utils::ULog::ULogger::sMode = kSwitchboardToAndroidLog;
    gLines = Lines::kErrorsHeld;
    __android_log_set_logger(takeLine);
}

void silenceLibraryLog() {
    const std::lock_guard lock(gLock);
    if (gLines == Lines::kErrorsHeld) {
        gLines = Lines::kDropped;
    }
}

// Also runs within liblog's call of the aborter, where setting another logger would block for ever.
void showHeldErrors() {
    for (const HeldError& error : takeHeldErrors()) {
        __android_log_print(ANDROID_LOG_ERROR, error.tag.c_str(), "%s", error.text.c_str());
    }
}

void onLibraryFatal(FatalHandler handler) {
    gFatalHandler = handler;
    __android_log_set_aborter([](const char* message) {
        std::string lastWords = message ? message : "";
        while (!lastWords.empty() && static_cast<unsigned char>(lastWords.back()) <= ' ') {
            lastWords.pop_back();
        }
        gFatalHandler(lastWords);
    });
}

}  // namespace grallocinfo
