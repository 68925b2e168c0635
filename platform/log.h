// The Android log (liblog).
//
// The library uses: __android_log_print, __android_log_assert and the android_LogPriority values.
#pragma once

#include <android/log.h>
