// How two fields share a buffer.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_INTERLACED(ROW) \
    ROW(NONE, 0)                     \
    ROW(TOP_BOTTOM, 1)               \
    ROW(RIGHT_LEFT, 2)

enum class Interlaced : int64_t { ZELKCAM_AIDL_INTERLACED(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(Interlaced, ZELKCAM_AIDL_INTERLACED)
#undef ZELKCAM_AIDL_INTERLACED

}  // namespace aidl::android::hardware::graphics::common
