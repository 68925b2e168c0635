// A rectangle in pixels; right and bottom are exclusive.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class Rect {
  public:
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    ZELKCAM_AIDL_RECORD(Rect, left, top, right, bottom)
};

}  // namespace aidl::android::hardware::graphics::common
