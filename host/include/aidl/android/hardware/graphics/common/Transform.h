// Flips and rotations, the flips first.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_TRANSFORM(ROW) \
    ROW(NONE, 0)                    \
    ROW(FLIP_H, 1 << 0)             \
    ROW(FLIP_V, 1 << 1)             \
    ROW(ROT_90, 4)                  \
    ROW(ROT_180, 3)                 \
    ROW(ROT_270, 7)

enum class Transform : int32_t { ZELKCAM_AIDL_TRANSFORM(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(Transform, ZELKCAM_AIDL_TRANSFORM)
#undef ZELKCAM_AIDL_TRANSFORM

}  // namespace aidl::android::hardware::graphics::common
