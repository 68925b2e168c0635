// A point in pixels.
#pragma once

#include "zelkcam/host/AidlRecord.h"

namespace aidl::android::hardware::graphics::common {

class Point {
  public:
    int32_t x = 0;
    int32_t y = 0;

    ZELKCAM_AIDL_RECORD(Point, x, y)
};

}  // namespace aidl::android::hardware::graphics::common
