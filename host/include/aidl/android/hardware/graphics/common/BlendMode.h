// How a layer is blended with what lies under it.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_BLEND_MODE(ROW) \
    ROW(INVALID, 0)                  \
    ROW(NONE, 1)                     \
    ROW(PREMULTIPLIED, 2)            \
    ROW(COVERAGE, 3)

enum class BlendMode : int32_t { ZELKCAM_AIDL_BLEND_MODE(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(BlendMode, ZELKCAM_AIDL_BLEND_MODE)
#undef ZELKCAM_AIDL_BLEND_MODE

}  // namespace aidl::android::hardware::graphics::common
