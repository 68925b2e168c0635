#include "utils/gralloc/Log.h"

#include <cstdarg>
#include <cstdio>

namespace NSCam::gralloc::log {

void writeToSwitchboard(const char* tag, Level level, const char* format, ...) {
    char text[1024] = {};
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    if (length < 0) {
        return;
    }
    text[sizeof(text) - 1] = '\0';
    if (ULogger* const switchboard = ULogger::sULogger) {
        switchboard->write(kModule, tag, level, text, length);
    }
}

}  // namespace NSCam::gralloc::log
