// What is done to colours before they are shown.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_COLOR_TRANSFORM(ROW) \
    ROW(IDENTITY, 0)                      \
    ROW(ARBITRARY_MATRIX, 1)              \
    ROW(VALUE_INVERSE, 2)                 \
    ROW(GRAYSCALE, 3)                     \
    ROW(CORRECT_PROTANOPIA, 4)            \
    ROW(CORRECT_DEUTERANOPIA, 5)          \
    ROW(CORRECT_TRITANOPIA, 6)

enum class ColorTransform : int32_t { ZELKCAM_AIDL_COLOR_TRANSFORM(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(ColorTransform, ZELKCAM_AIDL_COLOR_TRANSFORM)
#undef ZELKCAM_AIDL_COLOR_TRANSFORM

}  // namespace aidl::android::hardware::graphics::common
