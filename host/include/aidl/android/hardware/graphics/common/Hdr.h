// Kinds of high dynamic range.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_HDR(ROW) \
    ROW(INVALID, 0)           \
    ROW(DOLBY_VISION, 1)      \
    ROW(HDR10, 2)             \
    ROW(HLG, 3)               \
    ROW(HDR10_PLUS, 4)        \
    ROW(DOLBY_VISION_4K30, 5)

enum class Hdr : int32_t { ZELKCAM_AIDL_HDR(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(Hdr, ZELKCAM_AIDL_HDR)
#undef ZELKCAM_AIDL_HDR

}  // namespace aidl::android::hardware::graphics::common
