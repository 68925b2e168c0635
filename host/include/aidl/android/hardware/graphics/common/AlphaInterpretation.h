// What the alpha of a mask layer means.
#pragma once

#include "zelkcam/host/AidlEnum.h"

namespace aidl::android::hardware::graphics::common {

#define ZELKCAM_AIDL_ALPHA_INTERPRETATION(ROW) \
    ROW(COVERAGE, 0)                           \
    ROW(MASK, 1)

enum class AlphaInterpretation : int32_t { ZELKCAM_AIDL_ALPHA_INTERPRETATION(ZELKCAM_ENUMERATOR) };
ZELKCAM_AIDL_ENUM(AlphaInterpretation, ZELKCAM_AIDL_ALPHA_INTERPRETATION)
#undef ZELKCAM_AIDL_ALPHA_INTERPRETATION

}  // namespace aidl::android::hardware::graphics::common
