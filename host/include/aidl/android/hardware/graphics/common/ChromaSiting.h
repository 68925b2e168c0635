// Where chroma samples lie relative to luma samples.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

// NONE: the content has no chroma.
#define ZELKCAM_AIDL_CHROMA_SITING(ROW) \
    ROW(NONE, 0)                        \
    ROW(UNKNOWN, 1)                     \
    ROW(SITED_INTERSTITIAL, 2)          \
    ROW(COSITED_HORIZONTAL, 3)          \
    ROW(COSITED_VERTICAL, 4)            \
    ROW(COSITED_BOTH, 5)

enum class ChromaSiting : int64_t { ZELKCAM_AIDL_CHROMA_SITING(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(ChromaSiting, ZELKCAM_AIDL_CHROMA_SITING)
#undef ZELKCAM_AIDL_CHROMA_SITING

}  // namespace aidl::android::hardware::graphics::common
