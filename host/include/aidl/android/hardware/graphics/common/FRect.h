// A rectangle in fractions of pixels; right and bottom are exclusive.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class FRect {
  public:
    float left = 0.000000f;
    float top = 0.000000f;
    float right = 0.000000f;
    float bottom = 0.000000f;

    ZELKCAM_AIDL_RECORD(FRect, left, top, right, bottom)
};

}  // namespace aidl::android::hardware::graphics::common
