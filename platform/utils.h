// The Android utility libraries (libutils, libcutils) and the graphics constants.
//
// The library uses: android::String8, android::SortedVector, android::key_value_pair_t,
// android::Vector, systemTime, native_handle and native_handle_init / native_handle_delete,
// android_ycbcr and the HAL_PIXEL_FORMAT_* codes. String8 is read through c_str() and length()
// only: string(), isEmpty() and the static empty() went away with Android 15.
#pragma once

#include <cutils/native_handle.h>
#include <system/graphics.h>
#include <utils/SortedVector.h>
#include <utils/String8.h>
#include <utils/Timers.h>
#include <utils/TypeHelpers.h>
#include <utils/Vector.h>
